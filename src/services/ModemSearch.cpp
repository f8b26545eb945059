#include "ModemSearch.h"

#include "core/Guard.h"
#include "core/Log.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemManagerRule.h"
#include "gsm/ModemPortGroups.h"
#include "gsm/ModemProbe.h"
#include "gsm/SimAnswers.h"
#include "gsm/SimPinKeyring.h"
#include "gsm/SmsMode.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
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

// The rows found so far, each with its modem's position in the discovery order; every change
// is told to the listener under the lock, so the listener hears them in the order they were made.
class Rows {
public:
    explicit Rows(const Listener& listener) : m_listener(listener) {}

    void portOpened() {
        std::lock_guard guard(m_lock);
        if (m_listener.portOpened)
            m_listener.portOpened();
    }

    void modemProbed() {
        std::lock_guard guard(m_lock);
        if (m_listener.modemProbed)
            m_listener.modemProbed();
    }

    // The row of a modem found on the port of the modem at this discovery index, unless an
    // earlier modem of the same IMEI has it. False when it has.
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
        insert(index, Record{{kDeviceTickedKey, "0"},
                             {kPortNameKey, ModemDiscovery::portName(path)},
                             {kPortDetailKey, path},
                             {kPortStatusKey, ""},
                             {kImeiKey, imei}});
        return true;
    }

    // The row of a modem that gave no IMEI: it cannot be another's.
    void place(int index, const Record& record) {
        std::lock_guard guard(m_lock);
        insert(index, record);
    }

    // The whole record of a claimed row; nothing when an earlier modem of the IMEI took over.
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

    const Listener& listener() const { return m_listener; }

    RecordList records() {
        std::lock_guard guard(m_lock);
        RecordList out;
        for (const Row& row : m_rows)
            out << row.record;
        return out;
    }

private:
    void insert(int index, const Record& record) {
        int row = 0;
        while (row < int(m_rows.size()) && m_rows.at(row).index < index)
            ++row;
        m_rows.insert(m_rows.begin() + row, {index, record});
        if (m_listener.inserted)
            m_listener.inserted(row, record);
    }

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

// One port of a modem: whether it opens, answers as a modem that can send, and its IMEI.
struct PortLook {
    PortLook(QString p, const PortHolders::Table& table) : path(std::move(p)), holders(table) {
        outcome.path = path;
    }
    QString path;
    const PortHolders::Table& holders; // the processes' descriptors, read once for the search
    MFCSMS session;                    // each port talks through its own session
    int fd = -1;
    QString imei; // "" unless the port answers and can send
    PortOutcome outcome;
};

// How a person tells this modem from the others when asked for its SIM's PIN.
QString modemForPin(const QString& path, const QString& imei, const ModemPortGroups::Group& modem) {
    QString text = ModemDiscovery::portName(path);
    if (!modem.slot.isEmpty())
        text += QStringLiteral(", slot %1").arg(modem.slot);
    return text + QStringLiteral(", IMEI %1").arg(imei);
}

// The SIM's PIN given where it is asked for; "" when the SIM is ready, else why it cannot send.
// Done before the rest of the probe: a locked SIM keeps the modem from telling its service centre.
QString openSim(MFCSMS& s, int fd, const QString& path, const QString& imei,
                const ModemPortGroups::Group& modem, const SimPins& given) {
    const SimPins pins = given.find || given.ask ? given : SimPinKeyring::pins();
    const auto simKey = [&] {
        Record ids{{kIccidKey, Get_ICCID_Number(s, fd)}, {kImeiKey, imei}};
        return DeviceSettingsMemory::keyOf(ids);
    };
    return SimUnlock::unlock(s, fd, simKey, modemForPin(path, imei, modem), pins);
}

