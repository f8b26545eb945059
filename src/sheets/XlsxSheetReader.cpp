#include "XlsxSheetReader.h"

#include "ColumnNames.h"
#include "DateFormatConverter.h"
#include "SheetRowStream.h"
#include "XlsxText.h"
#include "XmlDocument.h"
#include "core/Log.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace {

// The integer at the start of the text, 0 when there is none.
qint64 leadingInteger(const QString& text) {
    static const QRegularExpression integer(QStringLiteral(R"(^\s*[+-]?\d+)"));
    const QRegularExpressionMatch m = integer.match(text);
    if (!m.hasMatch())
        return 0;
    bool ok = false;
    const qint64 value = m.captured(0).trimmed().toLongLong(&ok);
    return ok ? value : -1;
}

// Column index (0-based) of each cell of a row. A cell without a reference follows the
// one before it, as the format defines.
class CellColumns {
public:
    int next(const xmlNode* cell) {
        if (XmlDocument::hasAttribute(cell, "r"))
            m_last = Get_Col_index(Get_Column_Char_Str(XmlDocument::attribute(cell, "r")), 65);
        else
            m_last = m_last + 1;
        return m_last;
    }

private:
    int m_last = -1;
};

QList<xmlNodePtr> cellsOf(const xmlNode* row) {
    QList<xmlNodePtr> cells = XmlDocument::childElements(row);
    cells.removeIf([](const xmlNode* n) { return !XmlDocument::isNamed(n, "c"); });
    return cells;
}

// Column count of a dimension reference: the end cell's column number, 0 without a range.
qint32 dimensionColumns(const QString& ref) {
    const qsizetype colon = ref.indexOf(QLatin1Char(':'));
    return colon < 0 ? 0 : Get_Col_index(Get_Column_Char_Str(ref.mid(colon + 1)), 64);
}

} // namespace

QString XlsxSheetReader::sharedString(const QString& indexText) const {
    const QStringList& strings = m_tables.sharedStrings;
    const qint64 index = leadingInteger(indexText);
    if (index >= 0 && index < strings.size())
        return strings.at(index);
    if (index == strings.size() && !strings.isEmpty())
        return strings.last(); // an index one past the end shows the last string
    return {};
}

QString XlsxSheetReader::datePatternFor(int numFmtId) const {
    for (const auto& [id, code] : m_tables.formatCodes) {
        if (leadingInteger(id) == numFmtId)
            return datePatternFromFormatCode(code);
    }
    return {};
}

SpreadsheetData XlsxSheetReader::readHeader(const QString& location, qint32& columns) const {
    std::optional<QString> dimension;
    QList<QPair<int, QString>> firstRow;
    bool anyRow = false;
    int widest = 0;
    const bool readable = SheetRowStream::read(
        location,
        [&](const xmlNode* row) {
            CellColumns cellColumns;
            for (const xmlNode* cell : cellsOf(row)) {
                const int index = cellColumns.next(cell);
                widest = std::max(widest, index + 1);
                if (anyRow)
                    continue;
                const QString value =
                    XmlDocument::attribute(cell, "t") == QLatin1String("s")
                        ? sharedString(XmlDocument::wholeText(XmlDocument::firstChildElement(cell)))
                        : decodeXlsxEscapes(XmlDocument::wholeText(cell));
                if (!value.isEmpty())
                    firstRow.append({index, value});
            }
            anyRow = true;
            return true;
        },
        &dimension);
    if (!readable)
        return {};

    // Services that export no dimension: the widest row decides.
    columns = dimension ? dimensionColumns(*dimension) : widest;
    if (columns <= 0 || !anyRow)
        return {};
    QStringList header;
    header.reserve(columns);
    for (int i = 1; i <= columns; ++i)
        header.append(QStringLiteral("Untitled Column %1").arg(i));
    for (const auto& [index, value] : firstRow) {
        if (index < 0 || index >= columns) {
            Show_NSLog_Message(QStringLiteral("Error: header cell outside the sheet's %1 columns (%2)")
                                   .arg(columns)
                                   .arg(location));
            return {};
        }
        header[index] = value;
    }
    return {header};
}

QString XlsxSheetReader::cellValue(const xmlNode* cell, ExcelDateFormatter& dates,
                                   QHash<int, QString>& patterns, QString& failure) const {
    const QString type = XmlDocument::attribute(cell, "t");
    if (type == QLatin1String("s"))
        return sharedString(XmlDocument::wholeText(XmlDocument::firstChildElement(cell)));
    if (type == QLatin1String("b"))
        return leadingInteger(XmlDocument::wholeText(XmlDocument::firstChildElement(cell))) == 1
                   ? QStringLiteral("true")
                   : QStringLiteral("false");
    QString value = XmlDocument::wholeText(cell);
    if (type == QLatin1String("inlineStr") || type == QLatin1String("str"))
        value = decodeXlsxEscapes(value);
    if (value.isEmpty())
        return value;
    // A cell without a style in a workbook without cell formats is plain "General".
    const bool general = !XmlDocument::hasAttribute(cell, "s") && m_tables.styles.isEmpty();
    const qint64 style = leadingInteger(XmlDocument::attribute(cell, "s"));
    if (!general && (style < 0 || style >= m_tables.styles.size())) {
        failure =
            QStringLiteral("style %1 outside the %2 cell formats").arg(style).arg(m_tables.styles.size());
        return {};
    }
    const int formatId = general ? 0 : int(leadingInteger(m_tables.styles.at(style)));
    if (!isDateFormatId(formatId))
        return value;
    auto pattern = patterns.find(formatId);
    if (pattern == patterns.end())
        pattern = patterns.insert(formatId, datePatternFor(formatId));
    const QString date = dates.format(value, *pattern);
    return date.isEmpty() ? value : date;
}

SpreadsheetData XlsxSheetReader::readAll(const QString& location, qint32 columns) const {
    ExcelDateFormatter dates(m_tables.date1904);
    QHash<int, QString> patterns;
    const QStringList emptyRow(std::max<qint32>(columns, 0), QString());
    SpreadsheetData result;
    QString failure; // why the sheet cannot be read; the first reason ends the read
    SheetRowStream::read(location, [&](const xmlNode* row) {
        if (qint64(result.size() + 1) * emptyRow.size() > kMaxCells) {
            failure = QStringLiteral("sheet of more than %1 rows of %2 columns is too large")
                          .arg(result.size())
                          .arg(columns);
            return false;
        }
        QStringList values = emptyRow;
        CellColumns cellColumns;
        for (const xmlNode* cell : cellsOf(row)) {
            const int index = cellColumns.next(cell);
            const QString value = cellValue(cell, dates, patterns, failure);
            if (!failure.isEmpty())
                return false;
            if (value.isEmpty())
                continue;
            if (index < 0 || index >= values.size()) {
                failure = QStringLiteral("cell in column %1 outside the sheet's %2 columns")
                              .arg(index + 1)
                              .arg(columns);
                return false;
            }
            values[index] = value;
        }
        result.append(values);
        return true;
    });
    if (!failure.isEmpty()) {
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(failure, location));
        return {};
    }
    return result;
}
