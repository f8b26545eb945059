#include "ModemSearch.h"

#include "core/Guard.h"
#include "core/Log.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemManagerRule.h"
#include "gsm/ModemProbe.h"
#include "gsm/SmsMode.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace ModemSearch {
namespace {

Record recordFromSession(const MFCSMS& s, const QString& iccid) {
    return Record{{kDeviceTickedKey, "0"},
                  {kPortNameKey, s.Com_Port},
                  {kPortDetailKey, s.Port_Det},
                  {kPortStatusKey, s.Port_stat},
                  {kImeiKey, s.Port_IMEI},
                  {kIccidKey, iccid},
                  {kManufacturerKey, s.Manuf},
                  {kModelKey, s.Model},
                  {kBatteryKey, s.battery},
                  {kSignalKey, s.signal_str},
                  {kNetworkOperatorKey, s.oprator},
                  {kFirmwareRevisionKey, s.revision},
                  {kDefaultSmscKey, s.def_smsc},
                  {kCustomSmscKey, s.def_smsc},
                  {kUseCustomSmscKey, "N"},
                  {kSmsModeKey, s.sms_mode},
                  {kSupportedSmsModesKey, s.sup_sms_mode},
                  {kSmsCapableKey, "Yes"},
                  {kTestHistoryKey, ""},
                  {kLastTestSmscKey, ""}};
}

// The rows found so far, each with its port's position in the discovery order; every change
// is told to the listener under the lock, so the listener hears them in the order they were made.
class Rows {
public:
    explicit Rows(const Listener& listener) : m_listener(listener) {}

    // The row of a modem found on the port at this discovery index, unless an earlier port of
    // the same modem has it. False when it has.
    bool claim(int index, const QString& path, const QString& imei) {
        std::lock_guard guard(m_lock);
        for (int row = 0; row < int(m_rows.size()); ++row) {
            const QString listed = m_rows.at(row).record.value(kImeiKey);
            if (listed.isEmpty() || !imei.contains(listed))
                continue;
            if (m_rows.at(row).index < index)
                return false;
            m_rows.erase(m_rows.begin() + row);
            if (m_listener.removed)
                m_listener.removed(row);
            break;
        }
        int row = 0;
        while (row < int(m_rows.size()) && m_rows.at(row).index < index)
            ++row;
        const Record record{{kDeviceTickedKey, "0"},
                            {kPortNameKey, ModemDiscovery::portName(path)},
                            {kPortDetailKey, path},
                            {kPortStatusKey, ""},
                            {kImeiKey, imei}};
        m_rows.insert(m_rows.begin() + row, {index, record});
        if (m_listener.inserted)
            m_listener.inserted(row, record);
        return true;
    }

    // The whole record of a claimed row; nothing when an earlier port of the modem took over.
    void describe(int index, const Record& record) {
        std::lock_guard guard(m_lock);
        for (int row = 0; row < int(m_rows.size()); ++row) {
            if (m_rows.at(row).index != index)
                continue;
            m_rows[row].record = record;
            if (m_listener.described)
                m_listener.described(row, record);
            return;
        }
    }

