#include "Desktop.h"

#include "core/AppState.h"
#include "core/Launch.h"
#include "core/Log.h"
#include "list/DefaultCountry.h"
#include "sending/Bulk_SMSAppDelegate.h"
#include "sending/Gsm_Bulk_Sms_Wnd.h"
#include "sending/ResumeRun.h"
#include "sheets/windows/SpreadsheetWindows.h"
#include "ui/AndroidBulkSmsView.h"
#include "ui/GsmBulkSmsView.h"
#include "ui/QtOperator.h"
#include "ui/ViewRegistry.h"

#include <QApplication>
#include <QTimer>

int runDesktop(int argc, char* argv[]) {
    QApplication app(argc, argv);
    // The log goes to the troubleshooting log; --verbose copies it to standard error, which a
    // desktop session may keep in its journal.
    setLogToStandardError(QCoreApplication::arguments().contains(QStringLiteral("--verbose")));
    QApplication::setApplicationName(kApplicationName);
    QApplication::setApplicationDisplayName(kApplicationName);
    QApplication::setDesktopFileName(QStringLiteral("ostrel-bulk-sms"));
    QApplication::setQuitOnLastWindowClosed(false); // only Exit_App ends the program

    QtOperator op;
    ViewRegistry::registerStandardViews();

    // What both main windows share: the default country (loaded as they open) and the
    // spreadsheet windows with their workbook reader.
    DefaultCountry country;
    SpreadsheetWindows spreadsheets;
    Bulk_SMSAppDelegate androidWindow(op, &country, &spreadsheets);
    Gsm_Bulk_Sms_Wnd gsmWindow(op, &country, &spreadsheets);
    AndroidBulkSmsView androidView(androidWindow);
    GsmBulkSmsView gsmView(gsmWindow);

    if (!Launch_Application(op, androidWindow, gsmWindow))
        return 1;
    QTimer::singleShot(0, &app, [&] {
        offerToResumeUnfinishedRun(gsmWindow, androidWindow, op);
        Show_Device_Kind_Selection(op, gsmWindow, androidWindow);
    });
    return app.exec();
}
