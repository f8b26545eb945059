#include "TickerThread.h"

void TickerThread::start(Clock::Duration interval, Tick tick) {
    std::lock_guard lock(m_control);
    m_stop = true;
    if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id())
        m_thread.join();
    m_stop = false;
    m_running = true;
    m_thread = std::thread([this, interval, tick = std::move(tick)] {
        while (Clock::sleepUnless(interval, [this] { return m_stop.load(); }))
            if (!tick())
                break;
        m_running = false;
    });
}

void TickerThread::stop() {
    std::lock_guard lock(m_control);
    m_stop = true;
    if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id())
        m_thread.join();
}
