// Devices taken into a run while it sends: they share what is left with the first ones (no
// item twice, none left out), they are refused when the run cannot use them, and a device
// still opening keeps the run from ending under it.
#include "ScriptedDevice.h"

#include "ScriptedOperator.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/TroubleshootingLog.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <atomic>

inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace {

using namespace std::chrono_literals;

QStringList numbers(int count) {
    QStringList out;
    for (int i = 1; i <= count; ++i)
        out << QString::number(1000 + i);
    return out;
}

// Waits on a device's thread until `met` (or the run's Stop); bounded, so a fault fails the test.
void waitFor(const std::function<bool()>& met, const std::stop_token& stop = {}) {
    Clock::sleepUnless(600s, [&] { return met() || stop.stop_requested(); });
}

// What a hook told, kept for the test's thread.
struct Told {
    std::mutex mutex;
    QStringList refusals;
    SendingRun::AddedHook hook() {
        return [this](const QString& refusal) {
            std::lock_guard lock(mutex);
            refusals << (refusal.isEmpty() ? QStringLiteral("started") : refusal);
        };
    }
    QStringList all() {
        std::lock_guard lock(mutex);
        return refusals;
    }
};

class AddedDeviceTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.folder.Check_Path_And_Create_Files()); }
    void TearDown() override { flushTroubleshootingLog(); }

    std::unique_ptr<SendingRun> runOf(const QList<ScriptedDevice*>& devices) {
        QList<DeviceOpener> openers;
        for (ScriptedDevice* device : devices)
            openers << device->opener();
        auto run =
            std::make_unique<SendingRun>(RunSettings{}, openers, storedRunIn(DataFolder::fromEnvironment()),
                                         op, pause, DelayedDeliveryPause::Hooks{});
        QObject::connect(run.get(), &SendingRun::devicesReleased, run.get(), [this] { ++released; });
        return run;
    }
    static void start(SendingRun& run, const QStringList& to) {
        QList<std::pair<QString, QString>> rows;
        for (const QString& number : to)
            rows.append({number, QStringLiteral("Hello ") + number});
        run.start(rows);
    }
    bool finish(SendingRun& run) {
        const bool ended = spinUntil([this] { return released > 0; }, 60s);
        run.join();
        QCoreApplication::processEvents();
        return ended;
    }

    TestDataHome home;
    ScriptedOperator op;
    PauseCountdown pause{PauseCountdown::Variant::SendingJob, [](const QString&) {}};
    int released = 0;
};

TEST_F(AddedDeviceTest, AnAddedDeviceSharesWhatIsLeftAndNoItemGoesTwice) {
    ScriptedDevice first("dev-1"), added("dev-2");
    std::atomic<bool> sending{false};
    // The first device holds its first message until the added one has sent two of its own.
    first.answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
        sending = true;
        waitFor([&] { return added.calls().size() >= 2; }, stop);
        return SendOutcome::of(Outcome::Sent);
    };
    auto run = runOf({&first});
    const QStringList all = numbers(12);
    start(*run, all);
    ASSERT_TRUE(spinUntil([&] { return sending.load(); }, 60s));
    Told told;
    EXPECT_TRUE(run->addDevice(added.opener(), QStringLiteral("dev-2"), told.hook()));
    ASSERT_TRUE(finish(*run));

    QStringList sent = first.numbers() + added.numbers();
    EXPECT_GE(added.numbers().size(), 2);
    EXPECT_GE(first.numbers().size(), 1);
    std::sort(sent.begin(), sent.end());
    EXPECT_EQ(sent, all); // every item once, through one device or the other
    EXPECT_EQ(told.all(), QStringList{"started"});
    EXPECT_EQ(added.prepared(), 1);
    EXPECT_TRUE(added.closed());
    EXPECT_EQ(run->startedDevices(), 2);
    for (const SendingItem& item : run->record().all()) {
        EXPECT_EQ(item.status, kStatusSent) << item.number.toStdString();
        EXPECT_EQ(item.usePort, added.numbers().contains(item.number) ? "dev-2" : "dev-1");
    }
    EXPECT_EQ(released, 1);
}

TEST_F(AddedDeviceTest, ADeviceAlreadyInTheRunIsNotAddedAgain) {
    ScriptedDevice first("dev-1"), sameName("dev-1"), slowToOpen("dev-3");
    std::atomic<bool> sending{false}, letOpen{false}, letSend{false};
    first.answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
        sending = true;
        waitFor([&] { return letSend.load(); }, stop);
        return SendOutcome::of(Outcome::Sent);
    };
    auto run = runOf({&first});
    start(*run, numbers(4));
    ASSERT_TRUE(spinUntil([&] { return sending.load(); }, 60s));

    // Named by its port, refused at once; named otherwise, found out once it opened.
    EXPECT_FALSE(run->addDevice(sameName.opener(), QStringLiteral("dev-1")));
    Told told;
    EXPECT_TRUE(run->addDevice(sameName.opener(), {}, told.hook()));
    ASSERT_TRUE(spinUntil([&] { return !told.all().isEmpty(); }, 60s));
    EXPECT_EQ(told.all(), QStringList{"it is in the run already"});
    EXPECT_TRUE(sameName.closed());
    EXPECT_EQ(sameName.prepared(), 0);

    // One still opening holds its key.
    const DeviceOpener opensLater = [&](std::stop_token stop) {
        waitFor([&] { return letOpen.load(); }, stop);
        return slowToOpen.opener()(stop);
    };
    EXPECT_TRUE(run->addDevice(opensLater, QStringLiteral("dev-3")));
    EXPECT_FALSE(run->addDevice(slowToOpen.opener(), QStringLiteral("dev-3")));
    letOpen = true;
    letSend = true;
    ASSERT_TRUE(finish(*run));
    EXPECT_TRUE(sameName.numbers().isEmpty());
    EXPECT_EQ(first.numbers().size() + slowToOpen.numbers().size(), 4);
}

