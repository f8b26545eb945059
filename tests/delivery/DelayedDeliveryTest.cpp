// Delayed delivery: the lists, the parser, the countdown texts, and pauses during a run.
#include "delivery/ActivityIndicator.h"
#include "delivery/DelaySchedule.h"
#include "delivery/DelayedDeliveryPause.h"
#include "delivery/PauseCountdown.h"

#include <gtest/gtest.h>

#include <mutex>
#include <stop_token>
#include <thread>

namespace {

TEST(DelaySchedule, ListsHoldTheirEntriesInOrder) {
    EXPECT_EQ(delayedCountEntries().size(), 19);
    EXPECT_EQ(delayedCountEntries().at(kDefaultDelayedCountIndex), "15");
    EXPECT_EQ(delayedTimeEntries().size(), 32);
    EXPECT_EQ(delayedTimeEntries().at(kDefaultDelayedTimeIndex), " 2  Minutes");
    EXPECT_EQ(delayedTimeEntries().at(11), " 1  Minute");
    EXPECT_EQ(delayedTimeEntries().at(25), " 1  Hour");
    EXPECT_EQ(delayedTimeEntries().last(), "12 Hours");
}

TEST(DelaySchedule, TextsParseIntoCountUnitAndPause) {
    const struct {
        const char* count;
        const char* time;
        int parsedCount;
        const char* unit;
        qint64 pauseMs;
        bool pauses;
    } cases[] = {
        {"15", " 2  Minutes", 15, "M", 120000, true},
        {"1", "5  Seconds", 1, "S", 5000, true},
        {"10", "10 Seconds", 10, "S", 10000, true},
        {"1000", " 1  Hour", 1000, "H", 3600000, true},
        {"5", "12 Hours", 5, "H", 12 * 3600000LL, true},
        {"5", "No Pause", 5, "P", 0, false},
        {"abc", "10 Seconds", 0, "S", 10000, true}, // count 0 is never reached: no pause in practice
        {"5", "", 5, "", 0, false},
        {"5", "7 Days", 5, "a", 0, false}, // the unit is whatever stands at index 3
        {" 25 ", "90 Seconds", 25, "S", 90000, true},
    };
    for (const auto& c : cases) {
        const DelaySchedule s = parseDelaySchedule(true, c.count, c.time);
        EXPECT_EQ(s.count, c.parsedCount) << c.count << " / " << c.time;
        EXPECT_EQ(s.unit, c.unit) << c.time;
        EXPECT_EQ(s.pauseMilliseconds(), c.pauseMs) << c.time;
        EXPECT_EQ(s.takesPauses(), c.pauses) << c.time;
    }
    EXPECT_FALSE(parseDelaySchedule(false, "1", "5  Seconds").takesPauses());
}

TEST(DelaySchedule, CountdownTextsUseSingularForZeroAndOne) {
    const struct {
        int seconds;
        const char* text;
    } cases[] = {
        {3600, "Pausing the process for 1 Hour 0 Minute 0 Second."},
        {10, "Pausing the process for 10 Seconds."},
        {1, "Pausing the process for 1 Second."},
        {0, "Pausing the process for 0 Second."},
        {120, "Pausing the process for 2 Minutes 0 Second."},
        {7322, "Pausing the process for 2 Hours 2 Minutes 2 Seconds."},
        {61, "Pausing the process for 1 Minute 1 Second."},
    };
    for (const auto& c : cases)
        EXPECT_EQ(pauseCountdownText(c.seconds), c.text);
}

// Records the pause label as it changes, from whichever thread writes it.
class LabelLog {
public:
    std::function<void(const QString&)> sink() {
        return [this](const QString& text) {
            std::lock_guard lock(m_mutex);
            if (m_texts.isEmpty() || m_texts.last() != text)
                m_texts << text;
        };
    }
    QStringList texts() const {
        std::lock_guard lock(m_mutex);
        return m_texts;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_texts;
};

class PauseTest : public ::testing::Test {
protected:
    void SetUp() override { counter = 0; }
    std::atomic<int> counter{0};
    LabelLog labels;
};

TEST_F(PauseTest, CountdownTicksDownToTheSingularThenClears) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    countdown.Pause_Timer_Running = true;
    countdown.GSM_Pause_Delay_Time = 5000;
    countdown.Calculate_Pause_Time(5000);
    countdown.GSM_Pause_Delay_Time = 4000;
    int ticks = 0;
    while (countdown.Pause_Timer_Func())
        ++ticks;
    EXPECT_EQ(ticks, 3);
    EXPECT_EQ(labels.texts(),
              (QStringList{"Pausing the process for 5 Seconds.", "Pausing the process for 4 Seconds.",
                           "Pausing the process for 3 Seconds.", "Pausing the process for 2 Seconds.",
                           "Pausing the process for 1 Second.", ""}));
    EXPECT_FALSE(countdown.Pause_Timer_Running);
    EXPECT_EQ(countdown.GSM_Pause_Delay_Time, 0);
}

TEST_F(PauseTest, AndroidCountdownShowsZeroBeforeClearingAndIgnoresStop) {
    PauseCountdown countdown(PauseCountdown::Variant::AndroidWindow, labels.sink());
    std::stop_source stop;
    stop.request_stop();
    countdown.GSM_Pause_Delay_Time = 1000;
    EXPECT_FALSE(countdown.Pause_Timer_Func(stop.get_token()));
    EXPECT_EQ(labels.texts(),
              (QStringList{"Pausing the process for 1 Second.", "Pausing the process for 0 Second.", ""}));
}

TEST_F(PauseTest, APauseLastsItsLengthWithTheCountdownShown) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    int stops = 0, starts = 0;
    DelayedDeliveryPause pause(parseDelaySchedule(true, "1", "5  Seconds"), countdown, counter,
                               {{}, {}, [&] { ++stops; }, [&] { ++starts; }, {}});
    pause.afterMessageFinished(false, false, true);
    EXPECT_FALSE(countdown.Pause_Timer_Running);
    EXPECT_EQ(counter, 0);
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(starts, 1);
    const QStringList texts = labels.texts();
    ASSERT_GE(texts.size(), 2);
    EXPECT_EQ(texts.first(), "Pausing the process for 5 Seconds."); // the whole length at once
    EXPECT_EQ(texts.last(), "");
}

