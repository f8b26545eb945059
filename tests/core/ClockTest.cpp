#include "core/Clock.h"

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
