#include "MainThread.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

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
    QMetaObject::invokeMethod(QCoreApplication::instance(), fn, Qt::BlockingQueuedConnection);
}

} // namespace MainThread
