#include "WorkerThread.h"

#include "MainThread.h"

#include <pthread.h>

WorkerThread::WorkerThread(QString name) : m_name(std::move(name)) {}

WorkerThread::~WorkerThread() {
    requestStop();
    join();
}

void WorkerThread::start(Body body) {
    requestStop();
    join();
    m_running = true;
    m_thread = std::jthread([this, body = std::move(body)](std::stop_token stop) {
        pthread_setname_np(pthread_self(), m_name.left(15).toUtf8().constData());
        body(std::move(stop));
        m_running = false;
        MainThread::wakeWaiters();
    });
}

void WorkerThread::join() {
    if (!m_thread.joinable() || m_thread.get_id() == std::this_thread::get_id())
        return;
    MainThread::waitUntil([this] { return !m_running; });
    // A hand-off run during the wait may have joined this thread already.
    if (m_thread.joinable())
        m_thread.join();
}
