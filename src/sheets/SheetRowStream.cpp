#include "SheetRowStream.h"

#include "ZipEntryStream.h"
#include "core/Log.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <cstring>
#include <memory>

namespace {

constexpr int kParseOptions = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT;
constexpr int kChunk = 1 << 16;

bool named(const xmlChar* name, const char* expected) {
    return name && std::strcmp(reinterpret_cast<const char*>(name), expected) == 0;
}

// Finds an attribute by local name among SAX2's (local name, prefix, URI, value, end) tuples.
bool attribute(int count, const xmlChar** attributes, const char* localName, std::string& value) {
    for (int i = 0; i < count; ++i) {
        const xmlChar** a = attributes + ptrdiff_t(5) * i;
        if (named(a[0], localName)) {
            value.assign(reinterpret_cast<const char*>(a[3]), size_t(a[4] - a[3]));
            return true;
        }
    }
    value.clear();
    return false;
}

// The parse as it goes: which part of the tree it is in, and the row being collected.
// Depths count from the root element (0), as the rows sit at /worksheet/sheetData/row.
class RowCollector {
public:
    RowCollector(const SheetRowStream::RowVisitor& visitor, QStringList* mergedRanges)
        : m_visitor(visitor), m_mergedRanges(mergedRanges) {}

    xmlParserCtxtPtr context = nullptr;
    bool anyElement = false;
    bool stopped = false; // the visitor asked for no more rows
    QString firstError;

    void start(const xmlChar* name, int attributeCount, const xmlChar** attributes) {
        anyElement = true;
        const int depth = m_depth++;
        if (m_skipFrom >= 0)
            return;
        switch (depth) {
        case 0: m_isWorksheet = named(name, "worksheet"); return;
        case 1:
            if (!m_isWorksheet)
                return;
            if (!m_sheetDataDone && named(name, "sheetData"))
                m_in = In::SheetData;
            else if (m_mergedRanges && named(name, "mergeCells"))
                m_in = In::MergeCells;
            return;
        case 2:
            if (m_in == In::SheetData && named(name, "row")) {
                attribute(attributeCount, attributes, "r", m_row.number);
                m_cellCount = 0;
                m_inRow = true;
            } else if (m_in == In::MergeCells && named(name, "mergeCell")) {
                std::string ref;
                if (attribute(attributeCount, attributes, "ref", ref))
                    m_mergedRanges->append(QString::fromUtf8(ref.data(), qsizetype(ref.size())));
            }
            return;
        case 3:
            if (m_inRow && named(name, "c")) {
                if (m_cellCount == m_row.cells.size())
                    m_row.cells.emplace_back();
                m_cell = &m_row.cells[m_cellCount++];
                m_cell->hasReference = attribute(attributeCount, attributes, "r", m_cell->reference);
                attribute(attributeCount, attributes, "t", m_cell->type);
                m_cell->hasStyle = attribute(attributeCount, attributes, "s", m_cell->style);
                m_cell->value.clear();
                m_cell->inlineText.clear();
                m_seenValue = m_seenInline = false;
            }
            return;
        case 4:
            if (!m_cell)
                return;
            if (!m_seenValue && named(name, "v")) {
                m_seenValue = true;
                m_text = &m_cell->value;
                m_textDepth = depth;
            } else if (!m_seenInline && named(name, "is")) {
                m_seenInline = true;
                m_text = &m_cell->inlineText;
                m_textDepth = depth;
                m_inInline = true;
            }
            return;
        default:
            // Phonetic runs inside an inline string are reading aids, not the cell's text.
            if (m_inInline && named(name, "rPh"))
                m_skipFrom = depth;
            return;
        }
    }

    void end() {
        const int depth = --m_depth;
        if (m_skipFrom >= 0) {
            if (depth == m_skipFrom)
                m_skipFrom = -1;
            return;
        }
        if (depth == m_textDepth) {
            m_text = nullptr;
            m_textDepth = -1;
            m_inInline = false;
        } else if (depth == 3) {
            m_cell = nullptr;
        } else if (depth == 2 && m_inRow) {
            m_inRow = false;
            m_row.cells.resize(m_cellCount);
            if (!m_visitor(m_row)) {
                stopped = true;
                xmlStopParser(context);
            }
        } else if (depth == 1) {
            if (m_in == In::SheetData)
                m_sheetDataDone = true;
            m_in = In::Nothing;
        }
    }

