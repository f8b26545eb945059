#include "TestDeviceCommand.h"

#include "CommandLineAndroid.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "core/FileUtils.h"
#include "core/Launch.h"
#include "core/MainWindows.h"
#include "device/TestCaseRecord.h"
#include "gsm/ModemAnswers.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/windows/Automated_GSM_Sending.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"

#include <QCommandLineParser>

namespace {

void out(const QString& text) { printOut(text); }
void err(const QString& text) { printErr(text); }

// The case table: one line per case with its outcome, columns separated by tabs.
void printCases(const RecordList& cases) {
    for (const Record& c : cases)
        out(QStringLiteral("%1\t%2\t%3\t%4")
                .arg(c.value(kModemCaseLabelKey), c.value(kCaseCodeKey), c.value(kCaseDescriptionKey),
                     c.value(kCaseStatusKey)));
}

int testGsmDevice(Operator& op, DeviceSelection& selection, const QString& path, const QString& number,
                  const QString& customSmsc, const QString& reportPath) {
    GSM_Device_List_Wnd devices(op, selection);
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        devices.GetModemPath(iterator.paths);
    const int row = devices.rowOf(path);
    if (row < 0) {
        err(QStringLiteral("Device %1 was not found or cannot send messages.").arg(path));
        return 2;
    }
    Automated_GSM_Sending window(op);
    window.open({devices.nsPortListData().at(row)}, devices.settingsWriter());
    window.setCustomSmscText(customSmsc);
    window.setTestNumberText(number);
    if (window.nsCaseListData().isEmpty()) {
        err(QStringLiteral("The device offers no SMS mode to test."));
        return 2;
    }
    const Record device = devices.nsPortListData().at(row);
    out(QStringLiteral("Testing %1 (%2) with messages to %3")
            .arg(GSM_Device_List_Wnd::deviceName(device), path, number));
    window.Send_Test_SMS_Pressed();
    if (!window.testing())
        return 2; // refused: the reason was shown
    window.waitForTest();
    const RecordList cases = window.nsCaseListData().records();
    printCases(cases);
    if (!reportPath.isEmpty()) {
        const QByteArray bytes =
            SendModeTrial::reportBytes(GSM_Device_List_Wnd::deviceDetailText(device), cases);
        QString why;
        if (!writeFileAtomically(reportPath, bytes, &why)) {
            err(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
    }
    for (const Record& c : cases)
        if (ModemAnswers::isSent(c.value(kCaseStatusKey)))
            return 0;
    return 1;
}

} // namespace

int runTestDevice(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Finds out which settings work on a device: sends one test message per combination of\n"
        "mode (PDU, text) and service centre (the modem's own, --smsc) that the modem supports,\n"
        "and prints each case with its outcome.\n"
        "Exit status: 0 when at least one case worked, 1 when none did, 2 on bad input,\n"
        "4 when the report could not be written."));
    parser.addHelpOption();
    const QCommandLineOption device(QStringLiteral("device"), QStringLiteral("The modem's device path."),
                                    QStringLiteral("path"));
    const QCommandLineOption to(QStringLiteral("to"),
                                QStringLiteral("The number that receives the test messages."),
                                QStringLiteral("number"));
    const QCommandLineOption smsc(QStringLiteral("smsc"),
                                  QStringLiteral("A custom service centre to try beside the modem's own."),
                                  QStringLiteral("number"));
    const QCommandLineOption report(
        QStringLiteral("report"), QStringLiteral("Also write the test report here."), QStringLiteral("file"));
    const QCommandLineOption android(
        QStringLiteral("android"),
        QStringLiteral("Test the Android phone adb sees: its three sending modes."));
    const QCommandLineOption serial(QStringLiteral("serial"), QStringLiteral("Android: the phone to test."),
                                    QStringLiteral("serial"));
    parser.addOptions({device, to, smsc, report, android, serial});
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    const bool throughAndroid = parser.isSet(android);
    if (!parser.isSet(to) || (!throughAndroid && !parser.isSet(device))) {
        err(QStringLiteral("bulksms test-device needs --device PATH (or --android) and --to NUMBER."));
        return 2;
    }
    ConsoleOperator op(true);
    const DataFolder folder = DataFolder::fromEnvironment();
    Bulk_SMSAppDelegate androidWindow(op, folder);
    Gsm_Bulk_Sms_Wnd gsm(op, folder);
    MainWindows windows(androidWindow, gsm);
    if (!Launch_Application(op, folder, windows))
        return 2;
    if (throughAndroid)
        return testAndroidPhone(op, folder, parser.value(serial), parser.value(to));
    return testGsmDevice(op, gsm.selection(), parser.value(device), parser.value(to), parser.value(smsc),
                         parser.value(report));
}
