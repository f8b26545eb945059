#include "Desktop.h"

#include "AppContext.h"
#include "DatabaseOption.h"
#include "core/AppState.h"
#include "core/Launch.h"
#include "core/Log.h"
#include "core/MainWindows.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/ResumeOffer.h"
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
    QStringList arguments = QCoreApplication::arguments();
    adoptDatabaseOption(arguments); // the windows' runs are recorded there
    QApplication::setApplicationName(kApplicationName);
    QApplication::setApplicationDisplayName(kApplicationName);
    QApplication::setDesktopFileName(QStringLiteral("ostrel-bulk-sms"));
    QApplication::setQuitOnLastWindowClosed(false); // only Exit_App ends the program

    const DataFolder folder = DataFolder::fromEnvironment();
    QtOperator op(folder);
    ViewRegistry::registerStandardViews();

    AppContext context(op, folder);
    Bulk_SMSAppDelegate androidWindow(op, context.folder(), &context.country(), &context.spreadsheets());
    Gsm_Bulk_Sms_Wnd gsmWindow(op, context.folder(), &context.country(), &context.spreadsheets());
    AndroidBulkSmsView androidView(androidWindow, context.stores());
    GsmBulkSmsView gsmView(gsmWindow, context.stores());
    MainWindows windows(androidWindow, gsmWindow);

    if (!Launch_Application(op, context.folder(), windows))
        return 1;
    // The open desktop reads replies through the devices its windows selected.
    gsmWindow.replies().setEnabled(true);
    androidWindow.replies().setEnabled(true);
    // ...and sends the campaigns scheduled from them when their time comes.
    gsmWindow.scheduledSend().setEnabled(true);
    androidWindow.scheduledSend().setEnabled(true);
    QTimer::singleShot(0, &app, [&] {
        offerToResumeUnfinishedRun(gsmWindow, androidWindow, op);
        Show_Device_Kind_Selection(op, windows);
    });
    return app.exec();
}
