// The product against every module family the virtual modem can play (sim/profiles): each
// one as its maker's manual has it, start-up and periodic reports included, is found by the
// search, passes the device test, sends in PDU and text mode, hands back delivery reports and
// has its replies read, all checked against what the virtual network received.
#include "device/DeviceRecord.h"
#include "gsm/ModemDevice.h"
#include "gsm/windows/Automated_GSM_Sending.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "sim/ModemProfile.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "VirtualModems.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace std::chrono_literals;

const QString kTo = QStringLiteral("+447700900555");
const QString kCustom = QStringLiteral("+447700900999");
const QString kSent = QStringLiteral("Message sent successfully.");

class ModemProfilesTest : public VirtualModemsTest {
protected:
    ModemProfilesTest() : VirtualModemsTest(0.2) {}

    sim::VirtualModem& attachProfile(const QString& name) {
        sim::ModemIdentity id;
        sim::ModemBehaviour behaviour;
        QString error;
        EXPECT_TRUE(sim::ModemProfile::apply(name, id, behaviour, &error)) << error.toStdString();
        model = id.model;
        return attach(id, [&](sim::ModemBehaviour& b) {
            const int delay = b.networkDelayMs;
            b = behaviour;
            b.networkDelayMs = delay;
        });
    }

    // The search and the automated device test, as the operator runs them from the windows.
    void deviceTest(sim::VirtualModem& modem) {
        ScriptedOperator op;
        DeviceSelection selection;
        GSM_Device_List_Wnd devices{op, selection};
        for (int attempt = 0; attempt < 3 && devices.nsPortListData().size() < 1; ++attempt) {
            std::atomic<bool> done{false};
            std::thread worker([&] {
                devices.GetModemPath({modem.devicePath()});
                done = true;
            });
            EXPECT_TRUE(spinUntil([&] { return done.load(); }, std::chrono::seconds(60)));
            worker.join();
        }
        ASSERT_EQ(devices.nsPortListData().size(), 1);
        const Record found = devices.nsPortListData().at(0);
        EXPECT_EQ(found.value("Model"), model);
        // Settings follow the SIM: every family tells its ICCID, each through its own command.
        EXPECT_FALSE(found.value(kIccidKey).isEmpty());
        Automated_GSM_Sending window(op);
        window.open(devices.nsPortListData().records(), devices.settingsWriter());
        window.setCustomSmscText(kCustom);
        window.setTestNumberText(kTo);
        window.Send_Test_SMS_Pressed();
        window.waitForTest();
        EXPECT_TRUE(spinUntil([&] { return !window.testing(); }));
        EXPECT_EQ(columnOf(window.nsCaseListData().records(), "Status"), QStringList(4, kSent));
        QStringList modes;
        for (const sim::ReceivedMessage& m : modem.received()) {
            modes << m.mode + " " + m.smsc;
            EXPECT_EQ(m.number, kTo);
            EXPECT_TRUE(m.text.endsWith("is working for Device Model: " + model + "'"))
                << m.text.toStdString();
        }
        EXPECT_EQ(modes, (QStringList{"PDU " + kCustom, "PDU +447700900123", "TEXT " + kCustom,
                                      "TEXT +447700900123"}));
        EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join("|").toStdString();
    }

    // One message in the run's mode with a delivery report asked for, then a reply read back.
    void sendReportAndReceive(sim::VirtualModem& modem, SmsMode mode) {
        const bool pdu = mode == SmsMode::Pdu;
        SCOPED_TRACE(pdu ? "PDU mode" : "text mode");
        const std::unique_ptr<ModemDevice> device =
            ModemDevice::open(modem.devicePath(), {mode, "", "Yes", "", "imei:490154203237518"});
        ASSERT_NE(device, nullptr);
        ASSERT_EQ(device->prepare(true), "");
        ASSERT_TRUE(device->deliveryReports());
        const qsizetype before = modem.received().size();
        const QString text = QStringLiteral("Your code is 4711 {ok} %1").arg(pdu ? "PDU" : "text");
        const SendOutcome outcome = device->send({kTo, text, false, false}, {});
        ASSERT_EQ(outcome.outcome, Outcome::Sent) << outcome.text().toStdString();
        ASSERT_EQ(outcome.references.size(), 1);
        const QList<sim::ReceivedMessage> received = modem.received();
        ASSERT_EQ(received.size(), before + 1);
        EXPECT_EQ(received.last().mode, pdu ? "PDU" : "TEXT");
        EXPECT_EQ(received.last().number, kTo);
        EXPECT_EQ(received.last().text, text);
        EXPECT_TRUE(received.last().reportRequested);

        QList<DeliveryReport> reports;
        const auto until = std::chrono::steady_clock::now() + Clock::scaled(30s);
        do {
            device->listenForDeliveryReports(std::chrono::ceil<std::chrono::milliseconds>(Clock::scaled(1s)));
            reports += device->takeDeliveryReports();
        } while (reports.isEmpty() && std::chrono::steady_clock::now() < until);
        ASSERT_EQ(reports.size(), 1);
        EXPECT_EQ(reports[0].reference, outcome.references[0]);
        EXPECT_EQ(reports[0].status, 0);

        const QString reply = QStringLiteral("STOP \u00E9 %1").arg(pdu ? "PDU" : "text");
        modem.deliver("+447400123456", reply);
        QList<IncomingMessage> replies;
        const auto replyUntil = std::chrono::steady_clock::now() + Clock::scaled(30s);
        do {
            device->listenForDeliveryReports(std::chrono::ceil<std::chrono::milliseconds>(Clock::scaled(1s)));
            replies += device->takeReceived(true);
        } while (replies.isEmpty() && std::chrono::steady_clock::now() < replyUntil);
        ASSERT_EQ(replies.size(), 1);
        EXPECT_EQ(replies[0].sender, "+447400123456");
        EXPECT_EQ(replies[0].text, reply);
        device->forgetReceived(replies);
        EXPECT_TRUE(device->takeReceived(true).isEmpty());
        device->close();
    }

    QString model;
};

TEST_F(ModemProfilesTest, EveryModuleFamilySendsReportsAndReceives) {
    const QStringList names = sim::ModemProfile::names();
    ASSERT_EQ(names.size(), 9);
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        modems.clear();
        sim::VirtualModem& modem = attachProfile(name);
        deviceTest(modem);
        sendReportAndReceive(modem, SmsMode::Pdu);
        sendReportAndReceive(modem, SmsMode::Text);
    }
}

} // namespace
