#pragma once
// One owner's pause state: the remaining pause time, the one-second countdown thread and
// the label it writes ("Pausing the process for ..."). The GSM sending job and the Android
// window each own one; they differ only as Variant says.
#include "core/TickerThread.h"

#include <QString>

#include <atomic>
#include <functional>
#include <stop_token>

class PauseCountdown {
public:
    enum class Variant {
        // Stops on its run's stop request and clears the label at the end of the countdown.
        SendingJob,
        // Ignores stop requests (its sender ends it) and shows "0 Second." for a second at the end.
        AndroidWindow,
    };

    PauseCountdown(Variant variant, std::function<void(const QString&)> showLabel);
    ~PauseCountdown();

    std::atomic<int> GSM_Pause_Delay_Time{0}; // remaining pause in milliseconds; 0 when idle
    // True while one of the owner's sending threads takes a pause: the others wait meanwhile.
    std::atomic<bool> Pause_Timer_Running{false};

    // The stop token is the run's Stop (a default token never stops).
    // Shows the countdown text for a duration in milliseconds (or ends the countdown, see Variant).
    void Calculate_Pause_Time(int milliseconds, std::stop_token stop = {});
    // Starts the one-second countdown on its own thread (Pausing_Timer_Thread).
    void startCountdown(std::stop_token stop = {});
    // Ends the countdown thread; it stops at once and leaves the flags to the caller.
    void endCountdown();
    // One countdown tick; false when the countdown is over.
    bool Pause_Timer_Func(std::stop_token stop = {});

    void clearLabel() { m_showLabel(QString()); }

private:
    Variant m_variant;
    std::function<void(const QString&)> m_showLabel;
    TickerThread m_timer{QStringLiteral("pause-countdown")};
    std::atomic<bool> m_endedByOwner{false};
};
