#pragma once
// Spreadsheet reading and writing behind one class.
//
// Reading an XLSX workbook takes four calls in a fixed order, driven by the import windows:
// prepare (ReadWorkbook with only_col true: open the package, read shared strings and
// styles), list
// the sheets (Read_Sheet_Name), read the chosen sheet's header row (ReadData_only_column,
// which fixes Excel_Sheet_Columns), then read all its rows (ReadWorkbook with only_col
// false). ReadODS and ReadWorksheetXML2004 return rows directly. WriteWorkbook exports a
// table as a one-sheet workbook built from the shipped "Template.xlsx".
//
// The reader is an object with the state of the workbook being read: the owner of the
// spreadsheet windows keeps one and hands it to them; the command line makes its own. Its
// working folder is private to the user and to this process. Writing needs no reader.
// Nothing here throws: failures are logged and the result is empty (or false).
#include "SSZipArchive.h"
#include "SpreadsheetData.h"
#include "XlsxPackage.h"
#include "XlsxSheetReader.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <atomic>
#include <functional>

class SpreadsheetWriter {
public:
    SpreadsheetWriter();
    SpreadsheetWriter(const SpreadsheetWriter&) = delete;
    SpreadsheetWriter& operator=(const SpreadsheetWriter&) = delete;

    // ---- reading ----
    SpreadsheetData ReadWorkbook(const QString& location, bool only_col);
    QStringList Read_Sheet_Name() const;
    SpreadsheetData ReadData_only_column();
    SpreadsheetData ReadODS(const QString& location);

    // The full read in one streaming pass: each row of sheet Excel_Sheet_Number goes to sink
    // as it is read (at least Excel_Sheet_Columns strings; return false to stop) and is gone
    // once sink returns, so memory never grows with the sheet. False, with readFailure set,
    // when the sheet cannot be read or breaks off midway.
    using RowSink = XlsxSheetReader::RowSink;
    bool ReadRows(const RowSink& sink);
    // True while ReadRows streams a sheet, which a load does on its own thread: the reader
    // is then not prepared again (that refuses and logs).
    bool isStreaming() const { return m_streaming; }
    // How far the running ReadRows has come through its sheet, 0 to 1; call it from sink.
    double readFraction() const;
    // Drops what a prepared workbook keeps (shared strings, formats, rows read) once the
    // windows are done with it; the next read needs a new preparation.
    void releaseWorkbook();
    static SpreadsheetData ReadWorksheetXML2004(const QString& location);

    // ---- writing ----
    // Every caller passes hasTitleRow false; it does not change the output. The worksheet
    // and shared strings are made while the archive is packed, straight from the table, and
    // nothing of them is kept. The workbook replaces any file at location only once it is
    // whole and on the disk; error (may be null) gets "<location>: <reason>" when it could
    // not be written.
    static bool WriteWorkbook(const QString& location, const SpreadsheetData& withData, bool hasTitleRow,
                              QString* error = nullptr);
    static QString ColumnIndexToName(int column);

    // Full read of one sheet (1-based) into `data`.
    SpreadsheetData ReadData(int sheetNumber);
    // The two generated parts of a written workbook; the worksheet collects sharedStrings.
    bool WriteWorksheetData(const QString& location);
    bool WriteSharedStringsXML(const QString& location);

    // Unicode date pattern of a custom number format, "" when the id has none.
    QString Get_Date_Time_Format_String(int numFmtId) const;

    // Working folder; empty when it could not be created (every operation then fails).
    QString tmpDir;
    QStringList sharedStrings;
    QStringList Styles;                             // numFmtId of each cell format, in order
    QList<QPair<QString, QString>> Styles_Fmt_Code; // (numFmtId, formatCode) of custom formats
    SpreadsheetData data;
    bool date1904 = false; // the workbook counts days from 1904
    // Why the last preparation or read gave nothing, in words for the operator; "" after one
    // that succeeded.
    QString readFailure;
    // Rows of the last full read (before any window's row limit).
    qsizetype rowsRead() const { return data.size(); }

    // 1-based number of the sheet the next header or full read takes.
    qint32 Excel_Sheet_Number = 1;
    // Column count of the current sheet: every row of a full read has this many entries.
    qint32 Excel_Sheet_Columns = 1;
    // Caps on what a workbook may inflate (tests lower them to build bombs cheaply).
    SSZipLimits zipLimits;
    // Called when a generated part cannot be written (a window may make it beep).
    std::function<void()> writeFailureBeep;

private:
    bool clearWorkingFolder() const;
    void reportUnwritablePart(const QString& location) const;
    // The sheet's part, ready to read as it inflates; null with readFailure set when it
    // cannot be had.
    std::unique_ptr<ZipEntryStream> openSheet(int sheetNumber, bool forScan = false);
    XlsxWorkbookTables tables() const { return {sharedStrings, Styles, Styles_Fmt_Code, date1904}; }
    void readWorkbookProperties();

    QTemporaryDir m_workDir;
    XlsxPackage m_package;
    bool m_prepared = false;
    const ZipEntryStream* m_reading = nullptr; // the sheet ReadRows is streaming
    std::atomic<bool> m_streaming{false};
};