TEST_F(PauseTest, NoPauseAfterTheLastItemOrWithoutPendingItemsOrAfterAFailedPort) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    DelayedDeliveryPause pause(parseDelaySchedule(true, "1", "10 Seconds"), countdown, counter, {});
    pause.afterMessageFinished(true, false, true);
    pause.afterMessageFinished(false, false, false);
    pause.afterMessageFinished(false, true, true);
    EXPECT_TRUE(labels.texts().isEmpty());
    EXPECT_EQ(counter, 1); // held at the count: the next message that may pause does
    pause.afterMessageFinished(false, false, true);
    EXPECT_EQ(labels.texts().value(0), "Pausing the process for 10 Seconds.");
    EXPECT_EQ(counter, 0);
}

TEST_F(PauseTest, MessagesFinishingDuringAPauseDoNotCountTowardTheNext) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    DelayedDeliveryPause* self = nullptr;
    int pauses = 0;
    // Other ports finish two messages while this one pauses.
    DelayedDeliveryPause pause(parseDelaySchedule(true, "2", "5  Seconds"), countdown, counter,
                               {{},
                                {},
                                [&] {
                                    ++pauses;
                                    if (pauses == 1) {
                                        self->afterMessageFinished(false, false, true);
                                        self->afterMessageFinished(false, false, true);
                                    }
                                },
                                {},
                                {}});
    self = &pause;
    pause.afterMessageFinished(false, false, true);
    pause.afterMessageFinished(false, false, true); // the pause
    EXPECT_EQ(pauses, 1);
    EXPECT_EQ(counter, 0);
    pause.afterMessageFinished(false, false, true);
    EXPECT_EQ(pauses, 1); // two messages from the end of the pause, not one
    pause.afterMessageFinished(false, false, true);
    EXPECT_EQ(pauses, 2);
}

TEST_F(PauseTest, ACountOfNothingNeverPauses) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    DelayedDeliveryPause pause(parseDelaySchedule(true, "none", "5  Seconds"), countdown, counter, {});
    for (int i = 0; i < 3; ++i)
        pause.afterMessageFinished(false, false, true);
    EXPECT_TRUE(labels.texts().isEmpty());
}

TEST_F(PauseTest, CounterStaysZeroWithTheScheduleOff) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    DelayedDeliveryPause pause(parseDelaySchedule(false, "", ""), countdown, counter, {});
    for (int i = 0; i < 5; ++i)
        pause.afterMessageFinished(false, false, true);
    EXPECT_EQ(counter, 0);
}

