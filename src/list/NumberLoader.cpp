#include "NumberLoader.h"

#include "ListLoad.h"
#include "NumberCandidates.h"
#include "NumberFileReader.h"
#include "SpreadsheetLoads.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "list/windows/BulkSmsWindow.h"
#include "list/windows/Load_Num_Info.h"
#include "list/windows/Manually_Add_Num.h"
#include "text/NumberRules.h"
#include "text/RtfConverter.h"
#include "text/TextFileDecoder.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

NumberLoader& NumberLoader::of(BulkSmsWindow& window) {
    if (auto* loader = window.findChild<NumberLoader*>(QString(), Qt::FindDirectChildrenOnly))
        return *loader;
    return *new NumberLoader(window);
}

NumberLoader::NumberLoader(BulkSmsWindow& window) : QObject(&window), m_window(window) {
    ListLoad& load = ListLoad::of(window);
    connect(&load, &ListLoad::runningChanged, this, [this](bool running) {
        emit loadingChanged(running);
        emit pleaseWaitChanged(running);
    });
}

NumberLoader::~NumberLoader() = default;

bool NumberLoader::isLoading() const { return ListLoad::of(m_window).isRunning(); }

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
    m_window.replaceListOnNextLoad = false;
    if (m_window.list().isEmpty())
        return true;
    Load_Num_Info question;
    const int code = m_window.op().runModal(question);
    // Yes replaces the list, but only once the load is done: a cancelled load keeps it.
    m_window.replaceListOnNextLoad = code == 1;
    return code == 1 || code == 0;
}

void NumberLoader::Load_Number() {
    if (isLoading())
        return;
    if (!beginBulkLoad())
        return;
    const QString path = m_window.op().chooseFileToOpen(fileExtensions());
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().toLower() == QLatin1String("xlsx")) {
        m_window.prev_list_item = m_window.list().size();
        SpreadsheetLoads* loads = m_window.spreadsheetLoads();
        if (loads == nullptr) {
            Show_NSLog_Message(QStringLiteral("No column import available for %1").arg(path));
            return;
        }
        loads->openColumnImport(m_window, path,
                                m_window.kind() == MainWindowController::Kind::Android
                                    ? QStringLiteral("AND")
                                    : QStringLiteral("GSM"));
        m_window.replaceListOnNextLoad = false;
        m_window.Update_List_Count();
        return;
    }
    Load_Num_Func(path);
}

void NumberLoader::Load_Num_Func(const QString& path) {
    const bool replace = std::exchange(m_window.replaceListOnNextLoad, false);
    m_window.prev_list_item = replace ? 0 : m_window.list().size();
    const QString message = m_window.composerText().left(kMaxMessageLength);
    // What the loading thread found out, read on the main thread once it is done.
    auto failure = std::make_shared<QString>();
    ListLoad::of(m_window).start(
        [path, message, failure](ListLoad& load) {
            NumberFileReader reader;
            const bool opened = reader.open(path, *failure);
            QStringList batch;
            qint64 read = 0;
            for (bool more = opened; more && !load.cancelled();) {
                more = reader.next(batch);
                for (const QString& candidate : std::as_const(batch))
                    load.accept(candidate, message);
                read += batch.size();
                load.setProgress(read, reader.fraction());
                batch.clear();
            }
            load.counters().TOT_PROC += reader.cutLines(); // readable records, and no numbers
            load.counters().ignoredCells += reader.ignoredCells();
            if (load.cancelled() || (opened && !reader.failed() && reader.hadText()))
                return true;
            if (failure->isEmpty())
                *failure = corruptedFileMessage();
            Show_NSLog_Message(QStringLiteral("Loading numbers from %1 failed").arg(path));
            return false;
        },
        [this, failure](bool committed, const LoadCounters& counts) {
            if (!failure->isEmpty())
                m_window.op().Show_MessageBox(*failure);
            else if (committed)
                reportIfNothingAdded(counts);
        },
        replace);
}

void NumberLoader::reportIfNothingAdded(const LoadCounters& counts) {
    if (m_window.list().isEmpty() || m_window.list().size() == m_window.prev_list_item)
        m_window.op().Show_MessageBox(counts.summary());
}

void NumberLoader::Manually_Add_Btn() {
    if (isLoading() || !beginBulkLoad())
        return;
    m_window.prev_list_item = m_window.replaceListOnNextLoad ? 0 : m_window.list().size();
    Manually_Add_Num dialog(m_window);
    m_window.op().runModal(dialog); // the load it starts reports when it is done
    m_window.replaceListOnNextLoad = false;
}

void NumberLoader::Excel_Msg_Load_Btn() {
    if (isLoading() || !beginBulkLoad())
        return;
    SpreadsheetLoads* loads = m_window.spreadsheetLoads();
    if (loads == nullptr) {
        Show_NSLog_Message(QStringLiteral("No spreadsheet message window available"));
        return;
    }
    loads->openDynamicMessages(m_window);
    m_window.replaceListOnNextLoad = false;
    m_window.Update_List_Count();
}
