#pragma once
// A bulk load into a window's list that runs on its own thread: the work reads its source
// and passes every candidate through the window's insert filter, while the records it
// accepts wait beside the list (counting for the duplicate check). When the work is done
// they go in at the end, in their order, in one insertion, after the list is emptied if the
// operator chose to replace it; Cancel drops them, so a cancelled load leaves the list as it
// was. The window shows the rows read and a Cancel button meanwhile, and disables every
// control that could change the list. One load per window at a time.
#include <QObject>
#include <QString>

#include "LoadCounters.h"
#include "core/WorkerThread.h"

#include <atomic>
#include <functional>

class BulkSmsWindow;

class ListLoad : public QObject {
    Q_OBJECT
public:
    static ListLoad& of(BulkSmsWindow& window);
    ~ListLoad() override;

    // Runs on the loading thread; false when the source failed (what was accepted is then
    // dropped, as by Cancel). It reports progress and checks cancelled() as it goes.
    using Work = std::function<bool(ListLoad& load)>;
    // Runs on the main thread once the load has ended: committed is false after Cancel or
    // a failure; counts is what the load counted (the window keeps it as its last load).
    using Done = std::function<void(bool committed, const LoadCounters& counts)>;

    // Starts the work; false (doing nothing) while another load runs. replaceList empties
    // the list when the accepted records go in.
    bool start(Work work, Done done, bool replaceList = false);

    // ---- called by the work, on the loading thread ----
    // The insert filter, then the wait beside the list.
    void accept(const QString& raw, const QString& message);
    // The load's counters, filled by accept; the work adds what its source alone knows.
    LoadCounters& counters() { return m_counters; }
    void setProgress(qint64 rowsRead, double fraction);
    bool cancelled() const { return m_cancel; }

    // ---- the window's view ----
    void Cancel() { m_cancel = true; }
    bool isRunning() const { return m_running; }
    qint64 rowsRead() const { return m_rows; }
    double fraction() const { return m_fraction; }
    QString progressText() const;

signals:
    void runningChanged(bool running);
    void progressChanged();

private:
    explicit ListLoad(BulkSmsWindow& window);
    void finish(bool succeeded, const Done& done);

    BulkSmsWindow& m_window;
    WorkerThread m_thread{QStringLiteral("List_Load")};
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_cancel{false};
    std::atomic<bool> m_progressPosted{false};
    std::atomic<qint64> m_rows{0};
    std::atomic<double> m_fraction{0};
    bool m_replace = false;
    LoadCounters m_counters; // the loading thread's while it runs
};
