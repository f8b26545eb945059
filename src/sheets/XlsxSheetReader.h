#pragma once
// Reads one worksheet part of an unpacked XLSX package: its header row (which fixes the
// column count) or all its rows, with shared strings, booleans and dates resolved.
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
    // instead of exhausting memory on a size the file merely claims.
    static constexpr qint64 kMaxCells = 8'000'000;

    explicit XlsxSheetReader(const XlsxWorkbookTables& tables) : m_tables(tables) {}

    // Header read. columns is the column count in effect (Excel_Sheet_Columns) and is updated
    // from the sheet's dimension (or its widest row when it has none). Returns no row or one.
    SpreadsheetData readHeader(const QString& location, qint32& columns) const;

    // Full read: one row of exactly columns strings per row element, "" for absent cells.
    // Any failure logs its reason and gives no rows.
    SpreadsheetData readAll(const QString& location, qint32 columns) const;

    // Unicode date pattern of a custom number format, "" when the id has none.
    QString datePatternFor(int numFmtId) const;

private:
    // A cell's text; on a cell format the workbook lacks, "" with the reason in failure.
    QString cellValue(const xmlNode* cell, ExcelDateFormatter& dates, QHash<int, QString>& patterns,
                      QString& failure) const;
    QString sharedString(const QString& indexText) const;
    XlsxWorkbookTables m_tables; // refers to tables that outlive the reader
};
