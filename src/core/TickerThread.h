#pragma once
// A thread that calls a function at a fixed prescribed interval (through the scaled clock)
// until it is stopped or the function asks to finish. The repeating timers of a sending
// run (activity bar, pause countdown) run on these.
#include "Clock.h"
#include "WorkerThread.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

class TickerThread {
public:
    // Return false from the tick to end the ticker from inside.
    using Tick = std::function<bool()>;

    explicit TickerThread(QString name = QStringLiteral("ticker")) : m_worker(std::move(name)) {}
    ~TickerThread() { stop(); }
    TickerThread(const TickerThread&) = delete;
    TickerThread& operator=(const TickerThread&) = delete;

    void start(Clock::Duration interval, Tick tick);
    // Asks the ticker to end and waits for it; a tick in progress finishes first. Starting
    // and stopping may come from several threads at once (they are serialised). The ticker's
    // own thread ends it by returning false from the tick.
    void stop();
    bool isRunning() const { return m_worker.isRunning(); }

private:
    void endWorker();

    std::mutex m_control; // start and stop, one at a time
    WorkerThread m_worker;
    std::atomic<std::thread::id> m_tickerId{};
};
