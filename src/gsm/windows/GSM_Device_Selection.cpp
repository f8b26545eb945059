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
            const ModemCheck::Choice choice = ModemCheck::choose(m_op, record, int(records.size()));
            if (choice == ModemCheck::Choice::Stop)
                break;
            if (choice == ModemCheck::Choice::Accept)
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
