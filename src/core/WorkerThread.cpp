#include "WorkerThread.h"

#include "MainThread.h"

#include <QCoreApplication>

#include <pthread.h>

using namespace std::chrono_literals;

void waitKeepingEventsFlowing(const std::function<bool()>& done) {
    const bool pumpEvents = MainThread::isCurrent() && QCoreApplication::instance() != nullptr;
    while (!done()) {
        if (pumpEvents)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        std::this_thread::sleep_for(1ms);
    }
}

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
    });
}

void WorkerThread::join() {
    if (!m_thread.joinable() || m_thread.get_id() == std::this_thread::get_id())
        return;
    waitKeepingEventsFlowing([this] { return !m_running; });
    // Events handled during the wait may have joined this thread already.
    if (m_thread.joinable())
        m_thread.join();
}
