#include "DevicesCommand.h"

#include "CommandLineAndroid.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "core/DataFolder.h"
#include "core/Launch.h"
#include "device/DeviceRecord.h"
#include "services/ModemSearch.h"

#include <QCommandLineParser>

namespace {

// One line per modem found, with what it reported.
int listModems(Operator& op) {
    const ModemSearch::Result found = ModemSearch::findModems();
    for (const QString& alert : found.alerts())
        op.Show_MessageBox(alert);
    for (const Record& r : found.modems)
        printOut(QStringLiteral("%1\tmaker: %2\tmodel: %3\tIMEI: %4\tsignal: %5\tbattery: %6\toperator: %7\t"
                                "SMSC: %8\tmodes: %9")
                     .arg(r.value(kPortDetailKey), r.value(kManufacturerKey), r.value(kModelKey),
                          r.value(kImeiKey), r.value(kSignalKey), r.value(kBatteryKey),
                          r.value(kNetworkOperatorKey), r.value(kDefaultSmscKey),
                          r.value(kSupportedSmsModesKey)));
    return found.modems.isEmpty() ? 1 : 0;
}

} // namespace

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
    ConsoleOperator op(false);
    const DataFolder folder = DataFolder::fromEnvironment();
    if (!openDataFolder(op, folder))
        return 2;
    if (parser.isSet(android))
        return listAndroidDevices(folder, parser.value(serial));
    return listModems(op);
}
