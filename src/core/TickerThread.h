#pragma once
// A thread that calls a function at a fixed prescribed interval (through the scaled clock)
// until it is stopped or the function asks to finish. The repeating timers of a sending
// run (activity bar, pause countdown) run on these.
#include "Clock.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

class TickerThread {
public:
    // Return false from the tick to end the ticker from inside.
    using Tick = std::function<bool()>;

    TickerThread() = default;
    ~TickerThread() { stop(); }
    TickerThread(const TickerThread&) = delete;
    TickerThread& operator=(const TickerThread&) = delete;

    void start(Clock::Duration interval, Tick tick);
    // Asks the ticker to end and waits for it; a tick in progress finishes first. Starting
    // and stopping may come from several threads at once (they are serialised); from the
    // ticker's own thread, requestStop() is the way.
    void stop();
    void requestStop() { m_stop = true; }
    bool stopRequested() const { return m_stop; }
    bool isRunning() const { return m_running; }

private:
    std::mutex m_control; // start and stop, one at a time
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_running{false};
};
