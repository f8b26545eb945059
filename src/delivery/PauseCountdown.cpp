#include "PauseCountdown.h"

#include "DelaySchedule.h"
#include "core/Clock.h"
#include "core/SendingFlags.h"

using namespace std::chrono_literals;

PauseCountdown::PauseCountdown(Variant variant, std::function<void(const QString&)> showLabel)
    : m_variant(variant), m_showLabel(std::move(showLabel)) {}

PauseCountdown::~PauseCountdown() { m_timer.stop(); }

void PauseCountdown::Calculate_Pause_Time(int milliseconds) {
    if (m_variant == Variant::SendingJob && (Stop_SMS_Sending_Now || GSM_Pause_Delay_Time == 0)) {
        m_timer.requestStop();
        GSM_Pause_Delay_Time = 0;
        clearLabel();
        return;
    }
    m_showLabel(pauseCountdownText(milliseconds / 1000));
}

void PauseCountdown::startCountdown() {
    m_endedByOwner = false;
    m_timer.start(1s, [this] { return Pause_Timer_Func(); });
}

void PauseCountdown::endCountdown() {
    m_endedByOwner = true;
    m_timer.stop();
}

bool PauseCountdown::Pause_Timer_Func() {
    const bool watchesStop = m_variant == Variant::SendingJob;
    if ((watchesStop && Stop_SMS_Sending_Now) || GSM_Pause_Delay_Time == 0) {
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
    Calculate_Pause_Time(0);
    if (!Clock::sleepUnless(1s, stopped))
        return false;
    clearLabel();
    Pause_Timer_Running = false;
    GSM_Pause_Delay_Time = 0;
    clearLabel();
    return false;
}
