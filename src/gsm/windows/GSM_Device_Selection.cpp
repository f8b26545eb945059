// Selecting the ticked devices of the GSM device window for sending: each is checked
// (service centre, mode, a working connection) and the accepted ones become the selection of
// the main window that owns the device window.
#include "GSM_Device_List_Wnd.h"

#include "core/MainThread.h"
#include "core/Operator.h"
#include "device/DeviceRecord.h"

namespace {
const QString kDefaultSmscMissing =
    QStringLiteral("Default SMSC Number could not be located for this device.\nPlease enter SMSC number "
                   "manually in 'Custom SMSC "
                   "no.' Field for this Device.\n\nYou can find SMSC Number in 'SMS Service Center' Details "
                   "in the SMS Settings of "
                   "your Mobile Device.");
const QString kCustomSmscMissing =
    QStringLiteral("Custom SMSC Number could not be located for this device.\nPlease enter SMSC number "
                   "manually in 'Custom SMSC "
                   "no.' Field for this Device.\n\nYou can find SMSC Number in 'SMS Service Center' Details "
                   "in the SMS Settings of "
                   "your Mobile Device.");
} // namespace

int GSM_Device_List_Wnd::openForCheck(const QString& path) {
    const int lineFd = m_session.OpenSerialPort(path);
    if (lineFd == -1)
        return -1;
    m_session.CloseSerialPort(lineFd);
    int fd = -1;
    m_session.initPort_with_decp(path, fd);
    if (m_session.port() != nullptr)
        m_session.port()->setReadTimeout(1.0);
    return fd;
}

void GSM_Device_List_Wnd::Multi_Phone_Selected_Func() {
    if (m_worker.isRunning())
        return; // the session is busy with a search or a device's details
    if (m_ports.isEmpty()) {
        m_op.Show_MessageBox(kDeviceListEmpty);
        return;
    }
    QList<int> ticked;
    for (int row = 0; row < m_ports.size(); ++row)
        if (m_ports.at(row).value(kDeviceTickedKey) == QLatin1String("1"))
            ticked << row;
    if (ticked.isEmpty()) {
        m_op.Show_MessageBox(kSelectDevice);
        return;
    }
    if (m_customSmscChecked && m_prevIndex >= 0 && !update_custom_smsc())
        return;

    m_progressSheet = true;
    emit changed();
    m_selection.port_val_str_array.clear();
    m_selection.port_det_str_array.clear();
    QList<Record> records; // read after the custom service centre above was stored
    for (int row : ticked)
        records << m_ports.at(row);
    // The checks talk to every ticked modem (seconds each): on the worker, behind the progress
    // sheet, so that the window keeps repainting. The selection is handed back on this thread.
    m_worker.start([this, records](std::stop_token) {
        QList<Record> accepted;
        for (const Record& record : records) {
            const Verdict verdict = checkForSelection(record, int(records.size()));
            m_session.closePort();
            if (verdict == Verdict::Stop)
                break;
            if (verdict == Verdict::Accept)
                accepted << record;
        }
        MainThread::invokeAndWait([&] { finishSelection(accepted); });
    });
}

void GSM_Device_List_Wnd::finishSelection(const QList<Record>& accepted) {
    for (const Record& record : accepted) {
        m_selection.sel_port_name_str = record.value(kPortNameKey);
        m_selection.sel_port_bsd_str = record.value(kPortDetailKey);
        m_selection.port_val_str_array.append(m_selection.sel_port_bsd_str);
        m_selection.port_det_str_array.append(record);
    }
    m_progressSheet = false;
    emit changed();
    if (!accepted.isEmpty())
        endModal(1);
}

GSM_Device_List_Wnd::Verdict GSM_Device_List_Wnd::checkForSelection(const Record& record, int ticked) {
    const auto refuse = [&](const QString& message) {
        if (ticked == 1) {
            m_op.Show_MessageBox(message);
            return Verdict::Stop;
        }
        return m_op.Show_YES_NO_MessageBox(
                   message +
                   QStringLiteral("\n\nAre you sure you want to continue without selecting device?"))
                   ? Verdict::Skip
                   : Verdict::Stop;
    };
    const QString path = record.value(kPortDetailKey);
    const bool useCustom = record.value(kUseCustomSmscKey) == QLatin1String("Y");
    const QString customSmsc = record.value(kCustomSmscKey);
    const QString defaultSmsc = record.value(kDefaultSmscKey);

    if ((useCustom ? customSmsc : QString()).isEmpty() && defaultSmsc.isEmpty())
        return refuse(kDefaultSmscMissing);
    if (smsModeFromText(record.value(kSmsModeKey)) == SmsMode::Unknown)
        return refuse(QStringLiteral("SMS Mode details should not be blanked."));

    const int fd = openForCheck(path);
    bool working = fd >= 0;
    if (working) {
        m_session.ATZ_reset_Modem(fd);
        working = m_session.Check_Connection(fd);
    }
    if (!working)
        return refuse(QStringLiteral(
            "Either no Mobile Device is connected on this port or selected device is not working properly."));

    if (record.value(kSmsCapableKey) == QLatin1String("Not Detected") &&
        !m_op.Show_YES_NO_MessageBox(
            QStringLiteral("This Device cannot be used for sending Text messages as it does "
                           "not seem to have SMS Sending capabilities.\n\nAre you sure you "
                           "want to continue?")))
        return Verdict::Skip;
    if (useCustom && customSmsc.isEmpty())
        return refuse(kCustomSmscMissing);
    if (!useCustom && defaultSmsc.isEmpty())
        return refuse(kDefaultSmscMissing);

    m_session.More_SMS_Comnd(fd);
    return Verdict::Accept;
}
