#include "XlsxPartsWriter.h"

#include "ColumnNames.h"
#include "XlsxText.h"

#include <charconv>
#include <string>

namespace {

const char* const kMainNs = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const char* const kRelationshipsNs = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const char* const kMarkupCompatibilityNs = "http://schemas.openxmlformats.org/markup-compatibility/2006";
const char* const kX14acNs = "http://schemas.microsoft.com/office/spreadsheetml/2009/9/ac";
const char* const kMacExcelNs = "http://schemas.microsoft.com/office/mac/excel/2008/main";

// Decimal digits of n, valid until the next call on the same buffer.
struct Digits {
    char buffer[24];
    std::string_view of(qint64 n) {
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, n).ptr;
        return {buffer, size_t(end - buffer)};
    }
};

// Column letters by 0-based column, made once per column rather than once per cell.
class ColumnLetters {
public:
    const std::string& at(qsizetype column) {
        while (qsizetype(m_letters.size()) <= column)
            m_letters.push_back(columnLettersFromNumber(int(m_letters.size()) + 1).toStdString());
        return m_letters[size_t(column)];
    }

private:
    std::vector<std::string> m_letters;
};

bool hasOuterSpace(const QString& s) { return !s.isEmpty() && (s.front().isSpace() || s.back().isSpace()); }

void writeSharedString(XmlPartWriter& w, const QString& s) {
    w.start("si");
    w.start("t");
    // Without this, programs may drop the spaces at either end of the text.
    if (hasOuterSpace(s))
        w.attribute("xml:space", "preserve");
    w.text(QStringView(s));
    w.end();
    w.end();
}

void startSst(XmlPartWriter& w, qsizetype count) {
    w.start("sst");
    w.attribute("xmlns", kMainNs);
    if (count > 0) {
        Digits digits;
        w.attribute("count", digits.of(count));
        w.attribute("uniqueCount", digits.of(count));
    }
}

} // namespace

XlsxTextCells::XlsxTextCells(const SpreadsheetData& data) {
    qsizetype cells = 0;
    for (const QStringList& row : data)
        cells += row.size();
    m_text.reserve(size_t(cells));
    for (const QStringList& row : data) {
        for (const QString& value : row) {
            const bool text = !isPlainNumber(value);
            m_text.push_back(text);
            m_count += text ? 1 : 0;
        }
    }
}

namespace {

// The worksheet element and what comes before the rows: its size, view and row format.
void startWorksheet(XmlPartWriter& w, const std::string& lastCell) {
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
}

// Every row; a text cell holds the index of its shared string, a number cell the number.
void writeSheetData(XmlPartWriter& w, const SpreadsheetData& data, const XlsxTextCells& cells,
                    qsizetype columns) {
    ColumnLetters letters;
    Digits digits;
    const std::string spans = "1:" + std::string(digits.of(columns));
    std::string cellsOfRow;
    qsizetype cell = 0, sharedIndex = 0;
    w.start("sheetData");
    for (qsizetype r = 0; r < data.size() && w.ok(); ++r) {
        const std::string rowNumber(digits.of(r + 1));
        w.start("row");
        w.attribute("r", rowNumber);
        w.attribute("spans", spans);
        // The cells are put together here: a reference is letters and digits, an index
        // digits, and a number cell holds only what isPlainNumber allows (ASCII digits, "-",
        // "."), so none of it needs escaping.
        cellsOfRow.clear();
        const QStringList& row = data.at(r);
        for (qsizetype c = 0; c < row.size(); ++c, ++cell) {
            cellsOfRow.append(R"(<c r=")").append(letters.at(c)).append(rowNumber);
            if (cells.isText(cell)) {
                cellsOfRow.append(R"(" t="s"><v>)").append(digits.of(sharedIndex++));
            } else {
                cellsOfRow.append(R"("><v>)");
                for (const QChar ch : row.at(c))
                    cellsOfRow.push_back(char(ch.unicode()));
            }
            cellsOfRow.append("</v></c>");
        }
        w.markup(cellsOfRow);
        w.end();
    }
    w.end();
}

// What follows the rows: page margins and the page layout extension (left open: finishing
// the part closes it and the worksheet).
void writeSheetEnd(XmlPartWriter& w) {
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
}

} // namespace

bool writeWorksheetPart(const XmlPartWriter::Sink& sink, const SpreadsheetData& data,
                        const XlsxTextCells& cells) {
    const qsizetype columns = data.isEmpty() ? 0 : data.first().size();
    Digits digits;
    const std::string lastCell =
        columnLettersFromNumber(int(columns)).toStdString() + std::string(digits.of(data.size()));
    XmlPartWriter w(sink);
    startWorksheet(w, lastCell);
    writeSheetData(w, data, cells, columns);
    writeSheetEnd(w);
    return w.finish();
}

bool writeSharedStringsPart(const XmlPartWriter::Sink& sink, const SpreadsheetData& data,
                            const XlsxTextCells& cells) {
    XmlPartWriter w(sink);
    startSst(w, cells.count());
    qsizetype cell = 0;
    for (const QStringList& row : data) {
        if (!w.ok())
            break;
        for (const QString& value : row) {
            if (cells.isText(cell++))
                writeSharedString(w, value);
        }
    }
    return w.finish();
}

bool writeSharedStringsPart(const XmlPartWriter::Sink& sink, const QStringList& strings) {
    XmlPartWriter w(sink);
    startSst(w, strings.size());
    for (const QString& s : strings)
        writeSharedString(w, s);
    return w.finish();
}
