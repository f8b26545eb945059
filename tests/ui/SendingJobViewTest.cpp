// The sending window over a real run against virtual modems: what a person sees of each
// message while the run goes on.
#include "ui/SendingJobView.h"
#include "core/AppState.h"
#include "core/Clock.h"
#include "core/SendingFlags.h"
#include "sending/Gsm_Bulk_Sms_Wnd.h"
#include "sending/SMS_Sending.h"
#include "sim/VirtualModem.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QAbstractItemModel>
#include <QHeaderView>
#include <QTableView>

#include <gtest/gtest.h>

namespace {

// The text of the view's cell in the row of `number` and the column titled `title`.
QString cell(QTableView& table, const QString& number, const QString& title) {
    const QAbstractItemModel& model = *table.model();
    int column = -1;
    for (int c = 0; c < model.columnCount(); ++c)
        if (model.headerData(c, Qt::Horizontal).toString() == title)
            column = c;
    for (int r = 0; r < model.rowCount(); ++r)
        if (model.index(r, 0).data().toString() == number)
            return column < 0 ? QString() : model.index(r, column).data().toString();
    return {};
}

TEST(SendingJobView, DeliveryStatesFillInAsTheReportsCome) {
    Clock::setScale(0.05);
    TestDataHome home;
    ScriptedOperator op;
    clearDeviceSelection();
    Stop_SMS_Sending_Now = false;
    Pause_Timer_Running = false;
    Gsm_Bulk_Sms_Wnd window(op);
    window.windowDidLoad();

    sim::ModemBehaviour network;
    network.networkDelayMs = 0;
    network.deliveryStatusForNumber.insert("+447700900002", 0x61);
    network.noStatusReportFor << "+447700900003";
    sim::VirtualModem modem(sim::ModemIdentity{}, network);
    ASSERT_TRUE(modem.start());
    const QString path = modem.devicePath();
    port_val_str_array << path;
    port_det_str_array << Record{{"PORT_DETAL", path},         {"COM_PORT", path.mid(8)}, {"Model", "VM-100"},
                                 {"SMSMode", "PDU Mode"},      {"UseCusSMSC", "N"},       {"CusSMSC", ""},
                                 {"DefSMSC", "+447700900123"}, {"SMS_CAPABLE", "Yes"}};
    sel_port_name_str = path.mid(8);
    sel_port_bsd_str = path;
    window.applyDeviceSelection();
    window.setDeliveryReports(true);
    for (const char* n : {"+447700900003", "+447700900002", "+447700900001"})
        window.Create_Num_Msg_List(n, "Your order is ready for collection.");
    window.prev_composer_msg = window.composerText();

    bool pendingSeen = false;
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        SendingJobView view(job, nullptr);
        view.show();
        auto* table = view.findChild<QTableView*>();
        ASSERT_NE(table, nullptr);
        // A message sent whose report has not come yet shows as pending.
        pendingSeen = spinUntil([&] { return cell(*table, "+447700900001", "Delivery") == "Pending"; });
        ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                              std::chrono::seconds(60)));
        EXPECT_FALSE(table->isColumnHidden(int(job.itemTable().columns().indexOf("Delivery"))));
        EXPECT_EQ(cell(*table, "+447700900001", "Delivery"), "Delivered");
        EXPECT_EQ(cell(*table, "+447700900002", "Delivery"), "Not delivered (recipient busy)");
        EXPECT_EQ(cell(*table, "+447700900003", "Delivery"), "No report received");
        const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
        if (!pictures.isEmpty())
            view.grab().save(pictures + "/sending-delivery.png");
        ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
        if (!job.isEnded())
            job.CancelPressed();
    });
    window.Send_SMS_Btn();
    EXPECT_TRUE(pendingSeen);
    Clock::setScale(0.001);
    clearDeviceSelection();
}

} // namespace
