#include "XlsxSheetReader.h"

#include "CellNumbers.h"
#include "ColumnNames.h"
#include "DateFormatConverter.h"
#include "SheetRowStream.h"
#include "XlsxText.h"
#include "XmlDocument.h"
#include "ZipEntryStream.h"
#include "core/Log.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <cctype>
#include <vector>

namespace {

constexpr qint64 k1904Offset = 1462; // days from 30 December 1899 to 1 January 1904

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

// A cell reference as (0-based column, 1-based row); row 0 when it has none.
struct CellRef {
    int column = -1;
    qint64 row = 0;
};

CellRef parseCellRef(const QString& reference) {
    const QString letters = Get_Column_Char_Str(reference.trimmed());
    return {Get_Col_index(letters, 65), reference.trimmed().mid(letters.size()).toLongLong()};
}

// Gives every cell of each merged range the value of its top-left cell, as a spreadsheet
// program shows a merged block. rowIndex maps a sheet row number to its row in the table.
void spreadMergedValues(SpreadsheetData& rows, const QHash<qint64, qsizetype>& rowIndex,
                        const QStringList& ranges) {
    qint64 budget = XlsxSheetReader::kMaxCells; // hostile overlapping ranges cost no more than a table
    for (const QString& range : ranges) {
        const QStringList ends = range.split(QLatin1Char(':'));
        if (ends.size() != 2)
            continue;
        const CellRef from = parseCellRef(ends.at(0));
        const CellRef to = parseCellRef(ends.at(1));
        const auto origin = rowIndex.constFind(from.row);
        if (from.column < 0 || to.column < from.column || from.row < 1 || to.row < from.row ||
            origin == rowIndex.constEnd() || from.column >= rows.at(*origin).size())
            continue;
        const QString value = rows.at(*origin).at(from.column);
        if (value.isEmpty())
            continue;
        const auto fill = [&](qsizetype index) {
            QStringList& row = rows[index];
            const int last = std::min<int>(to.column, int(row.size()) - 1);
            for (int c = from.column; c <= last; ++c) {
                if (--budget < 0)
                    return false;
                row[c] = value;
            }
            return true;
        };
        // Walk whichever is shorter: the range's rows or the rows the sheet has.
        if (to.row - from.row < rowIndex.size()) {
            for (qint64 r = from.row; r <= to.row; ++r) {
                const auto found = rowIndex.constFind(r);
                if (--budget < 0 || (found != rowIndex.constEnd() && !fill(*found)))
                    return;
            }
        } else {
            for (auto it = rowIndex.constBegin(); it != rowIndex.constEnd(); ++it) {
                if (--budget < 0 || (it.key() >= from.row && it.key() <= to.row && !fill(*it)))
                    return;
            }
        }
    }
}

// Merged ranges applied while rows stream by: a range's first row gives the value, the
// rows after it (which always follow in the part) receive it. Hostile range lists cost no
// more than a table of kMaxCells cells.
class OnlineMerges {
public:
    explicit OnlineMerges(const QStringList& ranges) {
        for (const QString& range : ranges) {
            const QStringList ends = range.split(QLatin1Char(':'));
            if (ends.size() != 2)
                continue;
            const CellRef from = parseCellRef(ends.at(0));
            const CellRef to = parseCellRef(ends.at(1));
            if (from.column < 0 || to.column < from.column || from.row < 1 || to.row < from.row)
                continue;
            m_waiting.push_back({from, to, {}});
        }
        std::sort(m_waiting.begin(), m_waiting.end(),
                  [](const Range& a, const Range& b) { return a.from.row > b.from.row; });
    }

    bool isEmpty() const { return m_waiting.empty() && m_active.empty(); }

