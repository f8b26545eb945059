#include "core/Clock.h"
#include "core/FileUtils.h"
#include "core/WallClock.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

TEST(Clock, ScaleShrinksPrescribedWaits) {
    const double saved = Clock::scale();
    Clock::setScale(0.01);
    const double inForce = Clock::scale(); // 0.01, stretched on slow builds
    EXPECT_EQ(Clock::scaled(std::chrono::seconds(2)),
              std::chrono::microseconds(static_cast<long long>(2000000 * inForce)));
    Clock::setScale(0); // ignored: a wait never becomes instant by accident
    EXPECT_EQ(Clock::scale(), inForce);
    Clock::setScale(saved);
}

TEST(Clock, SleepUnlessWakesWhenStopped) {
    const double saved = Clock::scale();
    Clock::setScale(1.0);
    std::atomic<bool> stop{false};
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        stop = true;
    });
    const bool completed = Clock::sleepUnless(std::chrono::seconds(60), [&] { return stop.load(); });
    stopper.join();
    Clock::setScale(saved);
    EXPECT_FALSE(completed);
}

} // namespace

// A test sets the time of day; it runs at the shrunk clock's pace, and a file moves it in
// every process that reads it. Unset, it is the system's.
TEST(Clock, NowCanBeSetRunsAtTheScaledPaceAndJumpsWithItsFile) {
    const double saved = Clock::scale();
    Clock::setScale(0.001);
    const double scale = Clock::scale();
    QTemporaryDir dir;
    const QString file = dir.filePath("now");
    qputenv("BULKSMS_FAKE_NOW", "2026-11-26T08:59:00Z");
    qputenv("BULKSMS_FAKE_NOW_FILE", file.toLocal8Bit());
    Clock::readNowFromEnvironment();
    const QDateTime start = QDateTime::fromString("2026-11-26T08:59:00Z", Qt::ISODate);
    EXPECT_TRUE(Clock::nowIsFaked());
    EXPECT_LT(std::abs(start.msecsTo(Clock::now())), 1000);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    // 50 ms real are 50 / scale ms of the faked day (50 s at 0.001).
    const qint64 passed = start.msecsTo(Clock::now());
    EXPECT_GE(passed, qint64(50 / scale));
    EXPECT_LT(passed, qint64(5000 / scale)) << passed;

    ASSERT_TRUE(writeFileAtomically(file, "2026-11-27T09:00:00+01:00\n"));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const QDateTime jumped = QDateTime::fromString("2026-11-27T08:00:00Z", Qt::ISODate);
    EXPECT_GE(jumped.msecsTo(Clock::now()), 0);
    EXPECT_LT(jumped.msecsTo(Clock::now()), qint64(1000 / scale));
    ASSERT_TRUE(writeFileAtomically(file, "not a time"));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_LT(jumped.msecsTo(Clock::now()), qint64(1000 / scale)); // kept running from the last time

    qunsetenv("BULKSMS_FAKE_NOW");
    qunsetenv("BULKSMS_FAKE_NOW_FILE");
    Clock::readNowFromEnvironment();
    EXPECT_FALSE(Clock::nowIsFaked());
    EXPECT_LT(std::abs(Clock::nowMs() - QDateTime::currentMSecsSinceEpoch()), 1000);
    Clock::setScale(saved);
}
