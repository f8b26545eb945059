// Programs run from any thread: their output, their end, a stop, and a program that is missing.
#include "core/ChildProcess.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

TEST(ChildProcess, OutputAndErrorTogetherAndTheExitCode) {
    const ChildResult run = runChild("sh", {"-c", "echo out; echo err >&2; exit 3"});
    ASSERT_TRUE(run.started);
    EXPECT_EQ(run.output, "out\nerr\n");
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_FALSE(run.stopped);
}

TEST(ChildProcess, ArgumentsReachTheProgramAsTheyAreNeverThroughAShell) {
    const ChildResult run = runChild("printf", {"%s|", "$(id)", "a b", "'quoted'"});
    EXPECT_EQ(run.output, "$(id)|a b|'quoted'|");
}

TEST(ChildProcess, ABackgroundChildHoldingTheOutputDoesNotHoldTheWait) {
    QElapsedTimer took;
    took.start();
    const ChildResult run = runChild("sh", {"-c", "sleep 20 & echo started"});
    EXPECT_EQ(run.output, "started\n");
    EXPECT_LT(took.elapsed(), 10000);
}

TEST(ChildProcess, AStopKillsTheChildPromptlyFromAnotherThread) {
    std::atomic<bool> stop{false};
    std::thread stopper([&stop] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        stop = true;
    });
    QElapsedTimer took;
    took.start();
    const ChildResult run =
        runChild("sh", {"-c", "echo begun; exec sleep 30"}, [&stop] { return stop.load(); });
    stopper.join();
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.output, "begun\n");
    EXPECT_LT(took.elapsed(), 10000);
}

TEST(ChildProcess, AMissingProgramIsNotStartedAndSaysWhy) {
    const ChildResult run = runChild("/nonexistent/adb", {"devices"});
    EXPECT_FALSE(run.started);
    EXPECT_TRUE(run.error.contains("No such file")) << run.error.toStdString();
}
