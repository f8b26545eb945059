// A modem as a sending run's device, against the virtual modem: opened, readied in the mode
// of its record, handed messages, and the network's delivery reports handed back.
#include "QStringPrinting.h"

#include "core/Clock.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemDevice.h"
#include "sim/VirtualModem.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace std::chrono_literals;

const QString kNumber = QStringLiteral("+447700900001");

// The device reads with the sending ports' prescribed time-out of a second: on this clock
// 20 ms, which leaves a busy machine's virtual modem time to answer.
class ModemDeviceTest : public ::testing::Test {
protected:
    void SetUp() override { Clock::setScale(0.02); }
    void TearDown() override { Clock::setScale(0.001); }
};

TEST_F(ModemDeviceTest, SendsInTheModeOfItsRecord) {
    const struct {
        const char* name;
        SmsMode mode;
        bool pduModeRefused;
        QString prepared; // what prepare() says
        Outcome outcome;
        QString text;
        QString network; // what the network got
        QString endOfRunNotice;
    } cases[] = {
        {"PDU", SmsMode::Pdu, false, "", Outcome::Sent, "Message sent successfully.", "PDU: Hello", ""},
        {"text", SmsMode::Text, false, "", Outcome::Sent, "Message sent successfully.", "TEXT: Hello", ""},
        // Never typed in the other format, where it would go out garbled or to a wrong number.
        {"PDU refused", SmsMode::Pdu, true, "the device refused PDU Mode (AT+CMGF=0)", Outcome::NotSent,
         "Not sent: the device refused PDU Mode (AT+CMGF=0).", "", ""},
        {"mode unknown", SmsMode::Unknown, false, "", Outcome::NotSent, "Error : +CMS ERROR: 500.", "",
         "Selected device is not working properly.Could not initialize device.\n"},
    };
    for (const auto& c : cases) {
        sim::ModemBehaviour behaviour;
        behaviour.pduModeRefused = c.pduModeRefused;
        sim::VirtualModem modem({}, behaviour);
        ASSERT_TRUE(modem.start()) << c.name;
        MFCSMS session;
        const std::unique_ptr<ModemDevice> device =
            ModemDevice::open(session, modem.devicePath(), {c.mode, "", "Yes", "", ""});
        ASSERT_NE(device, nullptr) << c.name;
        EXPECT_EQ(device->name(), modem.devicePath()) << c.name;
        EXPECT_EQ(device->prepare(false), c.prepared) << c.name;
        const SendOutcome outcome = device->send({kNumber, "Hello", false, false}, {});
        EXPECT_EQ(outcome.outcome, c.outcome) << c.name;
        EXPECT_EQ(outcome.text(), c.text) << c.name;
        EXPECT_EQ(outcome.device, modem.devicePath()) << c.name;
        const QList<sim::ReceivedMessage> received = modem.received();
        EXPECT_EQ(received.isEmpty() ? "" : received[0].mode + ": " + received[0].text, c.network) << c.name;
        EXPECT_EQ(device->endOfRunNotice(), c.endOfRunNotice) << c.name;
        EXPECT_TRUE(device->stillAnswers()) << c.name;
        device->close();
        EXPECT_EQ(session.port(), nullptr) << c.name;
        EXPECT_NE(ModemDevice::open(session, modem.devicePath(), {c.mode, "", "Yes", "", ""}), nullptr)
            << c.name; // again
    }
}

TEST_F(ModemDeviceTest, ADeviceThatCannotSendIsNotOpened) {
    MFCSMS session;
    const ModemDetails pdu{SmsMode::Pdu, "", "Yes", "", ""};
    bool lineNotWorking = false;
    EXPECT_EQ(ModemDevice::open(session, "/nonexistent/tty", pdu, &lineNotWorking), nullptr);
    EXPECT_TRUE(lineNotWorking); // the operator is told the line does not work

    // The line works, the modem behind it never answers.
    sim::ModemBehaviour silent;
    silent.silent = true;
    sim::VirtualModem modem({}, silent);
    ASSERT_TRUE(modem.start());
    EXPECT_EQ(ModemDevice::open(session, modem.devicePath(), pdu, &lineNotWorking), nullptr);
    EXPECT_FALSE(lineNotWorking);
    EXPECT_EQ(session.port(), nullptr); // the port is not kept
}

