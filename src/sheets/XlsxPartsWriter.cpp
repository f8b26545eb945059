#include "XlsxPartsWriter.h"

#include "ColumnNames.h"
#include "XlsxText.h"

#include <QFile>

#include <libxml/xmlwriter.h>

#include <memory>

namespace {

const char* const kMainNs = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const char* const kRelationshipsNs = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const char* const kMarkupCompatibilityNs = "http://schemas.openxmlformats.org/markup-compatibility/2006";
const char* const kX14acNs = "http://schemas.microsoft.com/office/spreadsheetml/2009/9/ac";
const char* const kMacExcelNs = "http://schemas.microsoft.com/office/mac/excel/2008/main";

const xmlChar* X(const char* s) { return reinterpret_cast<const xmlChar*>(s); }

// A pretty-printed UTF-8 document written straight to a file. Every call records failure
// instead of stopping, so callers write their whole structure and ask once at the end.
class PartWriter {
public:
    explicit PartWriter(const QString& location)
        : m_writer(xmlNewTextWriterFilename(QFile::encodeName(location).constData(), 0), xmlFreeTextWriter) {
        m_ok = m_writer != nullptr;
        if (m_ok) {
            xmlTextWriterSetIndent(m_writer.get(), 1);
            check(xmlTextWriterStartDocument(m_writer.get(), nullptr, "UTF-8", "yes"));
        }
    }
    void start(const char* name) {
        if (m_ok)
            check(xmlTextWriterStartElement(m_writer.get(), X(name)));
    }
    void end() {
        if (m_ok)
            check(xmlTextWriterEndElement(m_writer.get()));
    }
    void attribute(const char* name, const QByteArray& value) {
        if (m_ok)
            check(xmlTextWriterWriteAttribute(m_writer.get(), X(name), X(value.constData())));
    }
    void text(const QByteArray& value) {
        if (m_ok)
            check(xmlTextWriterWriteString(m_writer.get(), X(value.constData())));
    }
    void element(const char* name, const QByteArray& value) {
        start(name);
        text(value);
        end();
    }
    bool finish() {
        if (m_ok)
            check(xmlTextWriterEndDocument(m_writer.get()));
        if (m_writer)
            check(xmlTextWriterFlush(m_writer.get()));
        m_writer.reset();
        return m_ok;
    }

private:
    void check(int result) { m_ok = m_ok && result >= 0; }
    std::unique_ptr<xmlTextWriter, decltype(&xmlFreeTextWriter)> m_writer;
    bool m_ok = false;
};

bool hasOuterSpace(const QString& s) { return !s.isEmpty() && (s.front().isSpace() || s.back().isSpace()); }

} // namespace

bool writeWorksheetPart(const QString& location, const SpreadsheetData& data, QStringList& sharedStrings) {
    const qsizetype columns = data.isEmpty() ? 0 : data.first().size();
    const QByteArray lastCell =
        (columnLettersFromNumber(int(columns)) + QString::number(data.size())).toLatin1();

    PartWriter w(location);
    w.start("worksheet");
    w.attribute("xmlns", kMainNs);
    w.attribute("xmlns:r", kRelationshipsNs);
    w.attribute("xmlns:mc", kMarkupCompatibilityNs);
    w.attribute("xmlns:x14ac", kX14acNs);
    w.attribute("mc:Ignorable", "x14ac");

    w.start("dimension");
    w.attribute("ref", "A1:" + lastCell);
    w.end();

    w.start("sheetViews");
    w.start("sheetView");
    w.attribute("tabSelected", "1");
    w.attribute("workbookViewId", "0");
    w.start("selection");
    w.attribute("activeCell", lastCell);
    w.attribute("sqref", lastCell);
    w.end();
    w.end();
    w.end();

    w.start("sheetFormatPr");
    w.attribute("baseColWidth", "10");
    w.attribute("defaultRowHeight", "15");
    w.attribute("x14ac:dyDescent", "0");
    w.end();

    const QByteArray spans = "1:" + QByteArray::number(columns);
    w.start("sheetData");
    for (qsizetype r = 0; r < data.size(); ++r) {
        const QByteArray rowNumber = QByteArray::number(r + 1);
        w.start("row");
        w.attribute("r", rowNumber);
        w.attribute("spans", spans);
        const QStringList& row = data.at(r);
        for (qsizetype c = 0; c < row.size(); ++c) {
            w.start("c");
            w.attribute("r", columnLettersFromNumber(int(c + 1)).toLatin1() + rowNumber);
            const QString& value = row.at(c);
            if (isPlainNumber(value)) {
                w.element("v", value.toLatin1());
            } else {
                w.attribute("t", "s");
                sharedStrings.append(value);
                w.element("v", QByteArray::number(sharedStrings.size() - 1));
            }
            w.end();
        }
        w.end();
    }
    w.end();

    w.start("pageMargins");
    w.attribute("left", "0.75");
    w.attribute("right", "0.75");
    w.attribute("top", "1");
    w.attribute("bottom", "0.5");
    w.attribute("header", "0.5");
    w.attribute("footer", "0.5");
    w.end();

    w.start("extLst");
    w.start("ext");
    w.attribute("xmlns:mx", kMacExcelNs);
    w.attribute("uri", "{64002731-A6B0-56B0-2670-7721B7C09600}");
    w.start("mx:PLV");
    w.attribute("Mode", "0");
    w.attribute("OnePage", "0");
    w.attribute("WScale", "0");
    w.end();
    w.end();
    w.end();

    w.end();
    return w.finish();
}

bool writeSharedStringsPart(const QString& location, const QStringList& sharedStrings) {
    PartWriter w(location);
    w.start("sst");
    w.attribute("xmlns", kMainNs);
    if (!sharedStrings.isEmpty()) {
        w.attribute("count", QByteArray::number(sharedStrings.size()));
        w.attribute("uniqueCount", QByteArray::number(sharedStrings.size()));
    }
    for (const QString& s : sharedStrings) {
        w.start("si");
        w.start("t");
        // Without this, programs may drop the spaces at either end of the text.
        if (hasOuterSpace(s))
            w.attribute("xml:space", "preserve");
        w.text(encodeXlsxEscapes(s).toUtf8());
        w.end();
        w.end();
    }
    w.end();
    return w.finish();
}
