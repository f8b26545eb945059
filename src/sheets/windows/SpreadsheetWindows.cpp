#include "SpreadsheetWindows.h"

#include "Excel_Dynamic_Msg.h"
#include "Import_Excel.h"
#include "core/Log.h"
#include "core/Operator.h"
#include "list/windows/BulkSmsWindow.h"

int SpreadsheetWindows::openColumnImport(BulkSmsWindow& window, const QString& path, const QString& mode) {
    if (window.mainWindows() == nullptr) {
        Show_NSLog_Message(QStringLiteral("No window for the column import in mode %1").arg(mode));
        return 0;
    }
    Import_Excel dialog(window.op(), m_spreadsheet, window.mainWindows());
    return dialog.Open_excel_Wnd(path, mode);
}

int SpreadsheetWindows::openDynamicMessages(BulkSmsWindow& asking) {
    BulkSmsWindow* window = activeBulkSmsWindow(asking.mainWindows());
    if (window == nullptr) {
        Show_NSLog_Message(QStringLiteral("No active window for spreadsheet messages"));
        return 0;
    }
    Excel_Dynamic_Msg dialog(*window, m_spreadsheet);
    return window->op().runModal(dialog);
}
