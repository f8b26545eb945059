// The device search of the GSM device window: every modem port is opened, asked whether it
// can send messages and for its IMEI, and described in one record per device.
#include "GSM_Device_List_Wnd.h"

#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemProbe.h"

#include <memory>
#include <mutex>
#include <vector>

void GSM_Device_List_Wnd::Search_dev_Pressed() {
    if (m_worker.isRunning())
        return;
    m_worker.start([this](std::stop_token stop) { Find_Ph_Thread(stop); });
}

void GSM_Device_List_Wnd::Find_Ph_Thread(std::stop_token stop) {
    Stop_Modem_SRCH = false;
    onMain([this] { m_searching = true; });
    Find_Ph_List(stop);
    onMain([this] { m_searching = false; });
    Stop_Modem_SRCH = false;
    // Showing the first device starts the next worker: leave that to the main thread, once
    // this one has returned. A join of this worker on the main thread may be what runs this
    // hand-off: joined here, that join finds it joined.
    MainThread::post([this] {
        m_worker.join();
        if (!m_ports.isEmpty()) {
            showDevice(0);
        } else {
            m_settingsEnabled = false;
            emit changed();
        }
    });
}

void GSM_Device_List_Wnd::Find_Ph_List(std::stop_token stop) {
    onMain([this] {
        m_prevIndex = -1;
        m_controlsEnabled = false;
        m_ports.clear();
        m_comPortField.clear();
        m_pathField.clear();
        m_detailsText.clear();
        m_defaultSmscField.clear();
        m_customSmscText.clear();
        m_customSmscChecked = false;
        m_cases.clear();
        m_testHeading.clear();
        m_heading = QStringLiteral("Searching Device");
    });
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        GetModemPath(iterator.paths, stop);
    onMain([this] { m_controlsEnabled = true; });
}

bool GSM_Device_List_Wnd::Find_IMEI_already_listed(const QString& imei) const {
    for (const Record& record : m_ports.records()) {
        const QString listed = record.value(kImeiKey);
        if (!listed.isEmpty() && imei.contains(listed))
            return true;
    }
    return false;
}

Record GSM_Device_List_Wnd::deviceRecordFromSession(const MFCSMS& s) {
    return Record{{kDeviceTickedKey, "0"},
                  {kPortNameKey, s.Com_Port},
                  {kPortDetailKey, s.Port_Det},
                  {kPortStatusKey, s.Port_stat},
                  {kImeiKey, s.Port_IMEI},
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

bool GSM_Device_List_Wnd::claimDeviceRow(int index, const QString& path, const QString& imei) {
    for (int row = 0; row < m_ports.size(); ++row) {
        const QString listed = m_ports.at(row).value(kImeiKey);
        if (listed.isEmpty() || !imei.contains(listed))
            continue;
        // Two ports of one modem: the one found first in discovery order keeps the row.
        if (m_discoveryIndex.value(m_ports.at(row).value(kPortDetailKey), -1) < index)
            return false;
        m_ports.removeRows({row});
        break;
    }
    int row = 0;
    while (row < m_ports.size() && m_discoveryIndex.value(m_ports.at(row).value(kPortDetailKey), -1) < index)
        ++row;
    m_discoveryIndex.insert(path, index);
    const QString name = ModemDiscovery::portName(path);
    m_ports.insert(row, Record{{kDeviceTickedKey, "0"},
                               {kPortNameKey, name},
                               {kPortDetailKey, path},
                               {kPortStatusKey, ""},
                               {kImeiKey, imei}});
    return true;
}

bool GSM_Device_List_Wnd::probeDevice(int index, const QString& path) {
    MFCSMS s; // each probe talks to its own modem through its own session
    const int lineFd = s.OpenSerialPort(path);
    if (lineFd == -1)
        return false;
    s.CloseSerialPort(lineFd);
    onMain([this] { ++m_progressValue; });

    int fd = -1;
    s.initPort_with_decp(path, fd);
    if (s.port() != nullptr)
        s.port()->setReadTimeout(0.5);
    if (fd < 0 || !Check_Msg_Sending_Supported(s, fd)) {
        Show_NSLog_Message(QStringLiteral("msg sending support fail"));
        return false;
    }
    const QString imei = Get_IMEI_Number(s, fd);
    Show_NSLog_Message(QStringLiteral("IMEI: %1").arg(imei));
    if (imei.isEmpty() || !MainThread::invokeAndWait([&] { return claimDeviceRow(index, path, imei); }))
        return false;

    Show_NSLog_Message(QStringLiteral("Modem found with BSD path: %1\n").arg(path));
    s.sms_capblts = QStringLiteral("Yes");
    s.use_cus_smsc = QStringLiteral("N");
    s.Com_Port = ModemDiscovery::portName(path);
    s.Port_Det = path;
    Read_Ph_Values_NEW(s, fd);
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
    const Record complete = deviceRecordFromSession(s);
    onMain([this, complete, path] {
        const int row = rowOf(path); // gone when an earlier port of the same modem took over
        if (row >= 0)
            m_ports.replace(row, complete);
    });
    return true;
}

int GSM_Device_List_Wnd::GetModemPath(const QStringList& paths, std::stop_token stop) {
    int result = 5;
    const bool completed = Guard::run("GSM_Device_List_Wnd::GetModemPath", [&] {
        const int count = int(paths.size());
        for (int i = 0; i < count; ++i)
            Show_NSLog_Message(QStringLiteral("modem %1: %2\n").arg(i + 1).arg(paths.at(i)));
        Show_NSLog_Message(QStringLiteral("tot modem: %1\n").arg(count));
        if (m_session.port() != nullptr && m_session.port()->isOpen())
            m_session.closePort();
        onMain([this, count] {
            m_progressMax = count;
            m_progressValue = 0;
            m_discoveryIndex.clear();
        });
        if (count == 0) {
            m_op.Show_MessageBox(QStringLiteral("GSM device not found."));
            onMain([this, count] { m_progressValue = count; });
            return;
        }

        // Modems answer at their own pace: a few are probed side by side, each row appears as
        // its probe ends (in discovery order). A stop lets the probes under way finish and
        // starts no more.
        std::mutex lock;
        QStringList denied; // ports this user may not open: one message names them all
        std::atomic<int> next{0};
        std::atomic<bool> found{false};
        const auto probeWhileAny = [&](std::stop_token) {
            for (int i = next++; i < count; i = next++) {
                if (i > 0 && stop.stop_requested())
                    return;
                const QString& path = paths.at(i);
                if (ModemDiscovery::lacksPermission(path)) {
                    std::lock_guard guard(lock);
                    denied << path;
                    continue;
                }
                if (probeDevice(i, path))
                    found = true;
            }
        };
        std::vector<std::unique_ptr<WorkerThread>> probes;
        for (int w = 0; w < std::min(count, kParallelProbes); ++w) {
            probes.push_back(std::make_unique<WorkerThread>(QStringLiteral("modem-probe")));
            probes.back()->start(probeWhileAny);
        }
        for (const auto& probe : probes)
            probe->join();
        if (found)
            result = 0;
        onMain([this] { ++m_progressValue; }); // one past the ports opened: the search is over
        if (!denied.isEmpty())
            m_op.Show_MessageBox(ModemDiscovery::noPermissionMessage(denied));
    });
    if (!completed)
        m_session.closePort();
    m_searchedOnce = true;
    return result;
}
