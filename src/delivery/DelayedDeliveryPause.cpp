#include "DelayedDeliveryPause.h"

#include "PauseCountdown.h"
#include "core/Clock.h"

#include <limits>

using namespace std::chrono_literals;

namespace {
void call(const std::function<void()>& hook) {
    if (hook)
        hook();
}
} // namespace

DelayedDeliveryPause::DelayedDeliveryPause(DelaySchedule schedule, PauseCountdown& countdown,
                                           std::atomic<int>& finishedCounter, Hooks hooks,
                                           std::stop_token stop)
    : m_schedule(std::move(schedule)), m_countdown(countdown), m_counter(finishedCounter),
      m_hooks(std::move(hooks)), m_stop(std::move(stop)) {}

void DelayedDeliveryPause::afterMessageFinished(bool allFinished, bool portFailed, bool somethingPending) {
    // Every port's messages count, up to the count: one that ends while a pause runs changes
    // nothing, as the counter starts again from 0 when the pause is over (with the schedule off
    // the counter stays 0).
    if (!m_schedule.enabled)
        return;
    int counted = m_counter.load();
    while (counted < m_schedule.count && !m_counter.compare_exchange_weak(counted, counted + 1)) {
    }
    call(m_hooks.redrawList);

    if (m_schedule.count <= 0 || m_counter < m_schedule.count || m_schedule.noPause || allFinished ||
        portFailed || !somethingPending || !m_schedule.takesPauses())
        return;
    // Only the thread that turns the flag on carries the pause; the others see it and wait.
    bool expected = false;
    if (!m_countdown.Pause_Timer_Running.compare_exchange_strong(expected, true))
        return;
    pause(m_schedule.pauseMilliseconds());
}

void DelayedDeliveryPause::pause(qint64 totalMs) {
    const int total = int(qMin<qint64>(totalMs, std::numeric_limits<int>::max()));
    m_countdown.GSM_Pause_Delay_Time = total;
    m_countdown.Calculate_Pause_Time(total, m_stop);
    if (m_hooks.showCurrentMessageLabel)
        m_hooks.showCurrentMessageLabel(false);
    call(m_hooks.stopActivity);
    call(m_hooks.resetProgress);

    m_countdown.GSM_Pause_Delay_Time = total - 1000;
    m_countdown.Pause_Timer_Running = true;
    m_countdown.startCountdown(m_stop);

    // The whole pause passes on this thread: a second at a time, ending early on a stop.
    const auto stopAsked = [this] { return m_stop.stop_requested(); };
    for (int left = total - 1000; left > 0 && !stopAsked() && m_countdown.GSM_Pause_Delay_Time != 0;
         left -= 1000)
        Clock::sleepUnless(1s, stopAsked);
    if (!stopAsked())
        Clock::sleepUnless(1s, stopAsked);

    m_countdown.endCountdown();
    m_countdown.GSM_Pause_Delay_Time = 0;
    if (m_hooks.showCurrentMessageLabel)
        m_hooks.showCurrentMessageLabel(true);
    m_counter = 0; // N more messages from now, whatever finished during the pause
    m_countdown.clearLabel();
    m_countdown.Pause_Timer_Running = false;
    call(m_hooks.startActivity);
    m_countdown.clearLabel();
}
