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
    sim::VirtualModem& plugIn(const char* imei, int networkDelayMs = 0, bool silent = false) {
        ModemBehaviour behaviour;
        behaviour.networkDelayMs = networkDelayMs;
        behaviour.silent = silent;
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

} // namespace
