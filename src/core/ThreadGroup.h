#pragma once
// Threads one owner starts and ends together: any of them may start another while it ends,
// and join() returns once none runs. They stop on their owner's own token, not on theirs.
#include "WorkerThread.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class ThreadGroup {
public:
    void spawn(const QString& name, std::function<void()> body);
    // Waits until no thread of the group runs, then joins them all.
    void join();
    bool running() const { return m_running > 0; }

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<WorkerThread>> m_threads;
    std::atomic<int> m_running{0};
};
