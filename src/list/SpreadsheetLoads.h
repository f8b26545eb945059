#pragma once
// The list's way into the spreadsheet windows (column import and messages from a
// spreadsheet), which live in a layer above it. The application's start makes the
// implementation and hands it to the main windows; without one, a spreadsheet load does
// nothing but log.
#include <QString>

class BulkSmsWindow;

class SpreadsheetLoads {
public:
    virtual ~SpreadsheetLoads() = default;

    // Runs the column import for the workbook, asked by window; mode "AND" or "GSM" (its kind).
    // Returns its end code.
    virtual int openColumnImport(BulkSmsWindow& window, const QString& path, const QString& mode) = 0;
    // Runs the messages-from-spreadsheet wizard on the front one of the asking window's main
    // windows. Returns its end code.
    virtual int openDynamicMessages(BulkSmsWindow& asking) = 0;
};