    void apply(qint64 rowNumber, QStringList& row) {
        // Ranges that end above this row are done; ranges that start here take their value.
        std::erase_if(m_active, [&](const Range& r) { return r.to.row < rowNumber; });
        while (!m_waiting.empty() && m_waiting.back().from.row <= rowNumber) {
            Range r = m_waiting.back();
            m_waiting.pop_back();
            if (r.from.row != rowNumber || r.from.column >= row.size() || row.at(r.from.column).isEmpty())
                continue; // its first row is missing or empty: nothing to spread
            r.value = row.at(r.from.column);
            m_active.push_back(std::move(r));
        }
        for (const Range& r : m_active) {
            const int last = std::min<int>(r.to.column, int(row.size()) - 1);
            for (int c = r.from.column; c <= last; ++c) {
                if (--m_budget < 0)
                    return;
                row[c] = r.value;
            }
        }
    }

private:
    struct Range {
        CellRef from, to;
        QString value;
    };
    std::vector<Range> m_waiting; // by first row, the next one last
    std::vector<Range> m_active;
    qint64 m_budget = XlsxSheetReader::kMaxCells;
};

} // namespace

// What one read keeps between cells: the date formatter and the patterns looked up so far.
class XlsxSheetReader::CellContext {
public:
    explicit CellContext(bool date1904) : dates(date1904), date1904(date1904) {}
    ExcelDateFormatter dates;
    QHash<int, QString> patterns;
    bool date1904;
};

QString XlsxSheetReader::sharedString(const QString& indexText) const {
    const QStringList& strings = m_tables.sharedStrings;
    const qint64 index = leadingInteger(indexText);
    if (index >= 0 && index < strings.size())
        return strings.at(index);
    if (index == strings.size() && !strings.isEmpty())
        return strings.last(); // an index one past the end shows the last string
    return {};
}

QString XlsxSheetReader::formatCodeFor(int numFmtId) const {
    for (const auto& [id, code] : m_tables.formatCodes) {
        if (leadingInteger(id) == numFmtId)
            return code;
    }
    return {};
}

QString XlsxSheetReader::datePatternFor(int numFmtId) const {
    for (const auto& [id, code] : m_tables.formatCodes) {
        if (leadingInteger(id) == numFmtId)
            return datePatternFromFormatCode(code);
    }
    return {};
}

bool XlsxSheetReader::isDateFormat(int numFmtId) const {
    // A custom format is a date by its code, whatever id the writing program gave it:
    // "00000000000" under id 164 pads phone numbers, "yyyy-mm-dd" under id 170 is a date.
    for (const auto& [id, code] : m_tables.formatCodes) {
        if (leadingInteger(id) == numFmtId)
            return isDateFormatCode(code);
    }
    return isDateFormatId(numFmtId) || numFmtId == 18 || (numFmtId >= 45 && numFmtId <= 47);
}

QString XlsxSheetReader::cellValue(const xmlNode* cell, CellContext& context, QString& failure) const {
    const QString type = XmlDocument::attribute(cell, "t");
    // The stored value; a formula cell keeps its cached result there, never in its formula.
    QString stored = XmlDocument::wholeText(XmlDocument::firstChildElement(cell, "v"));
    if (type == QLatin1String("s"))
        return sharedString(stored);
    if (type == QLatin1String("b"))
        return leadingInteger(stored) == 1 ? QStringLiteral("true") : QStringLiteral("false");
    if (type == QLatin1String("inlineStr"))
        return decodeXlsxEscapes(
            XmlDocument::wholeTextSkipping(XmlDocument::firstChildElement(cell, "is"), "rPh"));
    if (type == QLatin1String("str") || type == QLatin1String("e"))
        return decodeXlsxEscapes(stored);
    if (stored.isEmpty())
        return stored;

    // A cell without a style in a workbook without cell formats is plain "General".
    const bool general = !XmlDocument::hasAttribute(cell, "s") && m_tables.styles.isEmpty();
    const qint64 style = leadingInteger(XmlDocument::attribute(cell, "s"));
    if (!general && (style < 0 || style >= m_tables.styles.size())) {
        failure =
            QStringLiteral("style %1 outside the %2 cell formats").arg(style).arg(m_tables.styles.size());
        return {};
    }
    const int formatId = general ? 0 : int(leadingInteger(m_tables.styles.at(style)));

    QString serial = stored;
    if (type == QLatin1String("d")) {
        serial = isoDateToSerial(stored);
        if (serial.isEmpty())
            return stored;
        if (context.date1904) // the formatter counts this workbook's serials from 1904
            serial = QString::number(serial.toDouble() - double(k1904Offset), 'f', 8);
    } else if (!isDateFormat(formatId)) {
        return numericCellText(stored, formatCodeFor(formatId));
    }
    QString pattern;
    if (isDateFormat(formatId)) {
        auto found = context.patterns.find(formatId);
        if (found == context.patterns.end())
            found = context.patterns.insert(formatId, datePatternFor(formatId));
        pattern = *found;
    }
    const QString date = context.dates.format(serial, pattern);
    return date.isEmpty() ? stored : date;
}

