#pragma once
// What the sending benchmarks do before pressing Send: the virtual modems selected as the
// device window would select them, and a list of numbered recipients.
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sim/VirtualModem.h"

#include <QEventLoop>
#include <QTimer>

#include <memory>
#include <vector>

inline void selectVirtualModems(Gsm_Bulk_Sms_Wnd& window,
                                const std::vector<std::unique_ptr<sim::VirtualModem>>& modems) {
    DeviceSelection& selection = window.selection();
    selection.clear();
    for (const auto& modem : modems) {
        const QString path = modem->devicePath();
        selection.port_val_str_array << path;
        selection.port_det_str_array << Record{{"PORT_DETAL", path},  {"COM_PORT", path.mid(5)},
                                               {"Model", "VM"},       {"SMSMode", "PDU Mode"},
                                               {"UseCusSMSC", "N"},   {"DefSMSC", "+447700900123"},
                                               {"SMS_CAPABLE", "Yes"}};
        selection.sel_port_bsd_str = path;
        selection.sel_port_name_str = path.mid(5);
    }
    window.applyDeviceSelection();
}

inline void fillRecipients(Gsm_Bulk_Sms_Wnd& window, int recipients) {
    RecordList rows;
    for (int i = 0; i < recipients; ++i)
        rows << Record{{"Number", QStringLiteral("+4477%1").arg(i, 8, 10, QLatin1Char('0'))},
                       {"Message", "Bench"}};
    window.list().setRecords(rows);
}

// Presses Send and turns the event loop, as the desktop does, until the job window has closed.
inline void sendAndWait(Gsm_Bulk_Sms_Wnd& window) {
    window.Send_SMS_Btn();
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (!window.sendingUnderWay())
            loop.quit();
    });
    poll.start(1);
    if (window.sendingUnderWay())
        loop.exec();
}