// The network the modem is on, and what keeps it from sending (its SIM, a network that refused
// it): in its record, and as the state of its port.
void noteSimAndNetwork(Record& record, MFCSMS& s, int fd, const QString& simProblem, PortOutcome& outcome) {
    const auto network = simProblem.isEmpty() ? SimUnlock::registration(s, fd) : std::nullopt;
    if (network)
        record.insert(kNetworkKey, SimAnswers::registrationText(*network));
    if (simProblem.isEmpty() && network != SimAnswers::Registration::Denied)
        return;
    const QString why = simProblem.isEmpty() ? SimAnswers::registrationText(*network) : simProblem;
    Show_NSLog_Message(QStringLiteral("%1: %2").arg(record.value(kPortDetailKey), why));
    record.insert(kPortStatusKey, why);
    outcome.state = why; // told with the other ports' outcomes as the probe ends
}

void look(PortLook& p, Rows& rows) {
    PortOutcome& outcome = p.outcome;
    outcome.place = ModemDiscovery::usbPlaceOf(p.path);
    // Looked at before anything opens the port: a program using the line must not have its
    // commands and ours interleaved, nor its DTR pulsed.
    outcome.holders = PortHolders::find(p.path, p.holders);
    if (outcome.holders.holder) {
        Show_NSLog_Message(
            QStringLiteral("Port %1 skipped: %2").arg(p.path, PortHolders::words(outcome.holders)));
        outcome.state = kPortHeld;
        return;
    }
    outcome.state = kPortNotOpened;
    const int lineFd = p.session.OpenSerialPort(p.path);
    if (lineFd == -1) {
        outcome.holders = p.session.lineHolders().holder ? p.session.lineHolders() : outcome.holders;
        outcome.state = outcome.holders.holder ? kPortHeld : kPortNotOpened;
        return;
    }
    p.session.CloseSerialPort(lineFd);
    rows.portOpened();
    p.session.initPort_with_decp(p.path, p.fd);
    if (p.session.port() != nullptr)
        p.session.port()->setReadTimeout(0.5);
    if (p.fd < 0)
        return;
    outcome.state = kPortSilent;
    if (!Check_Msg_Sending_Supported(p.session, p.fd)) {
        Show_NSLog_Message(QStringLiteral("msg sending support fail"));
        return;
    }
    p.imei = Get_IMEI_Number(p.session, p.fd);
    Show_NSLog_Message(QStringLiteral("IMEI: %1").arg(p.imei));
    if (!p.imei.isEmpty()) {
        outcome.state = kPortReady;
        outcome.holders = {};
    }
}

// A modem of a known USB slot none of whose ports answered: one row that says so.
Record unansweredRecord(const ModemPortGroups::Group& modem) {
    QStringList names;
    for (const QString& path : modem.paths())
        names << ModemDiscovery::portName(path);
    const QString first = modem.ports.constFirst().path;
    return Record{{kDeviceTickedKey, "0"},
                  {kPortNameKey, ModemDiscovery::portName(first)},
                  {kPortDetailKey, first},
                  {kPortStatusKey, noAnswerStatus(names)},
                  {kImeiKey, ""},
                  {kIccidKey, ""},
                  {kManufacturerKey, modem.manufacturer},
                  {kModelKey, modem.product},
                  {kSmsModeKey, smsModeText(SmsMode::Unknown)},
                  {kSupportedSmsModesKey, smsModeText(SmsMode::Unknown)},
                  {kSmsCapableKey, "Not Detected"},
                  {kSlotKey, modem.slot}};
}

// The ports of one modem looked at side by side. The modem is the first port in its order that
// answers: chosen once every port before it has failed, its long reading starts while later
// ports still end their looks (a silent one waits out its time-outs). The ports not chosen are
// let go as their looks end, and at the latest when this goes.
class SideBySide {
public:
    SideBySide(std::vector<std::unique_ptr<PortLook>>& looks, Rows& rows)
        : m_looks(looks), m_done(looks.size(), 0) {
        for (std::size_t i = 0; i < looks.size(); ++i)
            m_threads.emplace_back([this, &rows, i] {
                Guard::run("ModemSearch::look", [&] { look(*m_looks.at(i), rows); });
                {
                    std::lock_guard guard(m_lock);
                    m_done[i] = 1;
                }
                m_changed.notify_all();
            });
    }
    ~SideBySide() {
        m_threads.clear(); // every look has ended
        for (const auto& p : m_looks) {
            if (p.get() == m_chosen)
                continue;
            p->session.closePort();
            if (!p->imei.isEmpty())
                p->outcome.state = kPortSameModem;
        }
    }
    SideBySide(const SideBySide&) = delete;
    SideBySide& operator=(const SideBySide&) = delete;

