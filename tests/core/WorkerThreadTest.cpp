#include "core/WorkerThread.h"
#include "core/MainThread.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>

namespace {

TEST(WorkerThread, JoiningOnTheMainThreadRunsTheHandOffsAndNothingElse) {
    // Joined with the hand-offs stopped, this worker would wait for ever; a timer due meanwhile
    // waits for the event loop, whatever the join does.
    bool timerRan = false;
    QTimer::singleShot(0, [&] { timerRan = true; });
    std::atomic<int> handedOver{0};
    WorkerThread worker(QStringLiteral("hand-over"));
    worker.start([&](std::stop_token) {
        for (int i = 0; i < 3; ++i)
            MainThread::invokeAndWait([&] { handedOver += MainThread::isCurrent() ? 1 : 100; });
        MainThread::post([&] { handedOver += 10; }); // still queued as the worker ends
    });
    worker.join();
    EXPECT_EQ(handedOver, 13);
    EXPECT_FALSE(worker.isRunning());
    EXPECT_FALSE(timerRan);
    QCoreApplication::processEvents();
    EXPECT_TRUE(timerRan);
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
