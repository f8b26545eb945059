#pragma once
// Measures the longest time the main thread went without turning its events: a window that
// waits on a modem shows up as a long gap.
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>

class MainThreadWatchdog {
public:
    MainThreadWatchdog() {
        m_sinceLast.start();
        QObject::connect(&m_timer, &QTimer::timeout,
                         [this] { m_longest = std::max(m_longest, m_sinceLast.restart()); });
        m_timer.start(5);
    }
    qint64 longestGapMs() const { return std::max(m_longest, m_sinceLast.elapsed()); }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceLast;
    qint64 m_longest = 0;
};
