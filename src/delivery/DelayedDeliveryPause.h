#pragma once
// Taking a delayed-delivery pause during a run. Called by a sending thread after each
// recipient's final status; when a pause is due it shows the countdown and waits the whole
// pause on that thread, while every other sending thread of its owner sees the countdown's
// Pause_Timer_Running and waits.
#include "DelaySchedule.h"

#include <atomic>
#include <functional>
#include <stop_token>

class PauseCountdown;

class DelayedDeliveryPause {
public:
    // What the run's window does around a pause (each may be empty).
    struct Hooks {
        std::function<void()> redrawList;
        std::function<void(bool visible)> showCurrentMessageLabel;
        std::function<void()> stopActivity;
        std::function<void()> startActivity;
        std::function<void()> resetProgress;
    };

    // stop is the run's Stop: it ends a pause at once.
    DelayedDeliveryPause(DelaySchedule schedule, PauseCountdown& countdown, std::atomic<int>& finishedCounter,
                         Hooks hooks, std::stop_token stop = {});

    // allFinished: every item of the run is finished; portFailed: the port that just sent
    // failed; somethingPending: an item is still waiting or being sent.
    void afterMessageFinished(bool allFinished, bool portFailed, bool somethingPending);

    const DelaySchedule& schedule() const { return m_schedule; }

private:
    void pause(qint64 totalMs);

    DelaySchedule m_schedule;
    PauseCountdown& m_countdown;
    std::atomic<int>& m_counter;
    Hooks m_hooks;
    std::stop_token m_stop;
};

// The activity bar's next value: up by 20, starting over after 100.
inline int nextActivityValue(int current) { return (current >= 100 ? 0 : current) + 20; }
