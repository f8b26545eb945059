// A modem plugged in while a run sends through another: handed to the intake, it is probed,
// joins the run, and the network hears each message once, from one modem or the other.
#include "services/NewModemIntake.h"
#include "services/CampaignRun.h"
#include "services/ModemSearch.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "VirtualModems.h"
#include "core/TroubleshootingLog.h"
#include "gsm/ModemDiscovery.h"
#include "sim/MessageLog.h"

#include <QCoreApplication>
#include <QDir>

#include <gtest/gtest.h>

#include <mutex>

inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace {

using sim::ModemBehaviour;

class NewModemIntakeTest : public VirtualModemsTest {
protected:
    NewModemIntakeTest() : VirtualModemsTest(0.02) {}
    void SetUp() override {
        VirtualModemsTest::SetUp();
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    }
    void TearDown() override {
        flushTroubleshootingLog();
        VirtualModemsTest::TearDown();
    }

    // A modem on the network whose log every modem of the test shares.
    sim::VirtualModem& plugIn(const char* imei, int networkDelayMs = 0, bool silent = false,
                              const QString& simPin = {}) {
        ModemBehaviour behaviour;
        behaviour.networkDelayMs = networkDelayMs;
        behaviour.silent = silent;
        behaviour.simPin = simPin;
        modems.push_back(std::make_unique<sim::VirtualModem>(identity(imei), behaviour, networkLog()));
        EXPECT_TRUE(modems.back()->start());
        return *modems.back();
    }
    QString networkLog() const { return QDir(home.root()).filePath(QStringLiteral("network.jsonl")); }
    static ModemPortGroups::Group groupOf(const QString& path) {
        ModemPortGroups::Group group;
        group.ports << ModemPortGroups::Port{path, -1};
        return group;
    }

    // A campaign through the modem at `path`, as the command line starts one.
    std::unique_ptr<CampaignRun> campaignThrough(const QString& path, const QStringList& to) {
        const Record found = ModemSearch::search({path}).modems.value(0);
        EXPECT_FALSE(found.isEmpty());
        Campaign campaign;
        for (const QString& number : to)
            campaign.rows.append({number, QStringLiteral("Hello ") + number});
        auto run = std::make_unique<CampaignRun>(home.folder, std::move(campaign),
                                                 modemOpeners({modemChoiceOf(found)}, {}), op, pause,
                                                 DelayedDeliveryPause::Hooks{});
        QObject::connect(&run->run(), &SendingRun::devicesReleased, &run->run(), [this] { ++released; });
        return run;
    }
    void finish(CampaignRun& run) {
        ASSERT_TRUE(spinUntil([this] { return released > 0; }, std::chrono::seconds(90)));
        run.run().join();
        QCoreApplication::processEvents();
        run.end();
    }
    NewModemIntake::Told keep() {
        return [this](const QString& line) {
            std::lock_guard lock(mutex);
            lines << line;
        };
    }
    QStringList told() {
        std::lock_guard lock(mutex);
        return lines;
    }

    TestDataHome home;
    ScriptedOperator op;
    PauseCountdown pause{PauseCountdown::Variant::SendingJob, [](const QString&) {}};
    int released = 0;
    std::mutex mutex;
    QStringList lines;
};

QStringList numbers(int count) {
    QStringList out;
    for (int i = 0; i < count; ++i)
        out << QStringLiteral("+4477009%1").arg(100 + i);
    return out;
}

TEST_F(NewModemIntakeTest, AModemPluggedInWhileSendingJoinsAndNoMessageGoesTwice) {
    sim::VirtualModem& first = plugIn("356000000000001", 150); // slow enough to leave work for the other
    const QStringList to = numbers(12);
    auto run = campaignThrough(first.devicePath(), to);
    run->start();
    ASSERT_TRUE(spinUntil([&] { return !first.received().isEmpty(); }, std::chrono::seconds(60)));

    sim::VirtualModem& second = plugIn("356000000000002");
    {
        NewModemIntake intake(run->run(), {}, SmsMode::Pdu, keep());
        intake.take(groupOf(second.devicePath()));
        intake.join();
        finish(*run);
    }

    const QString port = ModemDiscovery::portName(second.devicePath());
    EXPECT_EQ(told(), QStringList{NewModemIntake::takenIn(port + " (IMEI 356000000000002)")});
    QStringList heard;
    QSet<QString> from;
    for (const sim::ReceivedMessage& message : sim::MessageLog::read(networkLog())) {
        heard << message.number;
        from.insert(message.device);
    }
    heard.sort();
    EXPECT_EQ(heard, to); // each once
    EXPECT_EQ(from.size(), 2);
    EXPECT_FALSE(second.received().isEmpty());
    for (const SendingItem& item : run->run().record().all())
        EXPECT_EQ(item.status, kStatusSent);
}

TEST_F(NewModemIntakeTest, WhatIsNotTakenInIsToldWithWhy) {
    sim::VirtualModem& first = plugIn("356000000000011", 100);
    sim::VirtualModem& sameAgain = first;
    auto run = campaignThrough(first.devicePath(), numbers(4));
    run->start();
    ASSERT_TRUE(spinUntil([&] { return !first.received().isEmpty(); }, std::chrono::seconds(60)));
    sim::VirtualModem& mute = plugIn("356000000000012", 0, true);
    {
        NewModemIntake intake(run->run(), {}, SmsMode::Unknown, keep());
        intake.take(groupOf(mute.devicePath()));
        intake.take(groupOf(sameAgain.devicePath())); // the run holds its port
        intake.join();
        finish(*run);
        intake.take(groupOf(plugIn("356000000000013").devicePath()));
        intake.join();
    }
    const QStringList lines = told();
    ASSERT_EQ(lines.size(), 3);
    const QString mutePort = ModemDiscovery::portName(mute.devicePath());
    EXPECT_TRUE(lines.contains(
        NewModemIntake::notTakenIn(mutePort, "no port answered as a modem that sends messages")))
        << lines.join('\n').toStdString();
    EXPECT_EQ(lines.last(), NewModemIntake::notTakenIn(ModemDiscovery::portName(modems.back()->devicePath()),
                                                       "the run is over"));
    EXPECT_TRUE(modems.back()->received().isEmpty());
}

TEST_F(NewModemIntakeTest, ALockedSimIsTakenInWithThePinTheOperatorGivesOrToldAsLocked) {
    sim::VirtualModem& first = plugIn("356000000000021", 150);
    const QStringList to = numbers(12);
    auto run = campaignThrough(first.devicePath(), to);
    run->start();
    ASSERT_TRUE(spinUntil([&] { return !first.received().isEmpty(); }, std::chrono::seconds(60)));

    sim::VirtualModem& asked = plugIn("356000000000022", 0, false, "2468");
    sim::VirtualModem& nobodyAsked = plugIn("356000000000023", 0, false, "1357");
    QStringList questions;
    SimPins operatorAnswers;
    operatorAnswers.find = [](const QString&) { return std::optional<QString>(); };
    operatorAnswers.ask = [&](const SimPinRequest& request) -> std::optional<SimPinAnswer> {
        std::lock_guard lock(mutex);
        questions << request.modem;
        return SimPinAnswer{"2468", false};
    };
    SimPins keyringOnly;
    keyringOnly.find = operatorAnswers.find;
    {
        NewModemIntake withOperator(run->run(), {}, SmsMode::Pdu, keep(), operatorAnswers);
        NewModemIntake unattended(run->run(), {}, SmsMode::Pdu, keep(), keyringOnly);
        withOperator.take(groupOf(asked.devicePath()));
        unattended.take(groupOf(nobodyAsked.devicePath()));
        withOperator.join();
        unattended.join();
        finish(*run);
    }

    const QString askedPort = ModemDiscovery::portName(asked.devicePath());
    ASSERT_EQ(questions.size(), 1);
    EXPECT_TRUE(questions.first().contains(askedPort)) << questions.first().toStdString();
    EXPECT_EQ(asked.commandLog().count("AT+CPIN=\"2468\""), 1);
    EXPECT_FALSE(nobodyAsked.commandLog().join('\n').contains("AT+CPIN=\""));
    const QStringList lines = told();
    EXPECT_TRUE(lines.contains(NewModemIntake::takenIn(askedPort + " (IMEI 356000000000022)")))
        << lines.join('\n').toStdString();
    EXPECT_TRUE(lines.contains(NewModemIntake::notTakenIn(ModemDiscovery::portName(nobodyAsked.devicePath()) +
                                                              " (IMEI 356000000000023)",
                                                          SimUnlock::kPinNeeded)))
        << lines.join('\n').toStdString();
    // Every number heard once, the locked modem that was never unlocked sending none.
    QStringList heard;
    for (const sim::ReceivedMessage& message : sim::MessageLog::read(networkLog()))
        heard << message.number;
    heard.sort();
    EXPECT_EQ(heard, to);
    EXPECT_TRUE(nobodyAsked.received().isEmpty());
}

} // namespace