    // The port that stands for the modem; null when none answered.
    PortLook* choose() {
        std::unique_lock wait(m_lock);
        for (std::size_t i = 0; i < m_looks.size() && m_chosen == nullptr; ++i) {
            m_changed.wait(wait, [&] { return m_done[i] != 0; });
            if (!m_looks[i]->imei.isEmpty())
                m_chosen = m_looks[i].get();
        }
        for (std::size_t i = 0; i < m_looks.size(); ++i)
            if (m_done[i] != 0 && m_looks[i].get() != m_chosen)
                m_looks[i]->session.closePort();
        return m_chosen;
    }

private:
    std::vector<std::unique_ptr<PortLook>>& m_looks;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<char> m_done; // under m_lock
    PortLook* m_chosen = nullptr;
    std::vector<std::jthread> m_threads;
};

// Probes every port of one modem at once and describes the modem through the first port, in
// the modem's order, that answers; the other ports are let go as their looks end.
// The modem's ports' outcomes go to `ports` from `first` on, in the modem's order.
void probeModem(int index, const ModemPortGroups::Group& modem, Rows& rows,
                const DeviceSettingsMemory::Kept& kept, Result& result, int first, std::mutex& resultLock,
                const PortHolders::Table& holders) {
    std::vector<std::unique_ptr<PortLook>> looks;
    bool anyDenied = false;
    const QStringList paths = modem.paths();
    for (const QString& path : paths) {
        if (ModemDiscovery::lacksPermission(path)) {
            anyDenied = true;
            std::lock_guard guard(resultLock);
            result.denied << path;
            PortOutcome& denied = result.ports[first + int(paths.indexOf(path))];
            denied.state = kPortDenied;
            denied.place = ModemDiscovery::usbPlaceOf(path);
            continue;
        }
        looks.push_back(std::make_unique<PortLook>(path, holders));
    }
    if (looks.empty())
        return;
    // Every port's outcome is told, whichever way this modem's probe ends.
    struct Tell {
        std::vector<std::unique_ptr<PortLook>>& looks;
        Result& result;
        const QStringList& paths;
        int first;
        std::mutex& lock;
        ~Tell() {
            std::lock_guard guard(lock);
            for (const auto& p : looks)
                result.ports[first + int(paths.indexOf(p->path))] = p->outcome;
        }
    } tell{looks, result, paths, first, resultLock};
    SideBySide looked(looks, rows);
    PortLook* const chosen = looked.choose();
    if (chosen == nullptr) {
        // A port denied may be the one that answers: the denial is what the operator hears of it.
        if (!modem.slot.isEmpty() && !anyDenied)
            rows.place(index, unansweredRecord(modem));
        return;
    }
    const QString& path = chosen->path;
    if (!rows.claim(index, path, chosen->imei)) {
        chosen->outcome.state = kPortSameModem;
        return;
    }

    MFCSMS& s = chosen->session;
    const int fd = chosen->fd;
    Show_NSLog_Message(QStringLiteral("Modem found with BSD path: %1\n").arg(path));
    s.sms_capblts = QStringLiteral("Yes");
    s.use_cus_smsc = QStringLiteral("N");
    s.Com_Port = ModemDiscovery::portName(path);
    s.Port_Det = path;
    const QString simProblem = openSim(s, fd, path, chosen->imei, modem, rows.listener().pins);
    Read_Ph_Values_NEW(s, fd);
    readModes(s, fd);
    const QString iccid = Get_ICCID_Number(s, fd);
    Show_NSLog_Message(QStringLiteral("ICCID: %1").arg(iccid));
    Record record = recordFromSession(s, iccid);
    noteSimAndNetwork(record, s, fd, simProblem, chosen->outcome);
    if (!modem.slot.isEmpty())
        record.insert(kSlotKey, modem.slot);
    if (DeviceSettingsMemory::layOver(record, kept))
        Show_NSLog_Message(
            QStringLiteral("Settings kept for %1 applied").arg(DeviceSettingsMemory::keyOf(record)));
    rows.describe(index, record);
}

} // namespace

