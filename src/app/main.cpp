// bulksms: the desktop application, or with "send"/"devices" the command-line tool.
#include "CommandLine.h"
#include "android/Bulk_SMSAppDelegate.h"
#include "core/AppState.h"
#include "core/Launch.h"
#include "sending/Gsm_Bulk_Sms_Wnd.h"
#include "ui/AndroidBulkSmsView.h"
#include "ui/GsmBulkSmsView.h"
#include "ui/QtOperator.h"
#include "ui/ViewRegistry.h"

#include <QApplication>
#include <QCoreApplication>
#include <QTimer>

namespace {

int runDesktop(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(kApplicationName);
    QApplication::setApplicationDisplayName(kApplicationName);
    QApplication::setDesktopFileName(QStringLiteral("ostrel-bulk-sms"));
    QApplication::setQuitOnLastWindowClosed(false); // only Exit_App ends the program

    QtOperator op;
    ViewRegistry::registerStandardViews();

    Bulk_SMSAppDelegate androidWindow(op);
    Gsm_Bulk_Sms_Wnd gsmWindow(op);
    AndroidBulkSmsView androidView(androidWindow);
    GsmBulkSmsView gsmView(gsmWindow);

    if (!Launch_Application(op, androidWindow, gsmWindow))
        return 1;
    QTimer::singleShot(0, &app, [&] { Show_Device_Kind_Selection(op, gsmWindow, androidWindow); });
    return app.exec();
}

} // namespace

int main(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (isCommandLine(arguments)) {
        QCoreApplication app(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("bulksms"));
        return runCommandLine(arguments);
    }
    return runDesktop(argc, argv);
}