TEST_F(ModemDeviceTest, DeliveryReportsReachTheRunWhereTheModemHandsThemOver) {
    const struct {
        const char* name;
        SmsMode mode;
        bool storedOnly;     // the modem keeps reports and says where ("+CDSI")
        bool routingRefused; // it refuses both ways of handing them over
    } cases[] = {
        {"PDU, handed straight over", SmsMode::Pdu, false, false},
        {"text, handed straight over", SmsMode::Text, false, false},
        {"PDU, kept by the modem", SmsMode::Pdu, true, false},
        {"refused", SmsMode::Pdu, false, true},
    };
    for (const auto& c : cases) {
        sim::ModemBehaviour behaviour;
        behaviour.reportsStoredOnly = c.storedOnly;
        behaviour.deliveryStatusForNumber.insert(kNumber, 64); // permanent error: passed on as it is
        if (c.routingRefused) {
            behaviour.scriptedAnswers.insert("AT+CNMI=2,1,0,1,0", "\r\nERROR\r\n");
            behaviour.scriptedAnswers.insert("AT+CNMI=2,1,0,2,0", "\r\nERROR\r\n");
        }
        sim::VirtualModem modem({}, behaviour);
        ASSERT_TRUE(modem.start()) << c.name;
        // Through a session of the device's own, as a run opens its modems.
        const std::unique_ptr<ModemDevice> device =
            ModemDevice::open(modem.devicePath(), {c.mode, "", "Yes", "", ""});
        ASSERT_NE(device, nullptr) << c.name;
        ASSERT_EQ(device->prepare(true), "") << c.name;
        EXPECT_EQ(device->deliveryReports(), !c.routingRefused) << c.name;
        const SendOutcome outcome = device->send({kNumber, "Report this", false, false}, {});
        ASSERT_EQ(outcome.outcome, Outcome::Sent) << c.name;
        ASSERT_EQ(outcome.references.size(), 1) << c.name;
        ASSERT_EQ(modem.received().size(), 1) << c.name;
        // A report is asked of the network only where it will reach us.
        EXPECT_EQ(modem.received()[0].reportRequested, !c.routingRefused) << c.name;
        if (c.routingRefused) {
            EXPECT_EQ(device->noDeliveryReportsReason(),
                      "No delivery reports: the device refused to hand them over or keep them (AT+CNMI).");
            continue;
        }
        QList<DeliveryReport> reports;
        const auto until = std::chrono::steady_clock::now() + Clock::scaled(30s);
        do {
            device->listenForDeliveryReports(std::chrono::ceil<std::chrono::milliseconds>(Clock::scaled(1s)));
            reports += device->takeDeliveryReports();
        } while (reports.isEmpty() && std::chrono::steady_clock::now() < until);
        ASSERT_EQ(reports.size(), 1) << c.name;
        EXPECT_EQ(reports[0].reference, outcome.references[0]) << c.name;
        EXPECT_EQ(reports[0].status, 64) << c.name;
    }
}

} // namespace

namespace {

// Replies lie on the SIM until they are kept: read again (as after a crash before the delete)
// they come back the same, so the store knows them; forgotten, their places are free. In text
// mode the list is read in PDU mode and the modem goes back to text mode for the run.
TEST_F(ModemDeviceTest, RepliesStayOnTheSimUntilForgottenAndReadTheSameMeanwhile) {
    for (const SmsMode mode : {SmsMode::Pdu, SmsMode::Text}) {
        sim::VirtualModem modem;
        ASSERT_TRUE(modem.start());
        modem.deliver("+447400123456", "Yes please \u20AC5 {ok}");
        sim::IncomingMessage longOne;
        longOne.from = "+447400123457";
        longOne.text = QString(200, QLatin1Char('y')) + QStringLiteral(" \U0001F600");
        longOne.outOfOrder = true;
        modem.deliver(longOne);
        std::unique_ptr<ModemDevice> device =
            ModemDevice::open(modem.devicePath(), {mode, {}, {}, {}, "iccid:8944100000000000017"});
        ASSERT_NE(device, nullptr);
        ASSERT_EQ(device->prepare(false), "");

        const QList<IncomingMessage> first = device->takeReceived(true);
        ASSERT_EQ(first.size(), 2);
        const QList<IncomingMessage> again = device->takeReceived(true);
        ASSERT_EQ(again.size(), 2);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(again.at(i).sender, first.at(i).sender);
            EXPECT_EQ(again.at(i).text, first.at(i).text);
            EXPECT_EQ(again.at(i).sentAt, first.at(i).sentAt);
        }
        QStringList texts{first.at(0).text, first.at(1).text};
        texts.sort();
        EXPECT_EQ(texts, (QStringList{"Yes please \u20AC5 {ok}", longOne.text}));
        device->forgetReceived(first);
        EXPECT_TRUE(device->takeReceived(true).isEmpty());

        // The run's own messages still go in the run's mode.
        EXPECT_EQ(device->send({kNumber, "Thanks", false, false}, {}).outcome, Outcome::Sent);
        ASSERT_EQ(modem.received().size(), 1);
        EXPECT_EQ(modem.received().first().mode, mode == SmsMode::Pdu ? "PDU" : "TEXT");
        device->close();
    }
}

// A modem that lists its formats as PDU and text but refuses PDU mode: its replies are read in
// text mode, any alphabet through "UCS2", and freed once kept, as in PDU mode.
TEST_F(ModemDeviceTest, AModemRefusingPduModeHasItsRepliesReadAsText) {
    sim::ModemBehaviour behaviour;
    behaviour.pduModeRefused = true;
    sim::VirtualModem modem({}, behaviour);
    ASSERT_TRUE(modem.start());
    modem.deliver("+447400123456", "Yes please \u20AC5 {ok}");
    modem.deliver("+447400123457", "Gr\u00FC\u00DFe \U0001F600");
    std::unique_ptr<ModemDevice> device =
        ModemDevice::open(modem.devicePath(), {SmsMode::Text, {}, {}, {}, "iccid:8944100000000000017"});
    ASSERT_NE(device, nullptr);
    ASSERT_EQ(device->prepare(false), "");
    // What this modem sent itself is no reply.
    EXPECT_EQ(device->send({kNumber, "Thanks", false, false}, {}).outcome, Outcome::Sent);

    const QList<IncomingMessage> received = device->takeReceived(true);
    ASSERT_EQ(received.size(), 2);
    QStringList seen;
    for (const IncomingMessage& message : received) {
        seen << message.sender + "|" + message.text;
        EXPECT_GT(message.sentAt, 0);
    }
    seen.sort();
    EXPECT_EQ(seen, (QStringList{"+447400123456|Yes please \u20AC5 {ok}",
                                 "+447400123457|Gr\u00FC\u00DFe \U0001F600"}));
    device->forgetReceived(received);
    EXPECT_TRUE(device->takeReceived(true).isEmpty());
    EXPECT_TRUE(modem.commandLog().filter("AT+CMGD=").size() == 2)
        << modem.commandLog().join('|').toStdString();
    device->close();
}

} // namespace
