#pragma once
// The spreadsheet windows as the list loaders reach them: the column import for a chosen
// workbook and the messages-from-spreadsheet wizard on the front window.
#include "list/SpreadsheetLoads.h"

class SpreadsheetWindows : public SpreadsheetLoads {
public:
    int openColumnImport(BulkSmsWindow& window, const QString& path, const QString& mode) override;
    int openDynamicMessages(BulkSmsWindow& window) override;

    // Installs one process-wide instance as the list's spreadsheet hand-over.
    static void install();
};
