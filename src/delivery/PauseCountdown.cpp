#include "PauseCountdown.h"

#include "DelaySchedule.h"
#include "core/Clock.h"

using namespace std::chrono_literals;

PauseCountdown::PauseCountdown(Variant variant, std::function<void(const QString&)> showLabel)
    : m_variant(variant), m_showLabel(std::move(showLabel)) {}

PauseCountdown::~PauseCountdown() { m_timer.stop(); }

void PauseCountdown::Calculate_Pause_Time(int milliseconds, std::stop_token stop) {
    if (m_variant == Variant::SendingJob && (stop.stop_requested() || GSM_Pause_Delay_Time == 0)) {
        // The countdown ends here: its tick returns false once this has cleared the time.
        GSM_Pause_Delay_Time = 0;
        clearLabel();
        return;
    }
    m_showLabel(pauseCountdownText(milliseconds / 1000));
}

void PauseCountdown::startCountdown(std::stop_token stop) {
    m_endedByOwner = false;
    m_timer.start(1s, [this, stop] { return Pause_Timer_Func(stop); });
}

void PauseCountdown::endCountdown() {
    m_endedByOwner = true;
    m_timer.stop();
}

bool PauseCountdown::Pause_Timer_Func(std::stop_token stop) {
    const bool watchesStop = m_variant == Variant::SendingJob;
    if ((watchesStop && stop.stop_requested()) || GSM_Pause_Delay_Time == 0) {
        GSM_Pause_Delay_Time = 0;
        clearLabel();
        return false;
    }
    const int remaining = GSM_Pause_Delay_Time / 1000;
    m_showLabel(pauseCountdownText(remaining));
    if (remaining - 1 > 0) {
        GSM_Pause_Delay_Time = (remaining - 1) * 1000;
        return true;
    }
    // The countdown is over. The owner may end the pause meanwhile (endCountdown): then it
    // alone resets the shared state, which may already belong to the next pause.
    GSM_Pause_Delay_Time = 0;
    const auto stopped = [this] { return m_endedByOwner.load(); };
    if (!Clock::sleepUnless(1s, stopped))
        return false;
    Calculate_Pause_Time(0, stop);
    if (!Clock::sleepUnless(1s, stopped))
        return false;
    clearLabel();
    Pause_Timer_Running = false;
    GSM_Pause_Delay_Time = 0;
    clearLabel();
    return false;
}
