#include "SpreadsheetWindows.h"

#include "Excel_Dynamic_Msg.h"
#include "Import_Excel.h"
#include "core/AppState.h"
#include "core/Log.h"
#include "core/Operator.h"
#include "list/BulkSmsWindow.h"

int SpreadsheetWindows::openColumnImport(const QString& path, const QString& mode) {
    auto* window = qobject_cast<BulkSmsWindow*>(mode == QLatin1String("AND") ? Main_App_wnd : GSM_App_wnd);
    if (window == nullptr) {
        Show_NSLog_Message(QStringLiteral("No window for the column import in mode %1").arg(mode));
        return 0;
    }
    Import_Excel dialog(window->op(), m_spreadsheet);
    return dialog.Open_excel_Wnd(path, mode);
}

int SpreadsheetWindows::openDynamicMessages() {
    BulkSmsWindow* window = activeBulkSmsWindow();
    if (window == nullptr) {
        Show_NSLog_Message(QStringLiteral("No active window for spreadsheet messages"));
        return 0;
    }
    Excel_Dynamic_Msg dialog(*window, m_spreadsheet);
    return window->op().runModal(dialog);
}
