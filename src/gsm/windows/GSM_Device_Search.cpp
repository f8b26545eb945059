// The device search of the GSM device window: every modem port is opened, asked whether it
// can send messages and for its IMEI, and described in one record per device.
#include "GSM_Device_List_Wnd.h"

#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemProbe.h"

namespace {
const QString kPath = QStringLiteral("PORT_DETAL");
} // namespace

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
    // this one has returned. It only waits: the one joining this worker may be a wait of
    // the main thread that is handling this very event.
    MainThread::post([this] {
        waitKeepingEventsFlowing([this] { return !m_worker.isRunning(); });
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
        m_heading = QStringLiteral("Searching Device");
    });
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        GetModemPath(iterator.paths, stop);
    onMain([this] { m_controlsEnabled = true; });
}

bool GSM_Device_List_Wnd::Find_IMEI_already_listed(const QString& imei) const {
    for (const Record& record : m_ports.records()) {
        const QString listed = record.value(QStringLiteral("IMEI"));
        if (!listed.isEmpty() && imei.contains(listed))
            return true;
    }
    return false;
}

Record GSM_Device_List_Wnd::deviceRecordFromSession() const {
    const MFCSMS& s = m_session;
    return Record{{"State", "0"},
                  {"COM_PORT", s.Com_Port},
                  {"PORT_DETAL", s.Port_Det},
                  {"PORT_STATUS", s.Port_stat},
                  {"IMEI", s.Port_IMEI},
                  {"Manufacture", s.Manuf},
                  {"Model", s.Model},
                  {"Battery", s.battery},
                  {"Signal", s.signal_str},
                  {"Operator", s.oprator},
                  {"Revision", s.revision},
                  {"DefSMSC", s.def_smsc},
                  {"CusSMSC", s.def_smsc},
                  {"UseCusSMSC", "N"},
                  {"SMSMode", s.sms_mode},
                  {"SUPSMSMode", s.sup_sms_mode},
                  {"SMS_CAPABLE", "Yes"},
                  {"TEST_HISTORY", ""},
                  {"Last_SMSC", ""}};
}

int GSM_Device_List_Wnd::GetModemPath(const QStringList& paths, std::stop_token stop) {
    int result = 5;
    const bool completed = Guard::run("GSM_Device_List_Wnd::GetModemPath", [&] {
        int count = 0;
        for (const QString& path : paths)
            Show_NSLog_Message(QStringLiteral("modem %1: %2\n").arg(++count).arg(path));
        Show_NSLog_Message(QStringLiteral("tot modem: %1\n").arg(count));
        if (m_session.port() != nullptr && m_session.port()->isOpen())
            m_session.closePort();
        onMain([this, count] {
            m_progressMax = count;
            m_progressValue = 0;
        });
        if (count == 0) {
            m_op.Show_MessageBox(QStringLiteral("GSM device not found."));
            onMain([this, count] { m_progressValue = count; });
            return;
        }

        int opened = 0;
        QStringList denied; // ports this user may not open: one message names them all
        for (const QString& path : paths) {
            if (ModemDiscovery::lacksPermission(path)) {
                denied << path;
                continue;
            }
            const int lineFd = m_session.OpenSerialPort(path);
            if (lineFd == -1)
                continue;
            m_session.CloseSerialPort(lineFd);
            ++opened;
            onMain([this] { ++m_progressValue; });

            int fd = -1;
            if (m_session.port() != nullptr && m_session.port()->isOpen()) {
                m_op.Show_MessageBox(QStringLiteral("port not initialized."));
                fd = m_session.port()->fileDescriptor();
            } else {
                m_session.initPort_with_decp(path, fd);
                if (m_session.port() != nullptr)
                    m_session.port()->setReadTimeout(0.5);
            }
            const auto nextDevice = [&] { m_session.closePort(); };

            if (fd < 0 || !Check_Msg_Sending_Supported(m_session, fd)) {
                Show_NSLog_Message(QStringLiteral("msg sending support fail"));
                nextDevice();
                continue;
            }
            const QString imei = Get_IMEI_Number(m_session, fd);
            Show_NSLog_Message(QStringLiteral("IMEI: %1").arg(imei));
            bool listed = false;
            MainThread::invokeAndWait([&] { listed = Find_IMEI_already_listed(imei); });
            if (imei.isEmpty() || listed) {
                nextDevice();
                continue;
            }

            const QString name = Trim_Str(Read_Str_FromIndex(path, 8));
            onMain([this, name, path] {
                m_ports.append(Record{
                    {"State", "0"}, {"COM_PORT", name}, {kPath, path}, {"PORT_STATUS", ""}, {"IMEI", ""}});
            });
            Show_NSLog_Message(QStringLiteral("Modem found with BSD path: %1\n").arg(path));
            MFCSMS& s = m_session;
            s.Port_IMEI = s.Manuf = s.Model = s.battery = s.signal_str = s.oprator = s.revision = s.def_smsc =
                s.cus_smsc = s.sms_mode = s.sup_sms_mode = s.Port_stat = QString();
            s.sms_capblts = QStringLiteral("Yes");
            s.use_cus_smsc = QStringLiteral("N");
            s.Com_Port = name;
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
                s.sup_sms_mode =
                    QStringLiteral(";%1;%2;").arg(smsModeText(SmsMode::Pdu), smsModeText(SmsMode::Text));
                break;
            default: s.sms_mode = s.sup_sms_mode = smsModeText(SmsMode::Unknown); break;
            }
            const Record complete = deviceRecordFromSession();
            onMain([this, complete, path] {
                const int row = rowOf(path);
                if (row >= 0)
                    m_ports.replace(row, complete);
            });
            nextDevice();
            result = 0;
            if (stop.stop_requested())
                break;
        }
        onMain([this, opened] { m_progressValue = opened + 1; });
        if (!denied.isEmpty())
            m_op.Show_MessageBox(ModemDiscovery::noPermissionMessage(denied));
    });
    if (!completed)
        m_session.closePort();
    return result;
}
