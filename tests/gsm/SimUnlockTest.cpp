// A locked SIM, its PIN from the keyring or the operator, and the wait for a network, against
// the virtual modem; the keyring is a real Secret Service on a bus of the test's own.
#include "QStringPrinting.h"

#include "KeyringSession.h"
#include "core/Clock.h"
#include "gsm/AMSerialPort.h"
#include "gsm/MFCSMS.h"
#include "gsm/SimAnswers.h"
#include "gsm/SimPinKeyring.h"
#include "gsm/SimUnlock.h"
#include "sim/VirtualModem.h"

#include <QMap>

#include <gtest/gtest.h>

namespace {

using SimAnswers::PinState;
using SimAnswers::Registration;

TEST(SimAnswers, ReadsPinStatesAndRegistrationsOfRealModems) {
    const struct {
        const char* answer;
        PinState state;
    } pins[] = {
        {"+CPIN: READY", PinState::Ready},
        {"AT+CPIN?\r\n+CPIN: SIM PIN", PinState::PinNeeded}, // echo kept
        {"+CPIN: SIM PUK", PinState::PukNeeded},
        {"+CPIN: \"READY\"", PinState::Ready}, // quoted, as some Huawei firmware says it
        {"+CPIN: PH-SIM PIN", PinState::OtherCode},
        {"+CPIN: SIM PIN2", PinState::OtherCode},
        {"+CME ERROR: 10", PinState::NoSim},
        {"+CME ERROR: SIM not inserted", PinState::NoSim},
        {"ERROR", PinState::Unknown},
        {"+CPIN:", PinState::Unknown}, // truncated
        {"", PinState::Unknown},
    };
    for (const auto& c : pins)
        EXPECT_EQ(SimAnswers::pinStateOf(c.answer), c.state) << c.answer;

    const struct {
        const char* answer;
        std::optional<Registration> registration;
    } registrations[] = {
        {"+CREG: 0,1", Registration::Home},
        {"+CREG: 0,5", Registration::Roaming},
        {"+CREG: 2,2,\"00C3\",\"1A2B\"", Registration::Searching},   // with its place (SIM800)
        {"+CEREG: 2,1,\"00C3\",\"01A2D001\",7", Registration::Home}, // LTE (EC25, SIM7600)
        {"+CREG: 1", Registration::Home},                            // the unsolicited form
        {"+CREG: 3,\"00C3\",\"1A2B\"", Registration::Denied},        // unsolicited with its place
        {"+CGREG: 0,0", Registration::NotSearching},
        {"+CREG: 0,6", Registration::Home},                 // SMS only
        {"+CREG: 0,8", Registration::NotSearching},         // emergency services only
        {"^RSSI: 14\r\n+CREG: 0,5", Registration::Roaming}, // a report before it
        {"+CREG: 0,x", std::nullopt},
        {"+COPS: 0", std::nullopt},
    };
    for (const auto& c : registrations)
        EXPECT_EQ(SimAnswers::registrationOf(c.answer), c.registration) << c.answer;

    const struct {
        const char* logged;
        const char* masked;
    } pinsInTheLog[] = {
        {"AT+CPIN=\"1234\"\r", "AT+CPIN=\"****\"\r"},
        {"AT+CPIN=1234", "AT+CPIN=\"****\""},                  // unquoted
        {"at+cpin=\"12345678\",\"0000\"", "at+cpin=\"****\""}, // a PIN and a new one
        {"AT+CPIN=\"1234\"\r\r\n+CME ERROR: 16", "AT+CPIN=\"****\"\r\r\n+CME ERROR: 16"}, // the echo
        {"AT+CPIN?;+CPIN=\"1234\";+CREG?", "AT+CPIN?;+CPIN=\"****\";+CREG?"},
        {"+CPIN: SIM PIN", "+CPIN: SIM PIN"},
    };
    for (const auto& c : pinsInTheLog)
        EXPECT_EQ(SimAnswers::withoutPin(c.logged), c.masked) << c.logged;
}

// A PIN-locked virtual modem with an open session on it.
struct LockedModem {
    explicit LockedModem(const QString& pin, int registerAfterMs = 0) {
        sim::ModemBehaviour b;
        b.simPin = pin;
        b.registerAfterMs = registerAfterMs;
        b.answerLatencyMs = 0;
        modem = std::make_unique<sim::VirtualModem>(sim::ModemIdentity{}, b);
        EXPECT_TRUE(modem->start());
        session.initPort_with_decp(modem->devicePath(), fd);
        EXPECT_GE(fd, 0);
        session.port()->setReadTimeout(30.0);
    }
    QStringList pinsGiven() const {
        QStringList given;
        for (const QString& line : modem->commandLog())
            if (line.trimmed().startsWith("AT+CPIN=", Qt::CaseInsensitive))
                given << line.trimmed();
        return given;
    }
    std::unique_ptr<sim::VirtualModem> modem;
    MFCSMS session;
    int fd = -1;
};

// PINs kept in memory and the operator's answers, scripted.
struct ScriptedPins {
    QMap<QString, QString> kept;
    QList<SimPinAnswer> answers;
    QList<SimPinRequest> asked;
    SimPins pins(bool canAsk = true) {
        SimPins p;
        p.find = [this](const QString& key) -> std::optional<QString> {
            return kept.contains(key) ? std::optional(kept.value(key)) : std::nullopt;
        };
        p.remember = [this](const QString& key, const QString& pin) {
            kept.insert(key, pin);
            return true;
        };
        p.forget = [this](const QString& key) { return kept.remove(key) >= 0; };
        if (canAsk)
            p.ask = [this](const SimPinRequest& r) -> std::optional<SimPinAnswer> {
                asked << r;
                if (answers.isEmpty())
                    return std::nullopt;
                return answers.takeFirst();
            };
        return p;
    }
};

const auto kKey = [] { return QStringLiteral("iccid:8944901542032375182"); };

TEST(SimUnlock, RememberedPinIsTriedOnceAndForgottenWhenRefused) {
    {
        LockedModem m("1234");
        ScriptedPins pins;
        pins.kept.insert(kKey(), "1234");
        EXPECT_EQ(SimUnlock::unlock(m.session, m.fd, kKey, "ttyUSB0", pins.pins()), "");
        EXPECT_TRUE(pins.asked.isEmpty());
        EXPECT_EQ(m.pinsGiven(), QStringList{"AT+CPIN=\"1234\""});
    }
    {
        // Wrong and nobody to ask (headless): one try only, then the PIN is gone.
        LockedModem m("1234");
        ScriptedPins pins;
        pins.kept.insert(kKey(), "9999");
        EXPECT_EQ(SimUnlock::unlock(m.session, m.fd, kKey, "ttyUSB0", pins.pins(false)),
                  SimUnlock::kPinNeeded);
        EXPECT_FALSE(pins.kept.contains(kKey()));
        EXPECT_EQ(SimUnlock::unlock(m.session, m.fd, kKey, "ttyUSB0", pins.pins(false)),
                  SimUnlock::kPinNeeded);
        EXPECT_EQ(m.pinsGiven(), QStringList{"AT+CPIN=\"9999\""});
    }
    {
        // Wrong with an operator: asked, told why, and the right one is remembered when ticked.
        LockedModem m("1234");
        ScriptedPins pins;
        pins.kept.insert(kKey(), "9999");
        pins.answers = {{"12", false}, {"1234", true}};
        EXPECT_EQ(SimUnlock::unlock(m.session, m.fd, kKey, "ttyUSB0, IMEI 4901", pins.pins()), "");
        ASSERT_EQ(pins.asked.size(), 2);
        EXPECT_EQ(pins.asked.at(0).reason, SimUnlock::kRememberedRefused);
        EXPECT_EQ(pins.asked.at(0).modem, "ttyUSB0, IMEI 4901");
        EXPECT_EQ(pins.asked.at(1).reason, SimUnlock::kNotAPin); // "12" never reached the SIM
        EXPECT_EQ(pins.kept.value(kKey()), "1234");
        EXPECT_EQ(m.pinsGiven(), (QStringList{"AT+CPIN=\"9999\"", "AT+CPIN=\"1234\""}));
    }
}

TEST(SimUnlock, OperatorsPinIsKeptOnlyWhenAskedAndWrongOnesEndInPuk) {
    {
        LockedModem m("1234");
        ScriptedPins pins;
        pins.answers = {{"1234", false}};
        EXPECT_EQ(SimUnlock::unlock(m.session, m.fd, kKey, "ttyUSB0", pins.pins()), "");
        EXPECT_TRUE(pins.kept.isEmpty());
    }
    {
        LockedModem m("1234");
        ScriptedPins pins;
        pins.answers = {{"1111", true}, {"2222", true}, {"3333", true}, {"1234", true}};
        EXPECT_EQ(SimUnlock::unlock(m.session, m.fd, kKey, "ttyUSB0", pins.pins()), SimUnlock::kPukNeeded);
        EXPECT_EQ(pins.asked.size(), 3); // the SIM blocked itself after the third
        EXPECT_EQ(pins.asked.at(1).reason, SimUnlock::kRefused);
        EXPECT_TRUE(pins.kept.isEmpty());
    }
    {
        LockedModem m("1234");
        ScriptedPins pins; // the operator declines
        EXPECT_EQ(SimUnlock::unlock(m.session, m.fd, kKey, "ttyUSB0", pins.pins()), SimUnlock::kPinNeeded);
        EXPECT_TRUE(m.pinsGiven().isEmpty());
    }
}

TEST(SimUnlock, WaitsForTheNetworkThenGoesOnOrGivesUp) {
    const auto prevScale = Clock::scale();
    Clock::setScale(0.002);
    {
        LockedModem m("", 5000);
        QStringList told;
        EXPECT_EQ(SimUnlock::awaitNetwork(m.session, m.fd, {}, [&](const QString& s) { told << s; }), "");
        EXPECT_EQ(told, (QStringList{"Searching for a network…", ""})); // then that the wait is over
    }
    {
        LockedModem m("", 600000); // longer than the wait
        EXPECT_EQ(SimUnlock::awaitNetwork(m.session, m.fd, {}, {}), SimUnlock::kNoNetwork);
    }
    {
        sim::ModemBehaviour denied;
        denied.registrationDenied = true;
        sim::VirtualModem modem({}, denied);
        ASSERT_TRUE(modem.start());
        MFCSMS session;
        int fd = -1;
        session.initPort_with_decp(modem.devicePath(), fd);
        session.port()->setReadTimeout(30.0);
        EXPECT_EQ(SimUnlock::awaitNetwork(session, fd, {}, {}), "Registration denied by the network");
    }
    Clock::setScale(prevScale);
}

TEST(SimPinKeyring, RemembersFindsAndForgetsInARealKeyring) {
    QString why;
    ASSERT_TRUE(KeyringSession::start(&why)) << why.toStdString();
    const QString key = "iccid:8944000000000000001";
    EXPECT_EQ(SimPinKeyring::find(key), std::nullopt);
    ASSERT_TRUE(SimPinKeyring::remember(key, "4321", &why)) << why.toStdString();
    EXPECT_EQ(SimPinKeyring::find(key), std::optional<QString>("4321"));
    EXPECT_EQ(SimPinKeyring::find("imei:490154203237518"), std::nullopt); // per SIM
    ASSERT_TRUE(SimPinKeyring::remember(key, "8765"));                    // replaced, not added
    EXPECT_EQ(SimPinKeyring::find(key), std::optional<QString>("8765"));
    EXPECT_TRUE(SimPinKeyring::forget(key));
    EXPECT_EQ(SimPinKeyring::find(key), std::nullopt);
    EXPECT_TRUE(SimPinKeyring::forget(key)); // nothing left to forget is no failure
}

} // namespace
