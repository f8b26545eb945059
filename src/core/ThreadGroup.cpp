#include "ThreadGroup.h"

#include "MainThread.h"

void ThreadGroup::spawn(const QString& name, std::function<void()> body) {
    std::lock_guard lock(m_mutex);
    ++m_running;
    m_threads.push_back(std::make_unique<WorkerThread>(name));
    m_threads.back()->start([this, body = std::move(body)](std::stop_token) {
        body();
        --m_running;
        MainThread::wakeWaiters();
    });
}

void ThreadGroup::join() {
    // Wait until none runs, then join those started so far, outside the lock; one started
    // meanwhile is joined on the next round.
    for (;;) {
        MainThread::waitUntil([this] { return m_running == 0; });
        std::vector<std::unique_ptr<WorkerThread>> ended;
        {
            std::lock_guard lock(m_mutex);
            ended.swap(m_threads);
        }
        if (ended.empty())
            return;
        for (const auto& thread : ended)
            thread->join();
    }
}
