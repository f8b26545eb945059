#include "NumberLoader.h"

#include "BulkSmsWindow.h"
#include "LoadCounters.h"
#include "Load_Num_Info.h"
#include "Manually_Add_Num.h"
#include "NumberCandidates.h"
#include "NumberFileReader.h"
#include "SpreadsheetLoads.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "text/NumberRules.h"
#include "text/RtfConverter.h"
#include "text/TextFileDecoder.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

namespace {
// Candidates filtered and inserted per hand-over to the main thread: large enough to keep
// the hand-over cost small, small enough to keep the interface responsive.
constexpr qsizetype kBatch = 2000;
} // namespace

NumberLoader& NumberLoader::of(BulkSmsWindow& window) {
    if (auto* loader = window.findChild<NumberLoader*>(QString(), Qt::FindDirectChildrenOnly))
        return *loader;
    return *new NumberLoader(window);
}

NumberLoader::NumberLoader(BulkSmsWindow& window) : QObject(&window), m_window(window) {
    m_pump.setInterval(1);
    connect(&m_pump, &QTimer::timeout, this, &NumberLoader::runPendingTask);
}

NumberLoader::~NumberLoader() {
    m_stopping = true;
    // The loading thread may be waiting for the main thread (this one): serve it until it ends.
    while (m_loading) {
        runPendingTask();
        std::this_thread::yield();
    }
    m_thread.join();
}

void NumberLoader::runOnMain(const std::function<void()>& fn) {
    if (MainThread::isCurrent()) {
        fn();
        return;
    }
    std::unique_lock lock(m_taskMutex);
    m_task = &fn;
    m_taskDone.wait(lock, [this] { return m_task == nullptr; });
}

void NumberLoader::runPendingTask() {
    std::unique_lock lock(m_taskMutex);
    if (m_task == nullptr || m_taskRunning)
        return; // nothing waiting, or a message box of the task is spinning the event loop
    m_taskRunning = true;
    const std::function<void()>* task = m_task;
    lock.unlock();
    (*task)();
    lock.lock();
    m_taskRunning = false;
    m_task = nullptr;
    m_taskDone.notify_all();
}

QStringList NumberLoader::fileExtensions() {
    return {QStringLiteral("txt"), QStringLiteral("TXT"), QStringLiteral("rtf"),  QStringLiteral("RTF"),
            QStringLiteral("csv"), QStringLiteral("CSV"), QStringLiteral("xlsx"), QStringLiteral("XLSX")};
}

QString NumberLoader::corruptedFileMessage() {
    return QStringLiteral(
        "Either file is corrupted or selected file contains invalid characters.\n\nOR\n\nRecipient "
        "number is skipped because of using 'Skip Duplicate Numbers' or 'Exclusion List' option.");
}

bool NumberLoader::beginBulkLoad() {
    if (m_window.Add_Number_In_List_First())
        return false;
    m_window.setNumberField(QString());
    if (m_window.list().isEmpty())
        return true;
    Load_Num_Info question;
    const int code = m_window.op().runModal(question);
    if (code == 1) {
        m_window.list().clear();
        m_window.setSelectedRows({});
        return true;
    }
    return code == 0;
}

void NumberLoader::Load_Number() {
    if (m_loading)
        return;
    if (!beginBulkLoad())
        return;
    const QString path = m_window.op().chooseFileToOpen(fileExtensions());
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().toLower() == QLatin1String("xlsx")) {
        m_window.prev_list_item = m_window.list().size();
        SpreadsheetLoads* loads = SpreadsheetLoads::installed();
        if (loads == nullptr) {
            Show_NSLog_Message(QStringLiteral("No column import available for %1").arg(path));
            return;
        }
        loads->openColumnImport(path, m_window.kind() == MainWindowController::Kind::Android
                                          ? QStringLiteral("AND")
                                          : QStringLiteral("GSM"));
        m_window.Update_List_Count();
        return;
    }
    startFileLoad(path);
}

void NumberLoader::startFileLoad(const QString& path) {
    setLoading(true);
    m_pump.start();
    m_thread.start([this, path](std::stop_token) {
        Load_Num_Func(path);
        runOnMain([this] {
            m_pump.stop();
            setLoading(false);
        });
    });
}

void NumberLoader::setLoading(bool loading) {
    if (m_loading.exchange(loading) != loading)
        emit loadingChanged(loading);
}

void NumberLoader::setPleaseWait(bool visible) {
    runOnMain([this, visible] {
        if (m_pleaseWait.exchange(visible) != visible)
            emit pleaseWaitChanged(visible);
    });
}

void NumberLoader::Load_Num_Func(const QString& path) {
    const bool loaded = Guard::run("NumberLoader::Load_Num_Func", [&] {
        QString message;
        runOnMain([&] {
            m_window.prev_list_item = m_window.list().size();
            assign_format_skip_exclude_var();
            message = m_window.composerText().left(kMaxMessageLength);
        });
        setPleaseWait(true);

        // The file is read as a stream: candidates go to the list a batch at a time.
        NumberFileReader reader;
        QString failure;
        const bool opened = reader.open(path, failure);
        QStringList batch;
        bool more = opened;
        while (more && !m_stopping) {
            more = reader.next(batch);
            if (batch.size() >= kBatch || (!more && !batch.isEmpty())) {
                runOnMain([&] { insertCandidates(batch, message); });
                batch.clear();
            }
        }
        ignoredCells += reader.ignoredCells();
        if (!opened || reader.failed() || !reader.hadText()) {
            setPleaseWait(false);
            const QString shown = failure.isEmpty() ? corruptedFileMessage() : failure;
            runOnMain([&] { m_window.op().Show_MessageBox(shown); });
            return;
        }
        setPleaseWait(false);
        reportIfNothingAdded();
    });
    if (!loaded) {
        Show_NSLog_Message(QStringLiteral("Loading numbers from %1 failed").arg(path));
        setPleaseWait(false);
    }
}

void NumberLoader::insertCandidates(const QStringList& candidates, const QString& message) {
    BulkSmsWindow::BatchInsert batch(m_window);
    for (const QString& candidate : candidates) {
        const QString number = m_window.Num_Able_To_insert(candidate);
        if (!number.isEmpty())
            m_window.Create_Num_Msg_List(number, message);
    }
}

void NumberLoader::reportIfNothingAdded() {
    runOnMain([this] {
        if (!m_stopping && (m_window.list().isEmpty() || m_window.list().size() == m_window.prev_list_item))
            m_window.op().Show_MessageBox(format_skip_exclude_str());
    });
}

void NumberLoader::Manually_Add_Btn() {
    if (!beginBulkLoad())
        return;
    m_window.prev_list_item = m_window.list().size();
    Manually_Add_Num dialog(m_window);
    if (m_window.op().runModal(dialog) == 1)
        reportIfNothingAdded();
}

void NumberLoader::Excel_Msg_Load_Btn() {
    if (!beginBulkLoad())
        return;
    SpreadsheetLoads* loads = SpreadsheetLoads::installed();
    if (loads == nullptr) {
        Show_NSLog_Message(QStringLiteral("No spreadsheet message window available"));
        return;
    }
    loads->openDynamicMessages();
    m_window.Update_List_Count();
}

// ---- the hand-over to the spreadsheet windows ----

namespace {
std::atomic<SpreadsheetLoads*> g_spreadsheetLoads{nullptr};
}

void SpreadsheetLoads::install(SpreadsheetLoads* loads) { g_spreadsheetLoads = loads; }
SpreadsheetLoads* SpreadsheetLoads::installed() { return g_spreadsheetLoads; }