    RecordList records() {
        std::lock_guard guard(m_lock);
        RecordList out;
        for (const Row& row : m_rows)
            out << row.record;
        return out;
    }

private:
    struct Row {
        int index;
        Record record;
    };
    const Listener& m_listener;
    std::mutex m_lock;
    std::vector<Row> m_rows;
};

void readModes(MFCSMS& s, int fd) {
    switch (s.PDU_or_Text_SMS(fd)) {
    case 1:
        s.sms_mode = smsModeText(SmsMode::Pdu);
        s.sup_sms_mode = QStringLiteral(";%1;").arg(smsModeText(SmsMode::Pdu));
        break;
    case 2:
        s.sms_mode = smsModeText(SmsMode::Text);
        s.sup_sms_mode = QStringLiteral(";%1;").arg(smsModeText(SmsMode::Text));
        break;
    case 3:
        s.sms_mode = smsModeText(SmsMode::Pdu);
        s.sup_sms_mode = QStringLiteral(";%1;%2;").arg(smsModeText(SmsMode::Pdu), smsModeText(SmsMode::Text));
        break;
    default: s.sms_mode = s.sup_sms_mode = smsModeText(SmsMode::Unknown); break;
    }
}

// Probes one port on the calling thread: how it came out.
PortOutcome probe(int index, const QString& path, Rows& rows, const Listener& listener,
                  const DeviceSettingsMemory::Kept& kept) {
    PortOutcome outcome;
    outcome.path = path;
    outcome.place = ModemDiscovery::usbPlaceOf(path);
    // Looked at before anything opens the port: a program using the line must not have its
    // commands and ours interleaved, nor its DTR pulsed.
    outcome.holders = PortHolders::find(path);
    if (outcome.holders.holder) {
        Show_NSLog_Message(
            QStringLiteral("Port %1 skipped: %2").arg(path, PortHolders::words(outcome.holders)));
        outcome.state = kPortHeld;
        return outcome;
    }
    MFCSMS s; // each probe talks to its own modem through its own session
    const int lineFd = s.OpenSerialPort(path);
    if (lineFd == -1) {
        outcome.holders = s.lineHolders().holder ? s.lineHolders() : outcome.holders;
        outcome.state = outcome.holders.holder ? kPortHeld : kPortNotOpened;
        return outcome;
    }
    s.CloseSerialPort(lineFd);
    if (listener.portOpened)
        listener.portOpened();

    int fd = -1;
    s.initPort_with_decp(path, fd);
    if (s.port() != nullptr)
        s.port()->setReadTimeout(0.5);
    if (fd < 0) {
        outcome.state = kPortNotOpened;
        return outcome;
    }
    if (!Check_Msg_Sending_Supported(s, fd)) {
        Show_NSLog_Message(QStringLiteral("msg sending support fail"));
        outcome.state = kPortSilent;
        return outcome;
    }
    const QString imei = Get_IMEI_Number(s, fd);
    Show_NSLog_Message(QStringLiteral("IMEI: %1").arg(imei));
    if (imei.isEmpty()) {
        outcome.state = kPortSilent;
        return outcome;
    }
    if (!rows.claim(index, path, imei)) {
        outcome.state = kPortSameModem;
        return outcome;
    }

    Show_NSLog_Message(QStringLiteral("Modem found with BSD path: %1\n").arg(path));
    s.sms_capblts = QStringLiteral("Yes");
    s.use_cus_smsc = QStringLiteral("N");
    s.Com_Port = ModemDiscovery::portName(path);
    s.Port_Det = path;
    Read_Ph_Values_NEW(s, fd);
    readModes(s, fd);
    const QString iccid = Get_ICCID_Number(s, fd);
    Show_NSLog_Message(QStringLiteral("ICCID: %1").arg(iccid));
    Record record = recordFromSession(s, iccid);
    if (DeviceSettingsMemory::layOver(record, kept))
        Show_NSLog_Message(
            QStringLiteral("Settings kept for %1 applied").arg(DeviceSettingsMemory::keyOf(record)));
    rows.describe(index, record);
    outcome.state = kPortReady;
    outcome.holders = {};
    return outcome;
}

bool isModemManagers(const PortOutcome& port) {
    const auto& who = port.holders.holder ? port.holders.holder : port.holders.suspect;
    return who && who->name == QLatin1String("ModemManager") && port.state != kPortReady;
}

} // namespace

QStringList Result::alerts() const {
    QStringList out;
    if (noPort)
        out << QStringLiteral("GSM device not found.");
    if (!denied.isEmpty())
        out << ModemDiscovery::noPermissionMessage(denied);
    for (const PortOutcome& port : ports) {
        const bool held = port.state == kPortHeld;
        // A port that did not open or answer while a hidden ModemManager runs: likely its.
        if (!held && !(port.holders.suspect && (port.state == kPortNotOpened || port.state == kPortSilent)))
            continue;
        out << QStringLiteral("\nThe device %1 is %2. %3")
                   .arg(port.path, PortHolders::words(port.holders), PortHolders::advice(port.holders));
    }
    return out;
}

QList<std::pair<QString, QString>> Result::takenByModemManager() const {
    QList<std::pair<QString, QString>> ids;
    for (const PortOutcome& port : ports)
        if (isModemManagers(port) && !port.place.vendor.isEmpty())
            ids << std::pair{port.place.vendor, port.place.product};
    return ids;
}

