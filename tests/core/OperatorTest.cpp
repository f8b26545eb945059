// Prompts raised on worker threads run on the main thread while the worker waits.
#include "core/MainThread.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

class ThreadCheckingOperator : public ScriptedOperator {
public:
    std::atomic<int> offMainThread{0};

protected:
    void showAlert(const QString& text) override {
        if (!MainThread::isCurrent())
            ++offMainThread;
        ScriptedOperator::showAlert(text);
    }
    bool askYesNo(const QString& text) override {
        if (!MainThread::isCurrent())
            ++offMainThread;
        return ScriptedOperator::askYesNo(text);
    }
};

TEST(Operator, AlertsGetTheirLeadingLineBreakAndQuestionsDoNot) {
    ScriptedOperator op;
    op.answerYes();
    op.Show_MessageBox("Please enter some text message.");
    EXPECT_TRUE(op.Show_YES_NO_MessageBox("Sure?"));
    EXPECT_EQ(op.alerts(), QStringList{"\nPlease enter some text message."});
    EXPECT_EQ(op.questions(), QStringList{"Sure?"});
}

TEST(Operator, WorkerPromptsRunOnTheMainThreadAndWaitForTheAnswer) {
    ThreadCheckingOperator op;
    for (int i = 0; i < 8; ++i)
        op.answerYes();
    std::atomic<int> yes{0};
    std::atomic<int> finished{0};
    std::vector<std::thread> workers;
    for (int t = 0; t < 4; ++t)
        workers.emplace_back([&] {
            op.Show_MessageBox("from a worker");
            if (op.Show_YES_NO_MessageBox("continue?"))
                ++yes;
            if (op.Show_YES_NO_MessageBox("again?"))
                ++yes;
            ++finished;
        });
    ASSERT_TRUE(spinUntil([&] { return finished == 4; }));
    for (auto& w : workers)
        w.join();
    EXPECT_EQ(yes, 8);
    EXPECT_EQ(op.offMainThread, 0);
    EXPECT_EQ(op.alerts().size(), 4);
}

TEST(MainThread, PostRunsLaterOnTheMainThread) {
    bool ran = false;
    std::thread worker([&] { MainThread::post([&] { ran = MainThread::isCurrent(); }); });
    worker.join();
    EXPECT_FALSE(ran);
    ASSERT_TRUE(spinUntil([&] { return ran; }));
}

TEST(MainThread, InvokeAndWaitReturnsTheValue) {
    std::atomic<int> value{0};
    std::thread worker(
        [&] { value = MainThread::invokeAndWait([] { return MainThread::isCurrent() ? 42 : -1; }); });
    ASSERT_TRUE(spinUntil([&] { return value != 0; }));
    worker.join();
    EXPECT_EQ(value, 42);
}

} // namespace
