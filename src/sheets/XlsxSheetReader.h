#pragma once
// Reads one worksheet part of an unpacked XLSX package: its header row (which fixes the
// column count) or all its rows, with shared strings, booleans, numbers and dates resolved
// as a spreadsheet program shows them.
//
// The sheet's dimension element is only a hint that tools often leave stale ("A1", "1:2",
// ranges narrower than the data or reaching column XFD): the columns are those of the
// cells actually found.
#include "DateFormatConverter.h"
#include "SpreadsheetData.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <functional>
#include <string_view>

class ZipEntryStream;
struct SheetCell;
struct SheetRow;

struct XlsxWorkbookTables {
    const QStringList& sharedStrings;
    const QStringList& styles;
    const QList<QPair<QString, QString>>& formatCodes;
    bool date1904 = false;
};

class XlsxSheetReader {
public:
    // The largest table one read builds (rows times columns); a bigger sheet fails the read
    // instead of exhausting memory.
    static constexpr qint64 kMaxCells = 8'000'000;

    explicit XlsxSheetReader(const XlsxWorkbookTables& tables) : m_tables(tables) {}

    // Rows the header read looks at to find the sheet's columns: the header step reads only
    // the top of a sheet, never all of it.
    static constexpr int kHeaderRows = 1000;

    // Header read. columns becomes the sheet's column count: up to the rightmost cell in the
    // first kHeaderRows rows. Returns no row or one; a header cell of white space only is an
    // untitled column.
    SpreadsheetData readHeader(ZipEntryStream& input, const QString& partName, qint32& columns) const;

    // Called per row as it is read, with at least `columns` strings ("" for absent cells; a
    // row with cells further right is longer). Return false to stop the read.
    using RowSink = std::function<bool(QStringList& row)>;

    // Streaming read in one pass. Merged ranges (from scanMergedRanges) give every cell of
    // their block the value of its first one as the rows go by. False, with the reason
    // logged and in failure, when the sheet breaks off or cannot be read; the rows handed
    // over before then are the caller's to keep or drop.
    bool readRows(ZipEntryStream& input, const QString& partName, qint32 columns,
                  const QStringList& mergedRanges, const RowSink& sink, QString* failure = nullptr) const;

    // Full read into a table: one row of exactly columns strings per row element (a row
    // with cells further right widens every row). Merged ranges give every cell the value
    // of their first one. Any failure logs its reason, sets failure and gives no rows.
    SpreadsheetData readAll(ZipEntryStream& input, const QString& partName, qint32 columns,
                            QString* failure = nullptr) const;

    // The "ref" of every merged range of a sheet, found by scanning the inflated bytes for
    // mergeCell elements (which follow the rows): no XML is parsed and nothing is kept.
    static QStringList scanMergedRanges(ZipEntryStream& input);

    // Unicode date pattern of a custom number format, "" when the id has none.
    QString datePatternFor(int numFmtId) const;

private:
    class CellContext;
    // A cell's text; on a cell format the workbook lacks, "" with the reason in failure.
    QString cellValue(const SheetCell& cell, CellContext& context, QString& failure) const;
    // One row element as strings, at least width long; false with failure set on a bad cell.
    bool rowValues(const SheetRow& row, CellContext& context, qsizetype width, QStringList& values,
                   QString& failure) const;
    QString sharedString(std::string_view indexText) const;
    QString formatCodeFor(int numFmtId) const;
    bool isDateFormat(int numFmtId) const;
    XlsxWorkbookTables m_tables; // refers to tables that outlive the reader
};
