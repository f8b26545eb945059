#include "TestDeviceCommand.h"

#include "CommandLineAndroid.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "core/FileUtils.h"
#include "core/Launch.h"
#include "core/TextUtils.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemAnswers.h"
#include "services/ModemCheck.h"
#include "services/ModemSearch.h"
#include "services/SendModeTrial.h"

#include <QCommandLineParser>

#include <algorithm>
#include <atomic>

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

// What the automated sending window refuses before a test starts; "" when it may start.
QString refusalOf(const Record& modem, const QString& customSmsc, const QString& number) {
    if (modem.value(kSmsCapableKey) == QLatin1String("Not Detected"))
        return SendModeTrial::kNotSmsCapable;
    if (!customSmsc.isEmpty() && !isUsableSmscNumber(customSmsc))
        return kInvalidSmsc;
    return SendModeTrial::testNumberProblem(number);
}

// The mode test of the modem on this path, as the automated sending window runs it.
int testGsmDevice(Operator& op, const QString& path, const QString& number, const QString& typedSmsc,
                  const QString& reportPath) {
    const ModemSearch::Result found = ModemSearch::findModems();
    for (const QString& alert : found.alerts())
        op.Show_MessageBox(alert);
    const auto modem = std::find_if(found.modems.cbegin(), found.modems.cend(),
                                    [&](const Record& r) { return r.value(kPortDetailKey) == path; });
    if (modem == found.modems.cend()) {
        err(QStringLiteral("Device %1 was not found or cannot send messages.").arg(path));
        return 2;
    }
    const QString customSmsc = Trim_Str(typedSmsc);
    SendModeTrial::Request request{path, customSmsc, modem->value(kDefaultSmscKey), Trim_Str(number),
                                   SendModeTrial::Fill_Test_case_List(modem->value(kSupportedSmsModesKey),
                                                                      !customSmsc.isEmpty(),
                                                                      modem->value(kModelKey), QString())};
    if (request.cases.isEmpty()) {
        err(QStringLiteral("The device offers no SMS mode to test."));
        return 2;
    }
    out(QStringLiteral("Testing %1 (%2) with messages to %3").arg(ModemSearch::nameOf(*modem), path, number));
    if (const QString refusal = refusalOf(*modem, customSmsc, number); !refusal.isEmpty()) {
        op.Show_MessageBox(refusal);
        return 2;
    }
    MFCSMS session;
    const std::atomic<bool> stop{false};
    const SendModeTrial::Progress quiet{[](const QString&) {}, [](int) {}, [](int, const QString&) {}};
    if (SendModeTrial::run(session, request, stop, quiet, QStringLiteral("Execute Case %1 : %2")) ==
        SendModeTrial::End::OpenFailed)
        op.Show_MessageBox(SendModeTrial::kOpenFailed);
    printCases(request.cases);
    if (!reportPath.isEmpty()) {
        const QByteArray bytes = SendModeTrial::reportBytes(ModemSearch::detailsOf(*modem), request.cases);
        QString why;
        if (!writeFileAtomically(reportPath, bytes, &why)) {
            err(errorInFileAccessing(why));
            return kExitDataNotWritten;
        }
    }
    for (const Record& c : request.cases)
        if (ModemAnswers::isSent(c.value(kCaseStatusKey)))
            return 0;
    return 1;
}

// The Android half: the phone's test runs in the Android main window.
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
    if (!openDataFolder(op, folder))
        return 2;
    if (throughAndroid)
        return testAndroidPhone(op, folder, parser.value(serial), parser.value(to));
    return testGsmDevice(op, parser.value(device), parser.value(to), parser.value(smsc),
                         parser.value(report));
}