bool XlsxSheetReader::rowValues(const xmlNode* row, CellContext& context, qsizetype width,
                                QStringList& values, QString& failure) const {
    values = QStringList(width, QString());
    CellColumns cellColumns;
    for (const xmlNode* cell : cellsOf(row)) {
        const int index = cellColumns.next(cell);
        const QString value = cellValue(cell, context, failure);
        if (!failure.isEmpty())
            return false;
        if (value.isEmpty() || index < 0)
            continue;
        if (index >= values.size())
            values.resize(index + 1);
        values[index] = value;
    }
    return true;
}

SpreadsheetData XlsxSheetReader::readHeader(ZipEntryStream& input, const QString& partName,
                                            qint32& columns) const {
    CellContext context(m_tables.date1904);
    QList<QPair<int, QString>> firstRow;
    int rowsSeen = 0;
    int widest = 0;
    const bool readable = SheetRowStream::read(input, partName, [&](const xmlNode* row) {
        CellColumns cellColumns;
        for (const xmlNode* cell : cellsOf(row)) {
            const int index = cellColumns.next(cell);
            if (index < 0)
                continue;
            widest = std::max(widest, index + 1);
            if (rowsSeen > 0)
                continue;
            QString failure;
            const QString value = cellValue(cell, context, failure);
            if (!value.trimmed().isEmpty())
                firstRow.append({index, value});
        }
        return ++rowsSeen < kHeaderRows;
    });
    if (!readable)
        return {};

    columns = widest;
    if (columns <= 0 || rowsSeen == 0)
        return {};
    QStringList header;
    header.reserve(columns);
    for (int i = 1; i <= columns; ++i)
        header.append(QStringLiteral("Untitled Column %1").arg(i));
    for (const auto& [index, value] : firstRow)
        header[index] = value;
    return {header};
}

bool XlsxSheetReader::readRows(ZipEntryStream& input, const QString& partName, qint32 columns,
                               const QStringList& mergedRanges, const RowSink& sink,
                               QString* failureOut) const {
    CellContext context(m_tables.date1904);
    const qsizetype width = std::max<qint32>(columns, 0);
    OnlineMerges merges(mergedRanges);
    qint64 rowNumber = 0;
    QString failure; // why the sheet cannot be read; the first reason ends the read
    QStringList values;
    QString streamFailure;
    const bool readable = SheetRowStream::read(
        input, partName,
        [&](const xmlNode* row) {
            const qint64 declared = XmlDocument::attribute(row, "r").trimmed().toLongLong();
            rowNumber = declared > 0 ? declared : rowNumber + 1;
            if (!rowValues(row, context, width, values, failure))
                return false;
            if (!merges.isEmpty())
                merges.apply(rowNumber, values);
            return sink(values);
        },
        &streamFailure);
    if (!readable && failure.isEmpty())
        failure = streamFailure.isEmpty() ? QStringLiteral("the sheet could not be read") : streamFailure;
    if (failure.isEmpty())
        return true;
    if (failure != streamFailure) // the stream has logged its own
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(failure, partName));
    if (failureOut)
        *failureOut = failure;
    return false;
}

