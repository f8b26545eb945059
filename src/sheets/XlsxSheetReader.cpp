#include "XlsxSheetReader.h"

#include "CellNumbers.h"
#include "ColumnNames.h"
#include "DateFormatConverter.h"
#include "SheetRowStream.h"
#include "XlsxText.h"
#include "ZipEntryStream.h"
#include "core/Log.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
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

// The integer at the start of a cell's raw text (after white space and a sign), 0 when
// there is none, -1 when it does not fit.
qint64 leadingInteger(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
        ++i;
    const size_t sign = i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        ++i;
    const size_t digits = i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9')
        ++i;
    if (i == digits)
        return 0;
    qint64 value = 0;
    const auto [end, error] = std::from_chars(text.data() + digits, text.data() + i, value);
    if (error != std::errc() || end != text.data() + i)
        return -1;
    return text[sign] == '-' ? -value : value;
}

QString fromUtf8(std::string_view text) { return QString::fromUtf8(text.data(), qsizetype(text.size())); }

// A row's declared number, 0 when it has none.
qint64 rowNumberOf(const SheetRow& row) {
    return QByteArray::fromRawData(row.number.data(), qsizetype(row.number.size())).trimmed().toLongLong();
}

// Whole numbers as a spreadsheet program shows them under "General" come out as they are
// stored: up to 15 digits without leading zeros, the most a double holds exactly.
bool isPlainWholeNumber(std::string_view text) {
    if (text.empty() || text.size() > 15 || (text[0] == '0' && text.size() > 1))
        return false;
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Column index (0-based) of each cell of a row. A cell without a reference follows the
// one before it, as the format defines.
class CellColumns {
public:
    int next(const SheetCell& cell) {
        m_last = cell.hasReference ? columnOf(cell.reference) : m_last + 1;
        return m_last;
    }

private:
    static int columnOf(std::string_view reference) {
        // The usual "B12": one or two capital letters, then the row.
        if (reference.size() >= 2 && isUpper(reference[0])) {
            if (isRowDigit(reference[1]))
                return reference[0] - 'A';
            if (isUpper(reference[1]) && reference.size() >= 3 && isRowDigit(reference[2]))
                return (reference[0] - 64) * 26 + reference[1] - 'A';
        }
        return Get_Col_index(Get_Column_Char_Str(fromUtf8(reference)), 65);
    }
    static bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
    static bool isRowDigit(char c) { return c >= '1' && c <= '9'; }
    int m_last = -1;
};

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

// What one read keeps between cells: the date formatter, and what each cell format and
// number format comes to, worked out on first use.
class XlsxSheetReader::CellContext {
public:
    struct Format {
        bool isDate = false;
        QString code;    // the custom format code, "" for a built-in one
        QString pattern; // the date pattern, for a date format
    };

    CellContext(const XlsxSheetReader& reader, bool date1904)
        : dates(date1904), date1904(date1904), m_reader(reader),
          m_styleFormats(size_t(reader.m_tables.styles.size()), kUnknown) {}

    // The number format id of cell format `style` (a valid index).
    int formatIdOfStyle(qint64 style) {
        int& id = m_styleFormats[size_t(style)];
        if (id == kUnknown)
            id = int(leadingInteger(m_reader.m_tables.styles.at(style)));
        return id;
    }

    const Format& format(int numFmtId) {
        auto found = m_formats.find(numFmtId);
        if (found == m_formats.end()) {
            Format f;
            f.isDate = m_reader.isDateFormat(numFmtId);
            f.code = m_reader.formatCodeFor(numFmtId);
            if (f.isDate)
                f.pattern = m_reader.datePatternFor(numFmtId);
            found = m_formats.insert(numFmtId, f);
        }
        return *found;
    }

    ExcelDateFormatter dates;
    bool date1904;

private:
    static constexpr int kUnknown = std::numeric_limits<int>::min();
    const XlsxSheetReader& m_reader;
    std::vector<int> m_styleFormats;
    QHash<int, Format> m_formats;
};

QString XlsxSheetReader::sharedString(std::string_view indexText) const {
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

QString XlsxSheetReader::cellValue(const SheetCell& cell, CellContext& context, QString& failure) const {
    const std::string_view type = cell.type;
    // The stored value; a formula cell keeps its cached result there, never in its formula.
    const std::string_view stored = cell.value;
    if (type == "s")
        return sharedString(stored);
    if (type == "b")
        return leadingInteger(stored) == 1 ? QStringLiteral("true") : QStringLiteral("false");
    if (type == "inlineStr")
        return decodeXlsxEscapes(fromUtf8(cell.inlineText));
    if (type == "str" || type == "e")
        return decodeXlsxEscapes(fromUtf8(stored));
    if (stored.empty())
        return {};

    // A cell without a style in a workbook without cell formats is plain "General".
    const bool general = !cell.hasStyle && m_tables.styles.isEmpty();
    const qint64 style = leadingInteger(cell.style);
    if (!general && (style < 0 || style >= m_tables.styles.size())) {
        failure =
            QStringLiteral("style %1 outside the %2 cell formats").arg(style).arg(m_tables.styles.size());
        return {};
    }
    const CellContext::Format& format = context.format(general ? 0 : context.formatIdOfStyle(style));

    QString serial;
    if (type == "d") {
        serial = isoDateToSerial(fromUtf8(stored));
        if (serial.isEmpty())
            return fromUtf8(stored);
        if (context.date1904) // the formatter counts this workbook's serials from 1904
            serial = QString::number(serial.toDouble() - double(k1904Offset), 'f', 8);
    } else if (!format.isDate) {
        if (format.code.isEmpty() && isPlainWholeNumber(stored))
            return QString::fromLatin1(stored.data(), qsizetype(stored.size()));
        return numericCellText(fromUtf8(stored), format.code);
    } else {
        serial = fromUtf8(stored);
    }
    const QString date = context.dates.format(serial, format.isDate ? format.pattern : QString());
    return date.isEmpty() ? fromUtf8(stored) : date;
}

bool XlsxSheetReader::rowValues(const SheetRow& row, CellContext& context, qsizetype width,
                                QStringList& values, QString& failure) const {
    values = QStringList(width, QString());
    CellColumns cellColumns;
    for (const SheetCell& cell : row.cells) {
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
    CellContext context(*this, m_tables.date1904);
    QList<QPair<int, QString>> firstRow;
    int rowsSeen = 0;
    int widest = 0;
    const bool readable = SheetRowStream::read(input, partName, [&](const SheetRow& row) {
        CellColumns cellColumns;
        for (const SheetCell& cell : row.cells) {
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
    CellContext context(*this, m_tables.date1904);
    const qsizetype width = std::max<qint32>(columns, 0);
    OnlineMerges merges(mergedRanges);
    qint64 rowNumber = 0;
    QString failure; // why the sheet cannot be read; the first reason ends the read
    QStringList values;
    QString streamFailure;
    const bool readable = SheetRowStream::read(
        input, partName,
        [&](const SheetRow& row) {
            const qint64 declared = rowNumberOf(row);
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
    CellContext context(*this, m_tables.date1904);
    qsizetype width = std::max<qint32>(columns, 0);
    SpreadsheetData result;
    QHash<qint64, qsizetype> rowIndex; // sheet row number -> table row
    QStringList merged;
    qint64 rowNumber = 0;
    QString failure; // why the sheet cannot be read; the first reason ends the read
    QString streamFailure;
    const bool readable = SheetRowStream::read(
        input, partName,
        [&](const SheetRow& row) {
            if (qint64(result.size() + 1) * std::max<qsizetype>(width, 1) > kMaxCells) {
                failure = QStringLiteral("the sheet has more than %1 rows of %2 columns, too many to read")
                              .arg(result.size())
                              .arg(width);
                return false;
            }
            const qint64 declared = rowNumberOf(row);
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
