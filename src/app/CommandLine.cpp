#include "CommandLine.h"

#include "AppContext.h"
#include "CommandLineAndroid.h"
#include "CommandLineExclusion.h"
#include "CommandLineInputs.h"
#include "CommandLineStores.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "RunReport.h"
#include "SendCommand.h"
#include "SendOptions.h"
#include "StopSignals.h"
#include "TestDeviceCommand.h"
#include "core/Launch.h"
#include "core/Log.h"
#include "core/MainWindows.h"
#include "core/SendingLock.h"
#include "delivery/DelaySchedule.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/SmsMode.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "list/DefaultCountry.h"
#include "list/ListNumbers.h"
#include "list/LoadCounters.h"
#include "sending/ResumeRun.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "stores/ExportFile.h"
#include "stores/windows/ExportDialogs.h"
#include "text/NumberRules.h"
#include "text/SmsParts.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QFile>
#include <QRegularExpression>
#include <QTimer>

namespace {

void out(const QString& text) { printOut(text); }
void err(const QString& text) { printErr(text); }

struct Session {
    ConsoleOperator op;
    AppContext context{op, DataFolder::fromEnvironment()};
    // The default country is loaded by the windows as they open, then --country for this run.
    Bulk_SMSAppDelegate android{op, context.folder(), &context.country()};
    Gsm_Bulk_Sms_Wnd gsm{op, context.folder(), &context.country()};
    MainWindows windows{android, gsm};
    explicit Session(bool yes) : op(yes) {}
    const DataFolder& folder() const { return context.folder(); }
    bool launch() { return Launch_Application(op, context.folder(), windows); }
};

// Searches the attached modems (and BULKSMS_EXTRA_MODEMS) as the device window does.
void searchDevices(GSM_Device_List_Wnd& devices) {
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        devices.GetModemPath(iterator.paths);
}

int runDevices(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Searches the GSM modems attached (and those named in "
                                                    "BULKSMS_EXTRA_MODEMS) and prints what each reports."));
    parser.addHelpOption();
    const QCommandLineOption android(
        QStringLiteral("android"),
        QStringLiteral("List the Android phones adb sees, with their properties."));
    const QCommandLineOption serial(QStringLiteral("serial"), QStringLiteral("Android: only this phone."),
                                    QStringLiteral("serial"));
    parser.addOptions({android, serial});
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    Session session(false);
    if (!session.launch())
        return 2;
    if (parser.isSet(android))
        return listAndroidDevices(session.folder(), parser.value(serial));
    GSM_Device_List_Wnd devices(session.op, session.gsm.selection());
    searchDevices(devices);
    const RecordTable& list = devices.nsPortListData();
    for (const Record& r : list.records())
        out(QStringLiteral("%1\tmaker: %2\tmodel: %3\tIMEI: %4\tsignal: %5\tbattery: %6\toperator: %7\tSMSC: "
                           "%8\tmodes: %9")
                .arg(r.value(kPortDetailKey), r.value(kManufacturerKey), r.value(kModelKey),
                     r.value(kImeiKey), r.value(kSignalKey), r.value(kBatteryKey),
                     r.value(kNetworkOperatorKey), r.value(kDefaultSmscKey), r.value(kSupportedSmsModesKey)));
    return list.isEmpty() ? 1 : 0;
}

} // namespace

bool isCommandLine(const QStringList& arguments) {
    // Any first word is a command (an unknown one gets the usage); options alone start the desktop.
    return arguments.size() > 1 && !arguments.at(1).startsWith(QLatin1Char('-'));
}

int runCommandLine(const QStringList& arguments) {
    // The modem traffic goes to the troubleshooting log; --verbose shows it here too.
    QStringList rest = arguments;
    setLogToStandardError(rest.removeAll(QStringLiteral("--verbose")) > 0);
    const QString command = rest.at(1);
    if (command == QLatin1String("send"))
        return runSend(rest);
    if (command == QLatin1String("devices"))
        return runDevices(rest);
    if (command == QLatin1String("sent-items"))
        return runSentItems(rest);
    if (command == QLatin1String("templates"))
        return runTemplates(rest);
    if (command == QLatin1String("test-device"))
        return runTestDevice(rest);
    if (command == QLatin1String("exclusion"))
        return runExclusion(rest);
    err(QStringLiteral("bulksms: unknown command \"%1\"\n").arg(command) + commandUsage());
    return 2;
}