TEST_F(PauseTest, PauseComesAfterEveryCountMessages) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    int pauses = 0;
    DelayedDeliveryPause pause(parseDelaySchedule(true, "3", "5  Seconds"), countdown, counter,
                               {{}, {}, [&] { ++pauses; }, {}, {}});
    for (int i = 0; i < 7; ++i)
        pause.afterMessageFinished(false, false, true);
    EXPECT_EQ(pauses, 2);
    EXPECT_EQ(counter, 1);
}

TEST_F(PauseTest, StopEndsALongPauseAtOnce) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    Clock::setScale(0.01); // ten minutes would take six seconds without the stop
    std::stop_source runStop;
    DelayedDeliveryPause pause(parseDelaySchedule(true, "1", "10 Minutes"), countdown, counter, {},
                               runStop.get_token());
    std::thread stopper([&runStop] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        runStop.request_stop();
    });
    const auto started = std::chrono::steady_clock::now();
    pause.afterMessageFinished(false, false, true);
    const auto took = std::chrono::steady_clock::now() - started;
    stopper.join();
    Clock::setScale(0.001);
    EXPECT_LT(took, std::chrono::seconds(3));
    EXPECT_FALSE(countdown.Pause_Timer_Running);
    EXPECT_EQ(labels.texts().last(), "");
}

TEST_F(PauseTest, ACountdownStopsOnItsRunsStopOnly) {
    // Two runs pause at once (the GSM job and the Android sender): stopping one leaves the
    // other's countdown going.
    std::stop_source thisRun, otherRun;
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    countdown.GSM_Pause_Delay_Time = 5000;
    otherRun.request_stop();
    EXPECT_TRUE(countdown.Pause_Timer_Func(thisRun.get_token()));
    EXPECT_EQ(countdown.GSM_Pause_Delay_Time, 4000);
    thisRun.request_stop();
    EXPECT_FALSE(countdown.Pause_Timer_Func(thisRun.get_token()));
    EXPECT_EQ(countdown.GSM_Pause_Delay_Time, 0);
    EXPECT_EQ(labels.texts().last(), "");
}

TEST_F(PauseTest, OtherThreadsWaitWhileOnePortPauses) {
    PauseCountdown countdown(PauseCountdown::Variant::SendingJob, labels.sink());
    DelayedDeliveryPause pause(parseDelaySchedule(true, "2", "20 Seconds"), countdown, counter, {});
    std::atomic<int> pausesTaken{0};
    std::vector<std::thread> ports;
    for (int p = 0; p < 3; ++p)
        ports.emplace_back([&] {
            for (int i = 0; i < 4; ++i) {
                while (countdown.Pause_Timer_Running)
                    Clock::sleep(std::chrono::seconds(1)); // the other ports rest meanwhile
                const bool wasIdle = !countdown.Pause_Timer_Running;
                pause.afterMessageFinished(false, false, true);
                if (wasIdle && counter == 0)
                    ++pausesTaken;
            }
        });
    for (auto& t : ports)
        t.join();
    EXPECT_FALSE(countdown.Pause_Timer_Running);
    EXPECT_GE(pausesTaken, 1);
}

TEST(ActivityIndicator, AdvancesUntilStoppedAndWrapsAfterAHundred) {
    std::atomic<int> ticks{0};
    ActivityIndicator indicator([&] { ++ticks; });
    indicator.startTimerThread();
    while (ticks < 3)
        std::this_thread::yield();
    indicator.stop();
    const int after = ticks;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(ticks, after);
    EXPECT_EQ(nextActivityValue(0), 20);
    EXPECT_EQ(nextActivityValue(80), 100);
    EXPECT_EQ(nextActivityValue(100), 20);
}

} // namespace

namespace {

TEST(TickerThread, StartsAndStopsFromSeveralThreadsAtOnce) {
    // A pause restarts the activity ticker on one port while the run's end stops it on another.
    std::atomic<int> ticks{0};
    ActivityIndicator indicator([&] { ++ticks; });
    std::vector<std::thread> controllers;
    for (int t = 0; t < 4; ++t)
        controllers.emplace_back([&, t] {
            for (int i = 0; i < 50; ++i) {
                if ((i + t) % 2 == 0)
                    indicator.startTimerThread();
                else
                    indicator.stop();
            }
        });
    for (auto& c : controllers)
        c.join();
    indicator.stop();
    EXPECT_FALSE(indicator.isRunning());
}

} // namespace
