#include "DevicesCommand.h"

#include "CommandLineAndroid.h"
#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "StopSignals.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/StoredDevices.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Launch.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemHotplug.h"
#include "gsm/ModemManagerRule.h"
#include "gsm/SimAnswers.h"
#include "services/ModemSearch.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// One JSON object per port searched, for scripts: where it is, how it came out, who holds it,
// and what its modem told.
QJsonObject jsonOf(const ModemSearch::PortOutcome& port, const RecordList& modems) {
    Record modem;
    for (const Record& r : modems)
        if (r.value(kPortDetailKey) == port.path)
            modem = r;
    QJsonValue holder = QJsonValue::Null;
    if (const auto& h = port.holders.holder)
        holder = QJsonObject{{QStringLiteral("name"), h->name}, {QStringLiteral("pid"), h->pid}};
    return QJsonObject{
        {QStringLiteral("port"), port.path},
        {QStringLiteral("slot"), port.place.slot},
        {QStringLiteral("state"), port.state},
        {QStringLiteral("holder"), holder},
        {QStringLiteral("IMEI"), modem.value(kImeiKey)},   // not a record key: a field of the line
        {QStringLiteral("ICCID"), modem.value(kIccidKey)}, // not a record key: a field of the line
        {QStringLiteral("operator"), modem.value(kNetworkOperatorKey)},
        {QStringLiteral("signal"), modem.value(kSignalKey)},
        {QStringLiteral("network"), modem.value(kNetworkKey)},
    };
}

void printFound(const ModemSearch::Result& found, bool json, const QString& event = {});

// One line per modem found, with what it reported (one JSON object per port searched with
// `json`); then what the operator should know: ports denied or held, and for ModemManager
// the udev rule that frees the modem, written to the data folder.
int listModems(Operator& op, const DataFolder& folder, bool json) {
    const ModemSearch::Result found = ModemSearch::findModems();
    QStringList alerts = found.alerts();
    if (const QString rule = ModemSearch::modemManagerRuleAdvice(
            found, folder.Bulk_SMS_Data_Folder_Path() + QLatin1Char('/') + ModemManagerRule::kFileName);
        !rule.isEmpty())
        alerts << rule;
    for (const QString& alert : alerts)
        op.Show_MessageBox(alert);
    printFound(found, json);
    return found.modems.isEmpty() ? 1 : 0;
}

// Until Ctrl-C: each modem plugged in is searched and printed as a search prints it (its JSON
// objects with "event": "plugged"); each unplugged gets a line of its ports ("unplugged\tttyUSB4
// ttyUSB5", or {"event":"unplugged","ports":[...]}); a stick in storage mode, its line on
// standard error.
int watchModems(Operator& op, bool json) {
    QEventLoop loop;
    ModemHotplug plugging;
    QObject::connect(&plugging, &ModemHotplug::plugged, &loop,
                     [&op, json](const ModemPortGroups::Group& modem) {
                         const ModemSearch::Result found = ModemSearch::searchModems({modem});
                         for (const QString& alert : found.alerts())
                             op.Show_MessageBox(alert);
                         printFound(found, json, QStringLiteral("plugged"));
                     });
    QObject::connect(&plugging, &ModemHotplug::unplugged, &loop, [json](const ModemPortGroups::Group& modem) {
        QStringList ports;
        for (const QString& path : modem.paths())
            ports << ModemDiscovery::portName(path);
        if (json)
            printOut(QString::fromUtf8(
                QJsonDocument(
                    QJsonObject{{QStringLiteral("event"), QStringLiteral("unplugged")},
                                {QStringLiteral("slot"), modem.slot},
                                {QStringLiteral("ports"), QJsonArray::fromStringList(modem.paths())}})
                    .toJson(QJsonDocument::Compact)));
        else
            printOut(QStringLiteral("unplugged\t%1").arg(ports.join(QLatin1Char(' '))));
    });
    QObject::connect(&plugging, &ModemHotplug::storageMode, &loop,
                     [](const QString& line) { printErr(line); });
    StopSignals::install([&loop] {
        loop.quit();
        return true;
    });
    plugging.start();
    loop.exec();
    return 0;
}

void printFound(const ModemSearch::Result& found, bool json, const QString& event) {
    if (json) {
        for (const ModemSearch::PortOutcome& port : found.ports) {
            QJsonObject line = jsonOf(port, found.modems);
            if (!event.isEmpty())
                line.insert(QStringLiteral("event"), event);
            printOut(QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact)));
        }
        return;
    }
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
        if (const QString network = r.value(kNetworkKey);
            !network.isEmpty() && network != SimAnswers::registrationText(SimAnswers::Registration::Home))
            printOut(QStringLiteral("  Network : %1").arg(network));
        // Why it cannot send: its SIM wants a PIN or is blocked, the network refused it.
        if (const QString state = r.value(kPortStatusKey); !state.isEmpty())
            printOut(QStringLiteral("  State : %1").arg(state));
    }
    for (const Record& r : found.unanswered)
        printOut(QStringLiteral("%1\tSlot : %2\t%3")
                     .arg(r.value(kPortDetailKey), r.value(kSlotKey), r.value(kPortStatusKey)));
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
    const QCommandLineOption json(
        QStringLiteral("json"),
        QStringLiteral(
            "GSM modems: one JSON object per port searched, one a line: port, slot (USB path), "
            "state, holder ({\"name\", \"pid\"} or null), IMEI, ICCID, operator, signal, network."));
    const QCommandLineOption watch(
        QStringLiteral("watch"),
        QStringLiteral("GSM modems: after the list, go on printing each modem plugged in (as the list "
                       "prints it; with --json its objects carry \"event\": \"plugged\") and each "
                       "unplugged (\"unplugged\" and its ports), until Ctrl-C."));
    parser.addOptions({android, serial, stored, json, watch});
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
    const int listed = listModems(op, folder, parser.isSet(json));
    return parser.isSet(watch) ? watchModems(op, parser.isSet(json)) : listed;
}
