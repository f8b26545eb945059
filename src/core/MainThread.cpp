#include "MainThread.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include <condition_variable>
#include <deque>
#include <mutex>

namespace MainThread {
namespace {

// Work handed to the main thread waits in our own queue under our own lock; Qt only
// carries an empty wake-up event. The hand-over is then visible to the thread sanitizer,
// which cannot see the locks inside the Qt libraries, and the order of posts is kept. There
// is one main thread per process, so there is one queue per process.
// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables)
std::mutex g_queueMutex;
std::deque<std::function<void()>> g_queue;
// Wakes waitUntil: work was queued, or what a done() reads has changed.
std::condition_variable g_queueChanged;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

void drain() {
    while (true) {
        std::function<void()> next;
        {
            std::lock_guard lock(g_queueMutex);
            if (g_queue.empty())
                return;
            next = std::move(g_queue.front());
            g_queue.pop_front();
        }
        next();
    }
}

// Qt hands our wake-up event (QEvent::User) to customEvent; the event itself is never
// read here, it only says that the queue may hold work.
class Dispatcher : public QObject {
protected:
    void customEvent(QEvent*) override { drain(); }
};

Dispatcher* dispatcher(QCoreApplication* app) {
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the main thread's one receiver
    static Dispatcher* instance = [app] {
        auto* d = new Dispatcher;
        d->moveToThread(app->thread());
        d->setParent(app); // goes with the application
        return d;
    }();
    return instance;
}

} // namespace

bool isCurrent() {
    QCoreApplication* app = QCoreApplication::instance();
    return app == nullptr || QThread::currentThread() == app->thread();
}

void post(std::function<void()> fn) {
    QCoreApplication* app = QCoreApplication::instance();
    if (app == nullptr) {
        fn();
        return;
    }
    {
        std::lock_guard lock(g_queueMutex);
        g_queue.push_back(std::move(fn));
    }
    g_queueChanged.notify_all();
    QCoreApplication::postEvent(dispatcher(app), new QEvent(QEvent::User));
}

void waitUntil(const std::function<bool()>& done) {
    const bool runsHandOffs = QCoreApplication::instance() != nullptr && isCurrent();
    std::unique_lock lock(g_queueMutex);
    while (true) {
        if (runsHandOffs && !g_queue.empty()) {
            lock.unlock();
            drain();
            lock.lock();
        } else if (done()) {
            break;
        } else {
            g_queueChanged.wait(lock);
        }
    }
    lock.unlock();
    if (runsHandOffs)
        drain();
}

void wakeWaiters() {
    // Taking the lock orders the change before a waiter's look at done(): no wake-up is lost.
    { std::lock_guard lock(g_queueMutex); }
    g_queueChanged.notify_all();
}

void invokeAndWaitVoid(const std::function<void()>& fn) {
    if (isCurrent()) {
        fn();
        return;
    }
    std::mutex mutex;
    std::condition_variable done;
    bool finished = false;
    post([&] {
        fn();
        std::lock_guard lock(mutex);
        finished = true;
        done.notify_one();
    });
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return finished; });
}

} // namespace MainThread
