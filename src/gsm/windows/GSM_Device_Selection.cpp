// Selecting the ticked devices of the GSM device window for sending: each is checked
// (services/ModemCheck.h), the operator decides on what the check found, and the accepted
// ones become the selection of the main window that owns the device window.
#include "GSM_Device_List_Wnd.h"

#include "core/MainThread.h"
#include "core/Operator.h"
#include "device/DeviceRecord.h"
#include "services/ModemCheck.h"

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
    const ModemCheck::Verdict verdict = ModemCheck::forRun(record);
    if (verdict.notSmsCapable && !m_op.Show_YES_NO_MessageBox(QStringLiteral(
                                     "This Device cannot be used for sending Text messages as it does "
                                     "not seem to have SMS Sending capabilities.\n\nAre you sure you "
                                     "want to continue?")))
        return Verdict::Skip;
    if (verdict.problem != ModemCheck::Problem::None)
        return refuse(ModemCheck::messageOf(verdict.problem));
    return Verdict::Accept;
}
