#include "SheetRowStream.h"

#include "core/Log.h"

#include <QFile>
#include <QFileInfo>

#include <libxml/xmlreader.h>

#include <cstring>
#include <memory>

namespace {

constexpr int kParseOptions = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT;

bool named(const xmlChar* name, const char* expected) {
    return name && std::strcmp(reinterpret_cast<const char*>(name), expected) == 0;
}

// Keeps the first error the parser reports instead of letting it print.
void recordError(void* context, xmlErrorPtr error) {
    auto* first = static_cast<QString*>(context);
    if (first->isEmpty() && error && error->level >= XML_ERR_ERROR && error->message)
        *first = QString::fromUtf8(error->message).trimmed();
}

} // namespace

bool SheetRowStream::read(const QString& location, const RowVisitor& visitor,
                          std::optional<QString>* dimensionRef, QStringList* mergedRanges) {
    if (!QFileInfo(location).isFile()) {
        Show_NSLog_Message(QStringLiteral("Error: missing part %1").arg(location));
        return false;
    }
    QString firstError;
    std::unique_ptr<xmlTextReader, decltype(&xmlFreeTextReader)> reader(
        xmlReaderForFile(QFile::encodeName(location).constData(), nullptr, kParseOptions), xmlFreeTextReader);
    if (!reader) {
        Show_NSLog_Message(QStringLiteral("Error: cannot open %1").arg(location));
        return false;
    }
    xmlTextReaderSetStructuredErrorHandler(reader.get(), recordError, &firstError);

    xmlTextReaderPtr r = reader.get();
    bool isWorksheet = false, inSheetData = false, sheetDataDone = false, anyNode = false;
    int status = xmlTextReaderRead(r);
    while (status == 1) {
        anyNode = true;
        const int type = xmlTextReaderNodeType(r);
        const int depth = xmlTextReaderDepth(r);
        const xmlChar* name = xmlTextReaderConstLocalName(r);
        if (type == XML_READER_TYPE_ELEMENT) {
            if (depth == 0) {
                isWorksheet = named(name, "worksheet");
            } else if (depth == 1) {
                if (dimensionRef && !dimensionRef->has_value() && named(name, "dimension")) {
                    xmlChar* ref = xmlTextReaderGetAttribute(r, reinterpret_cast<const xmlChar*>("ref"));
                    *dimensionRef = ref ? QString::fromUtf8(reinterpret_cast<const char*>(ref)) : QString();
                    xmlFree(ref);
                } else if (mergedRanges && isWorksheet && named(name, "mergeCells")) {
                    const xmlNode* merges = xmlTextReaderExpand(r);
                    for (const xmlNode* m = merges ? merges->children : nullptr; m; m = m->next) {
                        if (m->type != XML_ELEMENT_NODE || !named(m->name, "mergeCell"))
                            continue;
                        xmlChar* ref = xmlGetProp(m, reinterpret_cast<const xmlChar*>("ref"));
                        if (ref)
                            mergedRanges->append(QString::fromUtf8(reinterpret_cast<const char*>(ref)));
                        xmlFree(ref);
                    }
                } else if (isWorksheet && !sheetDataDone && named(name, "sheetData")) {
                    inSheetData = !xmlTextReaderIsEmptyElement(r);
                    sheetDataDone = !inSheetData;
                    status = xmlTextReaderRead(r);
                    continue;
                }
                status = xmlTextReaderNext(r); // nothing else at this level is needed
                continue;
            } else if (depth == 2 && inSheetData && named(name, "row")) {
                const xmlNode* row = xmlTextReaderExpand(r);
                if (row && !visitor(row))
                    return true;
                status = xmlTextReaderNext(r);
                continue;
            } else {
                status = xmlTextReaderNext(r);
                continue;
            }
        } else if (type == XML_READER_TYPE_END_ELEMENT && depth == 1 && inSheetData) {
            inSheetData = false;
            sheetDataDone = true;
        }
        status = xmlTextReaderRead(r);
    }
    if (status < 0 || !anyNode) {
        Show_NSLog_Message(
            QStringLiteral("Error: %1 (%2)")
                .arg(firstError.isEmpty() ? QStringLiteral("cannot parse") : firstError, location));
        return anyNode;
    }
    return true;
}
