#pragma once
// One worker thread with one owner: it runs a body that is handed a stop token, and is
// joined in one place. Workers hand their changes to the main thread (MainThread::post,
// invokeAndWait) and may wait for it while they finish, so a join on the main thread runs
// those hand-offs, and only those (MainThread::waitUntil), until the body has returned: no
// click or timer is handled inside a join. Nothing waits by turning the event loop.
// Workers get copies of what they need; the owner's data stays the owner's.
#include <QString>

#include <atomic>
#include <functional>
#include <stop_token>
#include <thread>

class WorkerThread {
public:
    using Body = std::function<void(std::stop_token)>;

    // The name shows in debuggers and `top -H` (the first 15 characters).
    explicit WorkerThread(QString name = QStringLiteral("worker"));
    // Asks the body to stop and waits for it.
    ~WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // Runs body on a new thread; a previous body is first asked to stop and joined.
    void start(Body body);
    void requestStop() { m_thread.request_stop(); }
    bool stopRequested() const { return m_thread.get_stop_token().stop_requested(); }
    // True from start() until the body has returned.
    bool isRunning() const { return m_running; }
    // Waits for the body to return (no stop asked); on the main thread, what the body handed
    // over has run when it returns. From the worker itself it returns at once.
    void join();

private:
    QString m_name;
    std::jthread m_thread;
    std::atomic<bool> m_running{false};
};
