#pragma once
// The activity bar of a sending run: every half second it asks for one step forward.
#include "core/TickerThread.h"

#include <functional>

class ActivityIndicator {
public:
    // advance() runs on the indicator's thread; it should hand the change to the main thread.
    explicit ActivityIndicator(std::function<void()> advance) : m_advance(std::move(advance)) {}

    void startTimerThread();
    void stop() { m_timer.stop(); }
    bool isRunning() const { return m_timer.isRunning(); }

private:
    std::function<void()> m_advance;
    TickerThread m_timer{QStringLiteral("activity-bar")};
};