SpreadsheetData XlsxSheetReader::readAll(ZipEntryStream& input, const QString& partName, qint32 columns,
                                         QString* failureOut) const {
    CellContext context(m_tables.date1904);
    qsizetype width = std::max<qint32>(columns, 0);
    SpreadsheetData result;
    QHash<qint64, qsizetype> rowIndex; // sheet row number -> table row
    QStringList merged;
    qint64 rowNumber = 0;
    QString failure; // why the sheet cannot be read; the first reason ends the read
    QString streamFailure;
    const bool readable = SheetRowStream::read(
        input, partName,
        [&](const xmlNode* row) {
            if (qint64(result.size() + 1) * std::max<qsizetype>(width, 1) > kMaxCells) {
                failure = QStringLiteral("the sheet has more than %1 rows of %2 columns, too many to read")
                              .arg(result.size())
                              .arg(width);
                return false;
            }
            const qint64 declared = XmlDocument::attribute(row, "r").trimmed().toLongLong();
            rowNumber = declared > 0 ? declared : rowNumber + 1;
            rowIndex.insert(rowNumber, result.size());
            QStringList values;
            if (!rowValues(row, context, width, values, failure))
                return false;
            width = std::max(width, values.size()); // the header read missed it: trust the cell
            result.append(values);
            return true;
        },
        &streamFailure, &merged);
    if (!readable && failure.isEmpty())
        failure = streamFailure.isEmpty() ? QStringLiteral("the sheet could not be read") : streamFailure;
    if (!failure.isEmpty()) {
        if (failure != streamFailure) // the stream has logged its own
            Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(failure, partName));
        if (failureOut)
            *failureOut = failure;
        return {};
    }
    for (QStringList& row : result)
        row.resize(width);
    spreadMergedValues(result, rowIndex, merged);
    return result;
}

QStringList XlsxSheetReader::scanMergedRanges(ZipEntryStream& input) {
    // "<mergeCell" or "<x:mergeCell" followed by its attributes: cell texts cannot hold a
    // raw "<", so every match is markup. Matches may straddle chunks: keep a tail.
    static const QByteArray needle = QByteArrayLiteral("mergeCell");
    static const QRegularExpression ref(QStringLiteral(R"(\bref\s*=\s*["']([^"']*)["'])"));
    constexpr int kChunk = 1 << 16;
    constexpr int kTail = 512;
    QStringList ranges;
    QByteArray window;
    QByteArray chunk(kChunk, Qt::Uninitialized);
    for (;;) {
        const int got = input.read(chunk.data(), kChunk);
        const bool last = got <= 0;
        if (!last)
            window.append(chunk.constData(), got);
        // Matches that start before `done` are taken now; the rest of the window is kept.
        const qsizetype done = last ? window.size() : std::max<qsizetype>(0, window.size() - kTail);
        qsizetype from = 0;
        qsizetype keepFrom = done;
        for (qsizetype at = window.indexOf(needle); at >= 0 && at < done; at = window.indexOf(needle, from)) {
            from = at + needle.size();
            const qsizetype end = window.indexOf('>', from);
            if (end < 0) {
                if (window.size() - at < qsizetype(kTail) * 64)
                    keepFrom = at; // the element goes on in the next chunk (unless it never ends)
                break;
            }
            keepFrom = std::max(done, end);
            // The name must be the element's own ("<mergeCell", "<x:mergeCell"), not the
            // "mergeCells" container.
            qsizetype open = at - 1;
            if (open >= 0 && window.at(open) == ':') {
                while (open > 0 && window.at(open - 1) != '<' && window.at(open - 1) != '>' &&
                       !std::isspace(static_cast<unsigned char>(window.at(open - 1))))
                    --open;
                --open;
            }
            const char after = window.at(from);
            if (open < 0 || window.at(open) != '<' ||
                !(std::isspace(static_cast<unsigned char>(after)) || after == '/'))
                continue;
            const QRegularExpressionMatch m = ref.match(QString::fromUtf8(window.mid(from, end - from)));
            if (m.hasMatch())
                ranges.append(m.captured(1));
            from = end;
        }
        if (last)
            break;
        window.remove(0, keepFrom);
    }
    return ranges;
}
