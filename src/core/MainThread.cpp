#include "MainThread.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <condition_variable>
#include <mutex>

namespace MainThread {

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
    QMetaObject::invokeMethod(app, std::move(fn), Qt::QueuedConnection);
}

void invokeAndWaitVoid(const std::function<void()>& fn) {
    if (isCurrent()) {
        fn();
        return;
    }
    // Our own hand-shake rather than a blocking queued call: the waiting is then visible to
    // the thread sanitizer, which cannot see inside the Qt libraries.
    std::mutex mutex;
    std::condition_variable done;
    bool finished = false;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [&] {
            fn();
            std::lock_guard lock(mutex);
            finished = true;
            done.notify_one();
        },
        Qt::QueuedConnection);
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return finished; });
}

} // namespace MainThread