QString modemManagerRuleAdvice(const Result& result, const QString& file) {
    const QList<std::pair<QString, QString>> ids = result.takenByModemManager();
    const QString text = ModemManagerRule::fileText(ids);
    if (text.isEmpty())
        return QString();
    QString why;
    if (!ModemManagerRule::write(file, ids, &why))
        return QStringLiteral("\nThe udev rule for ModemManager could not be written: %1\nThe rule:\n%2")
            .arg(why, text.trimmed());
    return QStringLiteral("\nThe udev rule that has ModemManager leave the modem alone is written to %1.\n"
                          "Install it with:\n%2\nThe rule:\n%3")
        .arg(file, ModemManagerRule::installCommand(file), text.trimmed());
}

Result search(const QStringList& paths, std::stop_token stop, const Listener& listener,
              const DeviceSettingsMemory::Kept& kept) {
    const int count = int(paths.size());
    for (int i = 0; i < count; ++i)
        Show_NSLog_Message(QStringLiteral("modem %1: %2\n").arg(i + 1).arg(paths.at(i)));
    Show_NSLog_Message(QStringLiteral("tot modem: %1\n").arg(count));
    Result result;
    result.noPort = count == 0;
    for (const QString& path : paths) {
        PortOutcome port;
        port.path = path;
        result.ports << port;
    }
    Rows rows(listener);
    std::mutex lock; // over the denied ports and the outcomes
    std::atomic<int> next{0};
    const auto probeWhileAny = [&](std::stop_token) {
        for (int i = next++; i < count; i = next++) {
            if (i > 0 && stop.stop_requested())
                return;
            const QString& path = paths.at(i);
            if (ModemDiscovery::lacksPermission(path)) {
                std::lock_guard guard(lock);
                result.denied << path;
                result.ports[i].state = kPortDenied;
                result.ports[i].place = ModemDiscovery::usbPlaceOf(path);
                continue;
            }
            PortOutcome outcome;
            outcome.path = path;
            outcome.state = kPortNotOpened; // unless the probe tells more
            Guard::run("ModemSearch::probe", [&] { outcome = probe(i, path, rows, listener, kept); });
            std::lock_guard guard(lock);
            result.ports[i] = outcome;
        }
    };
    std::vector<std::unique_ptr<WorkerThread>> probes;
    for (int w = 0; w < std::min(count, kParallelProbes); ++w) {
        probes.push_back(std::make_unique<WorkerThread>(QStringLiteral("modem-probe")));
        probes.back()->start(probeWhileAny);
    }
    for (const auto& p : probes)
        p->join();
    result.modems = rows.records();
    return result;
}

QString nameOf(const Record& modem) {
    const QString model = modem.value(kModelKey).trimmed();
    const QString port = modem.value(kPortNameKey);
    return model.isEmpty() ? port : QStringLiteral("%1 on %2").arg(model, port);
}

QString detailsOf(const Record& r) {
    const QString supported = r.value(kSupportedSmsModesKey);
    QString modes = QStringLiteral("None");
    if (supported.contains(QStringLiteral("PDU")) && supported.contains(QStringLiteral("Text")))
        modes = QStringLiteral("PDU Mode & Text Mode");
    else if (supported.contains(QStringLiteral("Text")))
        modes = QStringLiteral("Text Mode");
    else if (supported.contains(QStringLiteral("PDU")))
        modes = QStringLiteral("PDU Mode");
    QString text =
        QStringLiteral("COM Port : %1\r\nManufacturer : %2\r\nModel : %3\r\nRevision : %4\r\nSupported SMS "
                       "Mode : %5\r\nBattery : %6\r\nDefault SMSC No. : %7\r\nOperator Code : %8\r\n"
                       "Signal Quality : %9\r\n")
            .arg(r.value(kPortNameKey), r.value(kManufacturerKey), r.value(kModelKey),
                 r.value(kFirmwareRevisionKey), modes, r.value(kBatteryKey), r.value(kDefaultSmscKey),
                 r.value(kNetworkOperatorKey), r.value(kSignalKey));
    if (const QString iccid = r.value(kIccidKey); !iccid.isEmpty())
        text += QStringLiteral("ICCID : %1\r\n").arg(iccid);
    return text;
}

Result findModems(std::stop_token stop, const Listener& listener, const DeviceSettingsMemory::Kept& kept) {
    ModemIterator iterator;
    if (FindModems(iterator) != 0)
        return {}; // the registry could not be read: logged, nothing to tell
    return search(iterator.paths, stop, listener, kept);
}

} // namespace ModemSearch