TEST_F(AddedDeviceTest, NoDeviceIsTakenBeforeTheRunSendsOrOnceItStoppedOrEnded) {
    ScriptedDevice first("dev-1"), late("dev-2");
    std::atomic<bool> sending{false};
    first.answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
        sending = true;
        waitFor([] { return false; }, stop); // until Stop
        return SendOutcome::of(Outcome::NotHandedOver, kStatusConnectionError);
    };
    auto run = runOf({&first});
    EXPECT_FALSE(run->addDevice(late.opener(), QStringLiteral("dev-2"))); // not started
    start(*run, numbers(3));
    ASSERT_TRUE(spinUntil([&] { return sending.load(); }, 60s));
    run->stop();
    EXPECT_FALSE(run->addDevice(late.opener(), QStringLiteral("dev-2")));
    ASSERT_TRUE(finish(*run));
    EXPECT_TRUE(run->released());
    EXPECT_EQ(late.prepared(), 0);

    // A run that sent everything takes nobody: neither at its end nor once it is over.
    ScriptedDevice only("dev-4"), after("dev-5");
    released = 0;
    auto done = runOf({&only});
    start(*done, numbers(2));
    ASSERT_TRUE(finish(*done));
    EXPECT_FALSE(done->addDevice(after.opener(), QStringLiteral("dev-5")));
    EXPECT_EQ(after.prepared(), 0);
    EXPECT_EQ(released, 1);
}

TEST_F(AddedDeviceTest, TheRunWaitsForADeviceStillOpeningAndEndsOnce) {
    ScriptedDevice first("dev-1"), added("dev-2");
    std::atomic<bool> sending{false}, opening{false}, openerDone{false}, releasedBeforeOpened{false};
    first.answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
        sending = true;
        waitFor([&] { return opening.load(); }, stop);
        return SendOutcome::of(Outcome::Sent);
    };
    auto run = runOf({&first});
    QObject::connect(run.get(), &SendingRun::devicesReleased, run.get(),
                     [&] { releasedBeforeOpened = !openerDone; });
    start(*run, numbers(3));
    ASSERT_TRUE(spinUntil([&] { return sending.load(); }, 60s));
    Told told;
    // It opens only once the first device has finished every item.
    ASSERT_TRUE(run->addDevice(
        [&](std::stop_token stop) {
            opening = true;
            waitFor([&] { return first.numbers().size() == 3 && !run->anyWaitingOrSending(); }, stop);
            auto device = added.opener()(stop);
            openerDone = true;
            return device;
        },
        QStringLiteral("dev-2"), told.hook()));
    ASSERT_TRUE(finish(*run));
    EXPECT_FALSE(releasedBeforeOpened.load());
    EXPECT_EQ(released, 1);
    EXPECT_EQ(told.all(), QStringList{"nothing is left to send"});
    EXPECT_TRUE(added.closed());
    EXPECT_TRUE(added.numbers().isEmpty());
}

TEST_F(AddedDeviceTest, ARunAtItsMostDevicesTakesNoMore) {
    std::vector<std::unique_ptr<ScriptedDevice>> devices;
    QList<ScriptedDevice*> pointers;
    std::atomic<int> sending{0};
    std::atomic<bool> letGo{false};
    for (int i = 0; i < SendingRun::kMaxDevices; ++i) {
        devices.push_back(std::make_unique<ScriptedDevice>(QStringLiteral("dev-%1").arg(i)));
        devices.back()->answer = [&](const OutgoingMessage&, const std::stop_token& stop) {
            ++sending;
            waitFor([&] { return letGo.load(); }, stop);
            return SendOutcome::of(Outcome::Sent);
        };
        pointers << devices.back().get();
    }
    auto run = runOf(pointers);
    start(*run, numbers(SendingRun::kMaxDevices + 4));
    ASSERT_TRUE(spinUntil([&] { return sending.load() == SendingRun::kMaxDevices; }, 60s));
    ScriptedDevice extra("dev-extra");
    EXPECT_FALSE(run->addDevice(extra.opener(), QStringLiteral("dev-extra")));
    letGo = true;
    ASSERT_TRUE(finish(*run));
    EXPECT_EQ(extra.prepared(), 0);
}

} // namespace