QString noAnswerStatus(const QStringList& portNames) {
    return QStringLiteral("Not answering: no port of this modem (%1) answered AT commands as a modem that "
                          "can send messages. Check its SIM and power, then search again.")
        .arg(portNames.join(QStringLiteral(", ")));
}

namespace {

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
    return searchModems(ModemPortGroups::groupsOf(paths), std::move(stop), listener, kept);
}

Result searchModems(const QList<ModemPortGroups::Group>& modems, std::stop_token stop,
                    const Listener& listener, const DeviceSettingsMemory::Kept& kept) {
    int count = 0;
    for (const ModemPortGroups::Group& modem : modems)
        for (const QString& path : modem.paths())
            Show_NSLog_Message(QStringLiteral("modem %1: %2\n").arg(++count).arg(path));
    Show_NSLog_Message(QStringLiteral("tot modem: %1\n").arg(count));
    Result result;
    result.noPort = count == 0;
    QList<int> firstPort; // where each modem's ports begin in result.ports
    for (const ModemPortGroups::Group& modem : modems) {
        firstPort << int(result.ports.size());
        for (const QString& path : modem.paths()) {
            PortOutcome port;
            port.path = path;
            result.ports << port;
        }
    }
    Rows rows(listener);
    // Who holds which port, read once: every port's look-up before it is opened uses it.
    const PortHolders::Table holders = PortHolders::readTable();
    std::mutex lock; // over the denied ports and the outcomes
    std::atomic<int> next{0};
    const int modemCount = int(modems.size());
    const auto probeWhileAny = [&](std::stop_token) {
        for (int i = next++; i < modemCount; i = next++) {
            if (i > 0 && stop.stop_requested())
                return;
            Guard::run("ModemSearch::probe", [&] {
                probeModem(i, modems.at(i), rows, kept, result, firstPort.at(i), lock, holders);
            });
            rows.modemProbed();
        }
    };
    std::vector<std::unique_ptr<WorkerThread>> probes;
    for (int w = 0; w < std::min(modemCount, kParallelModems); ++w) {
        probes.push_back(std::make_unique<WorkerThread>(QStringLiteral("modem-probe")));
        probes.back()->start(probeWhileAny);
    }
    for (const auto& p : probes)
        p->join();
    for (const Record& row : rows.records())
        (row.value(kImeiKey).isEmpty() ? result.unanswered : result.modems) << row;
    return result;
}

QString nameOf(const Record& modem) {
    const QString model = modem.value(kModelKey).trimmed();
    const QString port = modem.value(kPortNameKey);
    return model.isEmpty() ? port : QStringLiteral("%1 on %2").arg(model, port);
}

QString detailsOf(const Record& r) {
    // The usual case goes unsaid; roaming, a search under way or a refusal are told.
    static const QString kHomeNetwork = SimAnswers::registrationText(SimAnswers::Registration::Home);
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
    if (const QString network = r.value(kNetworkKey); !network.isEmpty() && network != kHomeNetwork)
        text += QStringLiteral("Network : %1\r\n").arg(network);
    if (const QString slot = r.value(kSlotKey); !slot.isEmpty())
        text += QStringLiteral("Slot : %1\r\n").arg(slot);
    if (const QString status = r.value(kPortStatusKey); !status.isEmpty())
        text += QStringLiteral("Status : %1\r\n").arg(status);
    return text;
}

Result findModems(std::stop_token stop, const Listener& listener, const DeviceSettingsMemory::Kept& kept) {
    ModemIterator iterator;
    if (FindModems(iterator) != 0)
        return {}; // the registry could not be read: logged, nothing to tell
    return search(iterator.paths, stop, listener, kept);
}

} // namespace ModemSearch
