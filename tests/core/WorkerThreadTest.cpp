#include "core/WorkerThread.h"
#include "core/MainThread.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

TEST(WorkerThread, JoiningOnTheMainThreadLetsTheWorkerHandItsWorkOver) {
    // Joined with the main thread's events stopped, this worker would wait for ever.
    std::atomic<int> handedOver{0};
    WorkerThread worker(QStringLiteral("hand-over"));
    worker.start([&](std::stop_token) {
        for (int i = 0; i < 3; ++i)
            MainThread::invokeAndWait([&] { handedOver += MainThread::isCurrent() ? 1 : 100; });
    });
    worker.join();
    EXPECT_EQ(handedOver, 3);
    EXPECT_FALSE(worker.isRunning());
}

TEST(WorkerThread, StopReachesTheBodyAndARestartJoinsTheEarlierBody) {
    std::atomic<int> finished{0};
    WorkerThread worker;
    const auto untilStopped = [&](std::stop_token stop) {
        while (!stop.stop_requested())
            std::this_thread::yield();
        ++finished;
    };
    worker.start(untilStopped);
    EXPECT_TRUE(worker.isRunning());
    worker.start(untilStopped); // the first body is asked to stop and joined first
    EXPECT_EQ(finished, 1);
    EXPECT_TRUE(worker.isRunning());
    worker.requestStop();
    worker.join();
    EXPECT_EQ(finished, 2);
}

TEST(WorkerThread, DestroyingTheOwnerStopsAndJoins) {
    std::atomic<bool> ended{false};
    {
        WorkerThread worker;
        worker.start([&](std::stop_token stop) {
            while (!stop.stop_requested())
                std::this_thread::yield();
            ended = true;
        });
    }
    EXPECT_TRUE(ended);
}

} // namespace
