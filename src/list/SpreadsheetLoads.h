#pragma once
// The list's way into the spreadsheet windows (column import and messages from a
// spreadsheet), which live in a layer above it. The application's start makes the
// implementation and hands it to the main windows; without one, a spreadsheet load does
// nothing but log.
#include <QString>

class SpreadsheetLoads {
public:
    virtual ~SpreadsheetLoads() = default;

    // Runs the column import for the workbook; mode "AND" or "GSM". Returns its end code.
    virtual int openColumnImport(const QString& path, const QString& mode) = 0;
    // Runs the messages-from-spreadsheet wizard on the active window. Returns its end code.
    virtual int openDynamicMessages() = 0;
};
