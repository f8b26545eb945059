#pragma once
// The bulk loads of a main window's list: numbers from a text, RTF or CSV file (read on a
// worker thread), a pasted block, and the hand-over of workbooks to the spreadsheet
// windows. One loader per window, created on first use as the window's child.
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include "core/WorkerThread.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

class BulkSmsWindow;

class NumberLoader : public QObject {
    Q_OBJECT
public:
    static NumberLoader& of(BulkSmsWindow& window);
    ~NumberLoader() override;

    // The window's three load buttons.
    void Load_Number();
    void Manually_Add_Btn();
    void Excel_Msg_Load_Btn();

    // Loads one text, RTF or CSV file into the list; runs on the loading thread (any thread
    // works: every change of the list happens on the main thread).
    void Load_Num_Func(const QString& path);

    // True from the start of a file load to its end; the Send button is disabled meanwhile.
    bool isLoading() const { return m_loading; }
    // Shown while a load runs.
    bool pleaseWaitVisible() const { return m_pleaseWait; }

    static QStringList fileExtensions();
    static QString corruptedFileMessage();

signals:
    void loadingChanged(bool loading);
    void pleaseWaitChanged(bool visible);

private:
    explicit NumberLoader(BulkSmsWindow& window);
    // The number field check and the keep-or-replace question; false stops the load.
    bool beginBulkLoad();
    void startFileLoad(const QString& path);
    void setPleaseWait(bool visible);
    void setLoading(bool loading);
    // Runs fn on the main thread while the calling thread waits. The hand-over is a mutex and
    // a timer of the main thread, so every step is visible to the thread sanitizer.
    void runOnMain(const std::function<void()>& fn);
    void runPendingTask();
    void insertCandidates(const QStringList& candidates, const QString& message);
    // After a load: the summary when nothing was added.
    void reportIfNothingAdded();

    BulkSmsWindow& m_window;
    WorkerThread m_thread{QStringLiteral("Load_NUM_Thread")};
    QTimer m_pump; // main thread: runs the loading thread's pending task
    std::mutex m_taskMutex;
    std::condition_variable m_taskDone;
    const std::function<void()>* m_task = nullptr;
    bool m_taskRunning = false;
    std::atomic<bool> m_loading{false};
    std::atomic<bool> m_pleaseWait{false};
    std::atomic<bool> m_stopping{false};
};
