// Modems whose SIM wants a PIN, is blocked, or waits for a network, in whole runs of the
// command-line tool: the PIN comes only from a real keyring, a refused one is never tried
// twice, and the modem that cannot send stops alone while the others carry the run.
#include "SenderFixture.h"

#include "KeyringSession.h"
#include "core/Clock.h"
#include "gsm/SimPinKeyring.h"
#include "sim/ModemCommands.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

const QStringList kTwoRecipients{"send",          "--to",      "+447700900001", "--to",
                                 "+447700900002", "--message", "Hello"};

class SimPinCommandLine : public SenderFixture {
protected:
    // Modem 0 with `locked` (a SIM PIN, a blocked SIM, ...), modem 1 an ordinary one.
    void startPair(const std::function<void(sim::ModemBehaviour&)>& locked) {
        sim::ModemBehaviour ordinary;
        ordinary.networkDelayMs = 0;
        sim::ModemBehaviour first = ordinary;
        locked(first);
        startModems(1, first, "35800000000011");
        startModems(1, ordinary, "35800000000012");
    }
    QString simKey(int modem) const {
        sim::ModemIdentity id;
        id.imei = modem == 0 ? "358000000000110" : "358000000000120";
        return "iccid:" + sim::ModemCommands::iccidOf(id);
    }
    QStringList pinsGiven(int modem) const {
        QStringList given;
        for (const QString& line : modems.at(modem)->commandLog())
            if (line.trimmed().startsWith("AT+CPIN=", Qt::CaseInsensitive))
                given << line.trimmed();
        return given;
    }
    QStringList numbersReceived(int modem) const {
        QStringList numbers;
        for (const sim::ReceivedMessage& m : modems.at(modem)->received())
            numbers << m.number;
        numbers.sort();
        return numbers;
    }
    // A run with the keyring of the test (keyring) or with none reachable.
    QStringList run(const QStringList& arguments, bool keyring, int& exitCode) {
        QProcessEnvironment env = environment();
        if (!keyring)
            env.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.path() + "/no-bus-here");
        return runToEnd(env, arguments, exitCode, errors);
    }
    void needKeyring() {
        QString why;
        if (!KeyringSession::start(&why))
            GTEST_FAIL() << "no Secret Service for the test: " << why.toStdString();
    }
    QString errors;
};

TEST_F(SimPinCommandLine, LockedSimWithoutKeyringStopsAloneAndTheOtherSends) {
    startPair([](sim::ModemBehaviour& b) { b.simPin = "1234"; });
    int exitCode = -1;
    run(kTwoRecipients, false, exitCode);
    EXPECT_TRUE(errors.contains("SIM PIN needed")) << errors.toStdString();
    EXPECT_TRUE(numbersReceived(0).isEmpty());
    EXPECT_EQ(numbersReceived(1), (QStringList{"+447700900001", "+447700900002"}));
    EXPECT_TRUE(pinsGiven(0).isEmpty()); // nothing guessed
}

TEST_F(SimPinCommandLine, RememberedPinUnlocksTheSim) {
    needKeyring();
    startPair([](sim::ModemBehaviour& b) { b.simPin = "1234"; });
    ASSERT_TRUE(SimPinKeyring::remember(simKey(0), "1234"));
    int exitCode = -1;
    run(QStringList(kTwoRecipients) << "--verbose", true, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    // The log (on standard error with --verbose) shows the command, never the PIN, nor its echo.
    EXPECT_TRUE(errors.contains("AT+CPIN=\"****\"")) << errors.toStdString();
    EXPECT_FALSE(errors.contains("1234"));
    EXPECT_EQ(pinsGiven(0), QStringList{"AT+CPIN=\"1234\""});
    EXPECT_EQ(numbersReceived(0).size() + numbersReceived(1).size(), 2);
    EXPECT_EQ(SimPinKeyring::find(simKey(0)), std::optional<QString>("1234"));
    SimPinKeyring::forget(simKey(0));
}

TEST_F(SimPinCommandLine, RefusedRememberedPinIsForgottenAndNeverTriedAgain) {
    needKeyring();
    startPair([](sim::ModemBehaviour& b) { b.simPin = "1234"; });
    ASSERT_TRUE(SimPinKeyring::remember(simKey(0), "9999"));
    int exitCode = -1;
    run(kTwoRecipients, true, exitCode);
    EXPECT_TRUE(errors.contains("SIM PIN needed")) << errors.toStdString();
    EXPECT_EQ(SimPinKeyring::find(simKey(0)), std::nullopt);
    run(kTwoRecipients, true, exitCode); // a second run finds nothing to try
    EXPECT_EQ(pinsGiven(0), QStringList{"AT+CPIN=\"9999\""});
    EXPECT_TRUE(numbersReceived(0).isEmpty());
    EXPECT_EQ(numbersReceived(1).size(), 4);
}

TEST_F(SimPinCommandLine, BlockedSimOrDeniedRegistrationIsToldWithItsReason) {
    startPair([](sim::ModemBehaviour& b) { b.pukLocked = true; });
    sim::ModemBehaviour denied;
    denied.registrationDenied = true;
    startModems(1, denied, "35800000000013");
    int exitCode = -1;
    run(kTwoRecipients, false, exitCode);
    EXPECT_TRUE(
        errors.contains("SIM PUK needed: the SIM is blocked after three wrong PINs; unlock it in a phone "
                        "with its PUK"))
        << errors.toStdString();
    EXPECT_TRUE(errors.contains("Registration denied by the network")) << errors.toStdString();
    EXPECT_EQ(numbersReceived(1).size(), 2);

    // The device list says the same, one state a modem.
    const QStringList lines = run({"devices", "--json"}, false, exitCode);
    QStringList states;
    for (const QString& line : lines)
        states << QJsonDocument::fromJson(line.toUtf8()).object().value("state").toString();
    EXPECT_EQ(states,
              (QStringList{"SIM PUK needed: the SIM is blocked after three wrong PINs; unlock it in a "
                           "phone with its PUK",
                           "ready", "Registration denied by the network"}));
}

TEST_F(SimPinCommandLine, SearchingModemIsWaitedForAndRoamingIsShown) {
    // The modems run in this process: their clock goes as fast as the sender's.
    Clock::setScale(0.05);
    sim::ModemBehaviour late;
    late.networkDelayMs = 0;
    late.registerAfterMs = 40000;
    late.roaming = true;
    startModems(1, late, "35800000000014");
    int exitCode = -1;
    run({"send", "--to", "+447700900001", "--message", "Hello"}, false, exitCode);
    Clock::setScale(0.001);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    EXPECT_TRUE(errors.contains("Searching for a network…")) << errors.toStdString();
    EXPECT_EQ(numbersReceived(0), QStringList{"+447700900001"});

    const QStringList lines = run({"devices"}, false, exitCode);
    EXPECT_TRUE(lines.contains("  Network : Roaming")) << lines.join('\n').toStdString();
    const QStringList json = run({"devices", "--json"}, false, exitCode);
    ASSERT_EQ(json.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(json.first().toUtf8()).object().value("network").toString(), "Roaming");
}

} // namespace
