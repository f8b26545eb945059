// The virtual modem's SIM lock and network registration, as 27.007 words them.
#include "FakeModemLine.h"
#include "sim/SimOptions.h"

#include "core/Clock.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using simtest::Modem;

QByteArray ok(const QByteArray& info = {}) {
    return info.isEmpty() ? QByteArray("\r\nOK\r\n") : "\r\n" + info + "\r\n\r\nOK\r\n";
}
QByteArray line(const QByteArray& text) { return "\r\n" + text + "\r\n"; }

sim::ModemBehaviour lockedWith(const QString& pin) {
    sim::ModemBehaviour b = Modem::quiet();
    b.simPin = pin;
    return b;
}

TEST(SimLock, PinUnlocksAndWrongPinsCountToPuk) {
    Modem modem(lockedWith("1234"));
    ASSERT_EQ(modem.send("AT+CMEE=1\r"), ok());
    EXPECT_EQ(modem.send("AT+CPIN?\r"), ok("+CPIN: SIM PIN"));
    EXPECT_EQ(modem.send("AT+CPIN=\"0000\"\r"), line("+CME ERROR: 16"));
    EXPECT_EQ(modem.send("AT+CPIN=\"1111\"\r"), line("+CME ERROR: 16"));
    // a reset keeps the SIM as it was, and its count of wrong PINs
    EXPECT_EQ(modem.send("ATZ\r"), ok());
    EXPECT_EQ(modem.send("AT+CMEE=1\r"), ok());
    EXPECT_EQ(modem.send("AT+CPIN?\r"), ok("+CPIN: SIM PIN"));
    EXPECT_EQ(modem.send("AT+CPIN=\"2222\"\r"), line("+CME ERROR: 16"));
    EXPECT_EQ(modem.send("AT+CPIN?\r"), ok("+CPIN: SIM PUK"));
    // blocked: even the right PIN is refused now
    EXPECT_EQ(modem.send("AT+CPIN=\"1234\"\r"), line("+CME ERROR: 12"));
    EXPECT_EQ(modem.send("AT+CSCA?\r"), line("+CME ERROR: 12"));

    Modem right(lockedWith("1234"));
    EXPECT_EQ(right.send("AT+CPIN=\"0000\"\r"), line("ERROR")); // AT+CMEE=0: no code
    EXPECT_EQ(right.send("AT+CPIN=\"1234\"\r"), ok());
    EXPECT_EQ(right.send("AT+CPIN?\r"), ok("+CPIN: READY"));
    EXPECT_EQ(right.send("AT+CSCA?\r"), ok("+CSCA: \"+447700900123\",145"));
    EXPECT_EQ(right.send("AT+CPIN=\"1234\"\r"), line("ERROR")); // nothing asked for any more
}

TEST(SimLock, CommandsNeedingTheSimAreRefusedWhileLocked) {
    Modem modem(lockedWith("1234"));
    ASSERT_EQ(modem.send("AT+CMEE=2\r"), ok());
    for (const QByteArray command :
         {"AT+CSCA?\r", "AT+CMGS=20\r", "AT+CMGL=4\r", "AT+CPMS?\r", "AT+CNMI=2,1\r"})
        EXPECT_EQ(modem.send(command), line("+CME ERROR: SIM PIN required")) << command.constData();
    // what the modem answers by itself, and the test forms a probe asks, still work
    EXPECT_EQ(modem.send("AT+CMGS=?\r"), ok());
    EXPECT_EQ(modem.send("AT+CSMS=?\r"), ok("+CSMS: (0,1)"));
    EXPECT_EQ(modem.send("AT+CGSN\r"), ok("490154203237518"));
    EXPECT_EQ(modem.send("AT+CCID\r"), ok("+CCID: 8944901542032375182"));
    EXPECT_EQ(modem.send("AT+CREG?\r"), ok("+CREG: 0,0"));
    EXPECT_EQ(modem.send("AT+COPS?\r"), ok("+COPS: 0"));

    sim::ModemBehaviour blocked = Modem::quiet();
    blocked.pukLocked = true;
    Modem puk(blocked);
    EXPECT_EQ(puk.send("AT+CPIN?\r"), ok("+CPIN: SIM PUK"));
    EXPECT_EQ(puk.send("AT+CMEE=1\r"), ok());
    EXPECT_EQ(puk.send("AT+CMGS=20\r"), line("+CME ERROR: 12"));
}

TEST(SimLock, RegistrationAsTheNetworkAllows) {
    const auto with = [](std::function<void(sim::ModemBehaviour&)> change) {
        sim::ModemBehaviour b = Modem::quiet();
        change(b);
        return b;
    };
    Modem home;
    EXPECT_EQ(home.send("AT+CREG?\r"), ok("+CREG: 0,1"));
    EXPECT_EQ(home.send("AT+CEREG?\r"), ok("+CEREG: 0,1"));
    Modem roaming(with([](auto& b) { b.roaming = true; }));
    EXPECT_EQ(roaming.send("AT+CREG?\r"), ok("+CREG: 0,5"));
    EXPECT_EQ(roaming.send("AT+COPS?\r"), ok("+COPS: 0,0,\"Net One\",0"));
    Modem denied(with([](auto& b) { b.registrationDenied = true; }));
    EXPECT_EQ(denied.send("AT+CREG?\r"), ok("+CREG: 0,3"));
    EXPECT_EQ(denied.send("AT+COPS?\r"), ok("+COPS: 0"));

    // searching until the time is up, counted from the moment the PIN was given
    Modem late(with([](auto& b) {
        b.registerAfterMs = 5000;
        b.simPin = "1234";
    }));
    EXPECT_EQ(late.send("AT+CREG?\r"), ok("+CREG: 0,0"));
    std::this_thread::sleep_for(Clock::scaled(std::chrono::milliseconds(6000)));
    EXPECT_EQ(late.send("AT+CPIN=\"1234\"\r"), ok());
    EXPECT_EQ(late.send("AT+CREG?\r"), ok("+CREG: 0,2"));
    std::this_thread::sleep_for(Clock::scaled(std::chrono::milliseconds(5500)));
    EXPECT_EQ(late.send("AT+CREG?\r"), ok("+CREG: 0,1"));
}

TEST(SimLock, CommandLineFlags) {
    const auto parse = [](const QStringList& flags) {
        return sim::SimOptionsParser::parse(QStringList{"bulksms-modem-sim"} + flags);
    };
    const sim::SimOptions locked =
        parse({"--profile", "sim800", "--pin", "4321", "--register-after-ms", "5000", "--roaming"});
    EXPECT_TRUE(locked.error.isEmpty()) << locked.error.toStdString();
    EXPECT_EQ(locked.behaviour.simPin, "4321");
    EXPECT_EQ(locked.behaviour.registerAfterMs, 5000);
    EXPECT_TRUE(locked.behaviour.roaming);
    // the modem's start-up report tells the truth about its SIM
    QStringList reports;
    for (const sim::TimedIndication& indication : locked.behaviour.timedIndications)
        reports << indication.line;
    EXPECT_TRUE(reports.contains("+CPIN: SIM PIN"));
    EXPECT_FALSE(reports.contains("+CPIN: READY"));

    const sim::SimOptions blocked = parse({"--puk-locked", "--registration-denied"});
    EXPECT_TRUE(blocked.behaviour.pukLocked && blocked.behaviour.registrationDenied);
    for (const char* bad : {"12", "12345678901", "12a4", ""})
        EXPECT_FALSE(parse({"--pin", bad}).error.isEmpty()) << bad;
}

} // namespace
