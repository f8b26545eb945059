#include "ListLoad.h"

#include "core/Counted.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "list/windows/BulkSmsWindow.h"

#include <QPointer>

ListLoad& ListLoad::of(BulkSmsWindow& window) {
    if (auto* load = window.findChild<ListLoad*>(QString(), Qt::FindDirectChildrenOnly))
        return *load;
    return *new ListLoad(window);
}

ListLoad::ListLoad(BulkSmsWindow& window) : QObject(&window), m_window(window) {}

ListLoad::~ListLoad() {
    m_cancel = true;
    m_thread.join();
}

QString ListLoad::progressText() const {
    return QStringLiteral("%1 read").arg(
        counted(m_rows.load(), QStringLiteral("row"), QStringLiteral("rows")));
}

bool ListLoad::start(Work work, Done done, bool replaceList) {
    if (m_running)
        return false;
    m_cancel = false;
    m_rows = 0;
    m_fraction = 0;
    m_replace = replaceList;
    m_counters = {};
    m_window.holdInserts(replaceList);
    m_running = true;
    emit runningChanged(true);
    emit progressChanged();
    // The worker gets the work by value; the window's list is only read there, and the
    // records it accepts wait in the window's hold until the main thread commits them.
    const QPointer<ListLoad> self(this);
    m_thread.start([this, self, work = std::move(work), done = std::move(done)](std::stop_token) {
        const bool succeeded = Guard::run(
            "A load into the list failed", [&] { return work(*this); }, false);
        MainThread::post([self, succeeded, done] {
            if (self)
                self->finish(succeeded, done);
        });
    });
    return true;
}

void ListLoad::accept(const QString& raw, const QString& message) {
    m_window.insertIfAble(raw, message, m_counters);
}

void ListLoad::setProgress(qint64 rowsRead, double fraction) {
    m_rows = rowsRead;
    m_fraction = fraction;
    // At most one update waits for the main thread at a time, however fast rows come.
    if (!m_progressPosted.exchange(true))
        MainThread::post([self = QPointer<ListLoad>(this)] {
            if (!self)
                return;
            self->m_progressPosted = false;
            emit self->progressChanged();
        });
}

void ListLoad::finish(bool succeeded, const Done& done) {
    m_thread.join();
    const bool commit = succeeded && !m_cancel;
    m_window.releaseInserts(commit);
    m_window.setLastLoad(m_counters);
    m_running = false;
    emit progressChanged();
    emit runningChanged(false);
    if (done)
        done(commit, m_counters);
}
