// The probe and the session start against the virtual modem: what a modem reports unasked
// between its answers, and a modem left at its prompt by an interrupted run.
#include "QStringPrinting.h"

#include "gsm/AMSerialPort.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemProbe.h"
#include "sim/ModemCommands.h"
#include "sim/VirtualModem.h"

#include <gtest/gtest.h>

namespace {

// The ceiling of a read (prescribed seconds; real milliseconds under the tests' clock).
constexpr double kCeilingSeconds = 30.0;

struct Probed {
    QString maker, model, imei, signal, battery;
    bool operator==(const Probed&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Probed& p) {
    return out << p.maker.toStdString() << " | " << p.model.toStdString() << " | " << p.imei.toStdString()
               << " | " << p.signal.toStdString() << " | " << p.battery.toStdString();
}

TEST(ModemProbe, UnsolicitedLinesLeaveTheDeviceValuesUntouched) {
    const struct {
        const char* name;
        QStringList unsolicited;
        int bursts;
    } cases[] = {
        {"quiet modem", {}, 1},
        {"signal reports", {"^RSSI: 14"}, 1},
        {"signal reports in bursts", {"^RSSI: 14"}, 3},
        {"registration, ring and new message", {"+CREG: 1", "RING", "+CMTI: \"SM\",3", "^BOOT: 1,0,0,4"}, 2},
    };
    const Probed expected{"Virtual", "VM-100", "490154203237518", "High (20)", "80%"};
    for (const auto& c : cases) {
        sim::ModemBehaviour behaviour;
        behaviour.unsolicited = c.unsolicited;
        behaviour.answerBursts = c.bursts;
        sim::VirtualModem modem({}, behaviour);
        ASSERT_TRUE(modem.start()) << c.name;
        MFCSMS session;
        int fd = -1;
        session.initPort_with_decp(modem.devicePath(), fd);
        ASSERT_GE(fd, 0) << c.name;
        session.port()->setReadTimeout(kCeilingSeconds);
        EXPECT_TRUE(Read_Ph_Values_NEW(session, fd)) << c.name;
        EXPECT_EQ(
            (Probed{session.Manuf, session.Model, session.Port_IMEI, session.signal_str, session.battery}),
            expected)
            << c.name;
        EXPECT_EQ(Get_IMEI_Number(session, fd), expected.imei) << c.name;
        EXPECT_TRUE(Check_Msg_Sending_Supported(session, fd)) << c.name;
    }
}

TEST(ModemProbe, SessionStartClearsAPromptLeftByAnInterruptedRun) {
    for (const bool echo : {true, false}) {
        sim::ModemBehaviour behaviour;
        behaviour.echo = echo;
        sim::VirtualModem modem({}, behaviour);
        ASSERT_TRUE(modem.start());
        {
            // A run cut short right after the modem gave its prompt.
            AMSerialPort interrupted(modem.devicePath(), modem.devicePath(), "IOModemSerialStream");
            ASSERT_TRUE(interrupted.open());
            ASSERT_TRUE(interrupted.writeData("AT+CMGF=0\r"));
            ASSERT_TRUE(interrupted.writeData("AT+CMGS=20\r"));
            QByteArray seen;
            for (int i = 0; i < 200 && !seen.contains('>'); ++i)
                seen += interrupted.readAvailable(std::chrono::milliseconds(10));
            ASSERT_TRUE(seen.contains('>')) << seen.constData();
        }
        MFCSMS session;
        int fd = -1;
        session.initPort_with_decp(modem.devicePath(), fd);
        ASSERT_GE(fd, 0);
        session.port()->setReadTimeout(kCeilingSeconds);
        EXPECT_TRUE(session.Check_Connection(fd)) << echo;
        EXPECT_TRUE(session.lastResponse().endsWith("OK")) << session.lastResponse().toStdString();
        // Nothing of the wake-up stands before the answers that follow.
        EXPECT_EQ(session.PDU_or_Text_SMS(fd), 3) << echo;
        EXPECT_EQ(session.Get_Selected_CMGF_Mode(fd), SmsFormat::Pdu) << echo;
        EXPECT_TRUE(modem.received().isEmpty()) << echo;
    }
}

// Each maker names the command differently: the first plausible answer wins, and a modem that
// answers none gives no number (its IMEI then names it).
TEST(ModemProbe, IccidFromWhicheverCommandTheModemTakes) {
    const QByteArray quectel = "\r\n+QCCID: 89860318760220195372\r\n\r\nOK\r\n";
    const QByteArray huawei = "\r\n^ICCID: 98441000000000001032\r\n\r\nOK\r\n";
    const struct {
        const char* name;
        QString iccid;                      // the modem's own ("" made from its IMEI)
        bool ccidRefused;                   // "AT+CCID" answers ERROR
        QMap<QString, QByteArray> scripted; // other answers
        const char* expected;               // "" none; "derived": the one made from the IMEI
        QStringList asked;                  // the ICCID commands sent, in order
    } cases[] = {
        {"3GPP modem", {}, false, {}, "derived", {"AT+CCID"}},
        {"padded SIM file", "8944100000000000012F", false, {}, "8944100000000000012", {"AT+CCID"}},
        {"Quectel", {}, true, {{"AT+QCCID", quectel}}, "89860318760220195372", {"AT+CCID", "AT+QCCID"}},
        {"Huawei",
         {},
         true,
         {{"AT^ICCID?", huawei}},
         "89440100000000000123",
         {"AT+CCID", "AT+QCCID", "AT^ICCID?"}},
        {"garbage, then Quectel",
         {},
         false,
         {{"AT+CCID", "\r\n+CCID: 1234\r\n\r\nOK\r\n"}, {"AT+QCCID", quectel}},
         "89860318760220195372",
         {"AT+CCID", "AT+QCCID"}},
        {"SIMCom SIM7600",
         {},
         true,
         {{"AT+CICCID", "\r\n+ICCID: 89860318760220195372\r\n\r\nOK\r\n"}},
         "89860318760220195372",
         {"AT+CCID", "AT+QCCID", "AT^ICCID?", "AT+CICCID"}},
        {"no SIM number at all", {}, true, {}, "", {"AT+CCID", "AT+QCCID", "AT^ICCID?", "AT+CICCID"}},
    };
    for (const auto& c : cases) {
        sim::ModemIdentity identity;
        identity.iccid = c.iccid;
        sim::ModemBehaviour behaviour;
        behaviour.iccidUnreadable = c.ccidRefused;
        behaviour.scriptedAnswers = c.scripted;
        sim::VirtualModem modem(identity, behaviour);
        ASSERT_TRUE(modem.start()) << c.name;
        MFCSMS session;
        int fd = -1;
        session.initPort_with_decp(modem.devicePath(), fd);
        ASSERT_GE(fd, 0) << c.name;
        session.port()->setReadTimeout(kCeilingSeconds);
        const QString expected =
            QLatin1String(c.expected) == "derived" ? sim::ModemCommands::iccidOf(identity) : c.expected;
        EXPECT_EQ(Get_ICCID_Number(session, fd), expected) << c.name;
        QStringList asked = modem.commandLog();
        asked.erase(std::remove_if(asked.begin(), asked.end(),
                                   [](const QString& line) { return !line.contains("CCID"); }),
                    asked.end());
        EXPECT_EQ(asked, c.asked) << c.name;
    }
}

} // namespace
