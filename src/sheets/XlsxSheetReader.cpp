#include "XlsxSheetReader.h"

#include "ColumnNames.h"
#include "DateFormatConverter.h"
#include "XlsxText.h"
#include "XmlDocument.h"
#include "core/Log.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace {

const char* const kRowsPath = "/worksheet[1]/sheetData[1]/row";

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

// Column count from the sheet's dimension, when the sheet has one.
std::optional<qint32> dimensionColumns(const XmlDocument& doc) {
    for (const xmlNode* child : XmlDocument::childElements(doc.root())) {
        if (!XmlDocument::isNamed(child, "dimension"))
            continue;
        const QString ref = XmlDocument::attribute(child, "ref");
        const qsizetype colon = ref.indexOf(QLatin1Char(':'));
        if (colon < 0)
            return 0;
        return Get_Col_index(Get_Column_Char_Str(ref.mid(colon + 1)), 64);
    }
    return std::nullopt;
}

qint32 widestRow(const QList<xmlNodePtr>& rows) {
    int widest = 0;
    for (const xmlNode* row : rows) {
        CellColumns columns;
        for (const xmlNode* cell : cellsOf(row))
            widest = std::max(widest, columns.next(cell) + 1);
    }
    return widest;
}

struct ReadFailure {
    QString reason;
};

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
    SpreadsheetData result;
    XmlDocument doc(location, XmlDocument::Names::Local);
    if (!doc.isValid())
        return result;
    const QList<xmlNodePtr> rows = doc.select(kRowsPath);
    if (const std::optional<qint32> declared = dimensionColumns(doc))
        columns = *declared;
    else
        columns = widestRow(rows); // services that export no dimension: the widest row decides
    if (columns <= 0 || rows.isEmpty())
        return result;

    QStringList header;
    header.reserve(columns);
    for (int i = 1; i <= columns; ++i)
        header.append(QStringLiteral("Untitled Column %1").arg(i));
    CellColumns cellColumns;
    for (const xmlNode* cell : cellsOf(rows.first())) {
        const int index = cellColumns.next(cell);
        const QString value = XmlDocument::attribute(cell, "t") == QLatin1String("s")
                                  ? sharedString(XmlDocument::wholeText(XmlDocument::firstChildElement(cell)))
                                  : decodeXlsxEscapes(XmlDocument::wholeText(cell));
        if (value.isEmpty())
            continue;
        if (index < 0 || index >= columns) {
            Show_NSLog_Message(QStringLiteral("Error: header cell outside the sheet's %1 columns in %2").arg(columns).arg(location));
            return result;
        }
        header[index] = value;
    }
    result.append(header);
    return result;
}

SpreadsheetData XlsxSheetReader::readAll(const QString& location, qint32 columns) const {
    XmlDocument doc(location, XmlDocument::Names::Local);
    if (!doc.isValid())
        return {};
    const QList<xmlNodePtr> rows = doc.select(kRowsPath);
    if (qint64(rows.size()) * std::max<qint32>(columns, 0) > kMaxCells) {
        Show_NSLog_Message(QStringLiteral("Error: sheet of %1 rows and %2 columns is too large (%3)")
                               .arg(rows.size()).arg(columns).arg(location));
        return {};
    }

    ExcelDateFormatter dates(m_tables.date1904);
    QHash<int, QString> patterns;
    const QStringList emptyRow(std::max<qint32>(columns, 0), QString());
    SpreadsheetData result;
    result.reserve(rows.size());
    try {
        for (const xmlNode* row : rows) {
            QStringList values = emptyRow;
            CellColumns cellColumns;
            for (const xmlNode* cell : cellsOf(row)) {
                const int index = cellColumns.next(cell);
                const QString type = XmlDocument::attribute(cell, "t");
                QString value;
                if (type == QLatin1String("s")) {
                    value = sharedString(XmlDocument::wholeText(XmlDocument::firstChildElement(cell)));
                } else if (type == QLatin1String("b")) {
                    value = leadingInteger(XmlDocument::wholeText(XmlDocument::firstChildElement(cell))) == 1
                                ? QStringLiteral("true")
                                : QStringLiteral("false");
                } else {
                    value = XmlDocument::wholeText(cell);
                    if (type == QLatin1String("inlineStr") || type == QLatin1String("str"))
                        value = decodeXlsxEscapes(value);
                    if (!value.isEmpty()) {
                        const qint64 style = leadingInteger(XmlDocument::attribute(cell, "s"));
                        const bool general = !XmlDocument::hasAttribute(cell, "s") && m_tables.styles.isEmpty();
                        if (!general && (style < 0 || style >= m_tables.styles.size()))
                            throw ReadFailure{QStringLiteral("style %1 outside the %2 cell formats").arg(style).arg(m_tables.styles.size())};
                        const int formatId = general ? 0 : int(leadingInteger(m_tables.styles.at(style)));
                        if (isDateFormatId(formatId)) {
                            auto pattern = patterns.find(formatId);
                            if (pattern == patterns.end())
                                pattern = patterns.insert(formatId, datePatternFor(formatId));
                            const QString date = dates.format(value, *pattern);
                            if (!date.isEmpty())
                                value = date;
                        }
                    }
                }
                if (value.isEmpty())
                    continue;
                if (index < 0 || index >= values.size())
                    throw ReadFailure{QStringLiteral("cell in column %1 outside the sheet's %2 columns").arg(index + 1).arg(columns)};
                values[index] = value;
            }
            result.append(values);
        }
    } catch (const ReadFailure& failure) {
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(failure.reason, location));
        return {};
    }
    return result;
}
