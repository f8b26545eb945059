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

#include <libxml/tree.h>

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

    // Header read. columns becomes the sheet's column count: up to its rightmost cell in any
    // row. Returns no row or one; a header cell of white space only is an untitled column.
    SpreadsheetData readHeader(const QString& location, qint32& columns) const;

    // Full read: one row of exactly columns strings per row element ("" for absent cells; a
    // row with cells further right widens every row). Merged ranges give every cell the
    // value of their first one. Any failure logs its reason, sets failure and gives no rows.
    SpreadsheetData readAll(const QString& location, qint32 columns, QString* failure = nullptr) const;

    // Unicode date pattern of a custom number format, "" when the id has none.
    QString datePatternFor(int numFmtId) const;

private:
    class CellContext;
    // A cell's text; on a cell format the workbook lacks, "" with the reason in failure.
    QString cellValue(const xmlNode* cell, CellContext& context, QString& failure) const;
    QString sharedString(const QString& indexText) const;
    QString formatCodeFor(int numFmtId) const;
    bool isDateFormat(int numFmtId) const;
    XlsxWorkbookTables m_tables; // refers to tables that outlive the reader
};