    void text(const xmlChar* characters, int length) {
        if (m_text && m_skipFrom < 0)
            m_text->append(reinterpret_cast<const char*>(characters), size_t(length));
    }

private:
    enum class In { Nothing, SheetData, MergeCells };
    const SheetRowStream::RowVisitor& m_visitor;
    QStringList* m_mergedRanges;
    int m_depth = 0;
    bool m_isWorksheet = false;
    bool m_sheetDataDone = false;
    In m_in = In::Nothing;
    SheetRow m_row;
    size_t m_cellCount = 0;
    bool m_inRow = false;
    SheetCell* m_cell = nullptr;
    bool m_seenValue = false;
    bool m_seenInline = false;
    bool m_inInline = false;
    std::string* m_text = nullptr; // where character data goes, when inside a cell's value
    int m_textDepth = -1;
    int m_skipFrom = -1; // depth of an element whose text is left out
};

RowCollector& collector(void* context) {
    return *static_cast<RowCollector*>(static_cast<xmlParserCtxtPtr>(context)->_private);
}

xmlSAXHandler handlers() {
    xmlSAXHandler sax;
    std::memset(&sax, 0, sizeof sax);
    sax.initialized = XML_SAX2_MAGIC;
    sax.startElementNs = [](void* ctx, const xmlChar* localName, const xmlChar*, const xmlChar*, int,
                            const xmlChar**, int attributeCount, int, const xmlChar** attributes) {
        collector(ctx).start(localName, attributeCount, attributes);
    };
    sax.endElementNs = [](void* ctx, const xmlChar*, const xmlChar*, const xmlChar*) {
        collector(ctx).end();
    };
    sax.characters = [](void* ctx, const xmlChar* text, int length) { collector(ctx).text(text, length); };
    sax.ignorableWhitespace = sax.characters;
    sax.cdataBlock = sax.characters;
    // Keeps the first error instead of letting the parser print it.
    sax.serror = [](void* ctx, xmlErrorPtr error) {
        QString& first = collector(ctx).firstError;
        if (first.isEmpty() && error && error->level >= XML_ERR_ERROR && error->message)
            first = QString::fromUtf8(error->message).trimmed();
    };
    return sax;
}

} // namespace

bool SheetRowStream::read(ZipEntryStream& input, const QString& partName, const RowVisitor& visitor,
                          QString* failure, QStringList* mergedRanges) {
    const auto fail = [&](const QString& reason) {
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(reason, partName));
        if (failure)
            *failure = reason;
        return false;
    };
    if (!input.isOpen())
        return fail(input.failed() ? input.error().description : QStringLiteral("cannot open the part"));

    RowCollector rows(visitor, mergedRanges);
    xmlSAXHandler sax = handlers();
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> context(
        xmlCreatePushParserCtxt(&sax, nullptr, nullptr, 0, nullptr), xmlFreeParserCtxt);
    if (!context)
        return fail(QStringLiteral("out of memory"));
    xmlCtxtUseOptions(context.get(), kParseOptions);
    context->_private = &rows;
    // The error callback gets the parser context; the others get the user data, set to it too.
    context->userData = context.get();
    rows.context = context.get();

    // The whole entry is read even after the markup ends or breaks off, so that a damaged
    // entry shows by its checksum.
    std::unique_ptr<char[]> chunk(new char[kChunk]);
    bool parsing = true;
    for (;;) {
        const int got = input.read(chunk.get(), kChunk);
        if (got < 0)
            break;
        if (parsing) {
            xmlParseChunk(context.get(), chunk.get(), got, got == 0 ? 1 : 0);
            if (rows.stopped)
                return true;
            parsing = context->instate != XML_PARSER_EOF;
        }
        if (got == 0)
            break;
    }
    // An entry that broke off (damaged, over its budget) is no sheet: nothing of it counts.
    if (input.failed())
        return fail(input.error().description);
    const bool damaged = !context->wellFormed || !rows.firstError.isEmpty();
    if (!rows.anyElement || damaged) {
        const QString reason = rows.firstError.isEmpty() ? QStringLiteral("cannot parse") : rows.firstError;
        if (!rows.anyElement)
            return fail(reason);
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(reason, partName));
    }
    return true;
}
