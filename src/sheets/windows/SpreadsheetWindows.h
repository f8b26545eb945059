#pragma once
// The spreadsheet windows as the list loaders reach them: the column import for a chosen
// workbook and the messages-from-spreadsheet wizard on the front window. The application's
// start makes one and hands it to both main windows; it keeps the workbook reader they share,
// which a load into a list goes on reading after its window has ended.
#include "list/SpreadsheetLoads.h"
#include "sheets/SpreadsheetWriter.h"

class SpreadsheetWindows : public SpreadsheetLoads {
public:
    int openColumnImport(BulkSmsWindow& window, const QString& path, const QString& mode) override;
    int openDynamicMessages(BulkSmsWindow& window) override;

    SpreadsheetWriter& spreadsheet() { return m_spreadsheet; }

private:
    SpreadsheetWriter m_spreadsheet;
};
