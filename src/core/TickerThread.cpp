#include "TickerThread.h"

#include <thread>

using namespace std::chrono_literals;

void TickerThread::endWorker() {
    m_worker.requestStop();
    if (m_tickerId.load() == std::this_thread::get_id())
        return; // from a tick: the ticker ends after it
    // A tick never waits for the main thread, so the wait does not turn the main thread's
    // events: an event handled meanwhile could start or stop this very ticker again.
    while (m_worker.isRunning())
        std::this_thread::sleep_for(100us);
    m_worker.join();
}

void TickerThread::start(Clock::Duration interval, Tick tick) {
    std::lock_guard lock(m_control);
    endWorker();
    m_worker.start([this, interval, tick = std::move(tick)](std::stop_token stop) {
        m_tickerId = std::this_thread::get_id();
        while (Clock::sleepUnless(interval, [&stop] { return stop.stop_requested(); }))
            if (!tick())
                break;
        m_tickerId = std::thread::id();
    });
}

void TickerThread::stop() {
    std::lock_guard lock(m_control);
    endWorker();
}
