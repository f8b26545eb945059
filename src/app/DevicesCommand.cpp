#include "DevicesCommand.h"

#include "CommandLineAndroid.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/StoredDevices.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Launch.h"
#include "device/DeviceRecord.h"
#include "services/ModemSearch.h"

#include <QCommandLineParser>
#include <QDateTime>

namespace {

// One line per modem found, with what it reported.
int listModems(Operator& op) {
    const ModemSearch::Result found = ModemSearch::findModems();
    for (const QString& alert : found.alerts())
        op.Show_MessageBox(alert);
    for (const Record& r : found.modems) {
        // The SIM's number beside the IMEI, when the modem told it.
        const QString imei = r.value(kIccidKey).isEmpty()
                                 ? r.value(kImeiKey)
                                 : QStringLiteral("%1\tICCID: %2").arg(r.value(kImeiKey), r.value(kIccidKey));
        printOut(QStringLiteral("%1\tmaker: %2\tmodel: %3\tIMEI: %4\tsignal: %5\tbattery: %6\toperator: %7\t"
                                "SMSC: %8\tmodes: %9")
                     .arg(r.value(kPortDetailKey), r.value(kManufacturerKey), r.value(kModelKey), imei,
                          r.value(kSignalKey), r.value(kBatteryKey), r.value(kNetworkOperatorKey),
                          r.value(kDefaultSmscKey), r.value(kSupportedSmsModesKey)));
        if (const QString slot = r.value(kSlotKey); !slot.isEmpty())
            printOut(QStringLiteral("  Slot : %1").arg(slot));
    }
    for (const Record& r : found.unanswered)
        printOut(QStringLiteral("%1\tSlot : %2\t%3")
                     .arg(r.value(kPortDetailKey), r.value(kSlotKey), r.value(kPortStatusKey)));
    return found.modems.isEmpty() ? 1 : 0;
}

// One line per device any worker of the store last told of, on any computer.
int listStoredDevices(const DataFolder& folder) {
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    const std::optional<QList<StoredDevice>> devices = store ? storedDevices(*store, &why) : std::nullopt;
    if (!devices) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    for (const StoredDevice& d : *devices)
        printOut(QStringLiteral("%1\t%2\t%3\tstate: %4\tsignal: %5\tsent: %6\tfailed: %7\tlimits: %8\t"
                                "details: %9\tsender: %10\tlast seen: %11")
                     .arg(d.host, d.road, d.device, d.state, d.signal)
                     .arg(d.sent)
                     .arg(d.failed)
                     .arg(d.limits, d.details, d.sender,
                          QDateTime::fromMSecsSinceEpoch(d.seenAt).toString(Qt::ISODate)));
    return devices->isEmpty() ? 1 : 0;
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
    const QCommandLineOption stored(
        QStringLiteral("stored"),
        QStringLiteral("List the devices the workers of the campaign store (--database) last told of, on "
                       "every computer."));
    parser.addOptions({android, serial, stored});
    if (const std::optional<int> end = parseCommandLine(parser, arguments.mid(1)))
        return *end;
    ConsoleOperator op(false);
    const DataFolder folder = DataFolder::fromEnvironment();
    if (!openDataFolder(op, folder))
        return 2;
    if (parser.isSet(stored))
        return listStoredDevices(folder);
    if (parser.isSet(android))
        return listAndroidDevices(folder, parser.value(serial));
    return listModems(op);
}
