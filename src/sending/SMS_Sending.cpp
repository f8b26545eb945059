#include "SMS_Sending.h"

#include "Gsm_Bulk_Sms_Wnd.h"
#include "core/AppState.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/SendingFlags.h"
#include "core/SendingLock.h"
#include "core/TextUtils.h"
#include "delivery/DelayedDeliveryPause.h"

using namespace std::chrono_literals;

namespace {
const QString kNotice = QStringLiteral("Please do not operate your mobile device while message sending "
                                       "process is going on. Operating the mobile "
                                       "device functions during the messaging process may interrupt the "
                                       "execution and may result errors in process.");
const QStringList kItemColumns = {"Number",   "Message", "Current Status", "Status",
                                  "Use Port", "Retry",   "Delivery"};
} // namespace

Record SMS_Sending::recordOf(const SendingItem& item) {
    return Record{{"Number", item.number},
                  {"Message", item.message},
                  {"Use Port", item.usePort},
                  {"Use Status", useStatusText(item.useStatus)},
                  {"Current Status", item.currentStatus},
                  {"Status", item.status},
                  {"Retry", QString::number(std::max(0, item.attempts - 1))},
                  {"Delivery", item.delivery},
                  {"Sent item", "0"}};
}

SMS_Sending::SMS_Sending(Gsm_Bulk_Sms_Wnd& window, Operator& op, QObject* parent)
    : DialogController(parent), m_window(window), m_op(op), m_table(kItemColumns),
      m_pause(PauseCountdown::Variant::SendingJob,
              [this](const QString& text) { ui([this, text] { m_pauseLabel = text; }); }),
      m_activity([this] { ui([this] { m_activityValue = nextActivityValue(m_activityValue); }); }) {}

SMS_Sending::~SMS_Sending() {
    requestStop();
    m_activity.stop();
    m_pause.endCountdown();
    joinThreads();
}

// ---- threads ----

void SMS_Sending::ui(std::function<void()> change) {
    MainThread::post([this, change = std::move(change)] {
        change();
        emit changed();
    });
}

void SMS_Sending::uiWait(std::function<void()> change) { onMain(change); }

void SMS_Sending::spawn(const QString& name, std::function<void()> body) {
    // The run's threads stop on the run's token (m_stop), not on their own.
    std::lock_guard lock(m_threadsMutex);
    ++m_threadsRunning;
    m_threads.push_back(std::make_unique<WorkerThread>(name));
    m_threads.back()->start([this, body = std::move(body)](std::stop_token) {
        body();
        --m_threadsRunning;
    });
}

void SMS_Sending::joinThreads() {
    // A thread may start another while it ends (the dispatcher its ports, a port the
    // completion): wait until none runs, then join those started so far, outside the lock.
    for (;;) {
        waitKeepingEventsFlowing([this] { return m_threadsRunning == 0; });
        std::vector<std::unique_ptr<WorkerThread>> ended;
        {
            std::lock_guard lock(m_threadsMutex);
            ended.swap(m_threads);
        }
        if (ended.empty())
            return;
        for (const auto& thread : ended)
            thread->join();
    }
}

// ---- opening and loading ----

void SMS_Sending::Open_SMS_Sending_Dialog() {
    Guard::run("SMS_Sending::Open_SMS_Sending_Dialog", [this] {
        joinThreads(); // the threads of an earlier run have ended by now
        qint64 holder = 0;
        QString why;
        m_sendingLock = SendingLock::acquire(&holder, &why);
        if (!m_sendingLock) {
            m_op.Show_MessageBox(SendingLock::refusal(holder, why));
            return;
        }
        {
            std::lock_guard lock(m_failureMutex);
            m_dataFailure.clear();
        }
        m_held = false;
        m_stop = std::stop_source();
        m_dlgClose = false;
        m_exportVisible = false;
        m_stopEnabled = false;
        m_closeEnabled = true;
        curr_send_item_4_th = 0;
        m_sentAsUnicode = 0;
        m_activePorts = 0;
        m_portsToCome = 0;
        m_portStatuses.clear();
        wait_to_fins_running = false;
        const RecordList rows = m_window.list().records();
        tot_main_list_count = int(rows.size());
        m_items.reset({});
        m_table.clear();
        m_overallMax = int(rows.size());
        m_overallValue = 0;
        m_activityValue = 0;
        m_activityVisible = false;
        m_stopVisible = true;
        m_pauseLabel.clear();
        m_state = RunState::Populating;
        m_notice = QStringLiteral("It may take a while, Please wait...\n\n") + kNotice;
        m_title = kSendingTitle;
        m_totalLabel = QString::number(rows.size());
        Show_curr_msg_count(int(rows.size()), 1);
        copyRunOptions();
        emit changed();

        const QString selectedPath = sel_port_bsd_str;
        const std::stop_token stop = m_stop.get_token();
        spawn(QStringLiteral("sms-load"),
              [this, rows, selectedPath, stop] { Load_Thread(rows, selectedPath, stop); });
        // The prescribed second before the job shows: the window keeps repainting meanwhile,
        // and the loader's first rows may already reach the table.
        const auto shown = std::chrono::steady_clock::now() + Clock::scaled(1s);
        waitKeepingEventsFlowing(
            [&] { return stop.stop_requested() || std::chrono::steady_clock::now() >= shown; });
        // Shown even when stopped meanwhile: the job window is where the stopped run comes to its
        // end, and whoever waits on it (the command line's results) must not go on before.
        m_op.runModal(*this);
    });
}

void SMS_Sending::copyRunOptions() {
    m_options.schedule = m_window.delaySchedule();
    m_options.unicode = m_window.unicode();
    m_options.plainPunctuation = m_window.plainPunctuation();
    m_options.retries = m_window.retries();
    m_options.deliveryReports = m_window.deliveryReports();
    m_options.carried = m_window.takeCarriedEntries();
    m_options.flash = m_window.isFlashMessage();
    m_options.skipDuplicates = m_window.skipDuplicates();
    m_options.exclusion = m_window.exclusion();
    m_options.saveSentItems = m_window.saveSentItems();
    m_options.saveTemplates = m_window.saveTemplates();
    m_options.excludedNumbers.clear();
    if (m_options.exclusion)
        for (const Record& record : m_window.exclusionSet().records())
            m_options.excludedNumbers.insert(recipientNumber(record));
    copyPortDetails();
}

void SMS_Sending::Load_Thread(RecordList rows, QString selectedPath, std::stop_token stop) {
    QList<SendingItem> items;
    QSet<QString> numbers;
    int finished = 0;
    for (const Record& row : rows) {
        if (stop.stop_requested())
            break;
        SendingItem item;
        item.number = Trim_Str(recipientNumber(row)); // what is sent: E.164 when the list has it
        item.message = row.value("Message");
        if (item.number.isEmpty())
            continue;
        const bool excluded = m_options.exclusion && m_options.excludedNumbers.contains(item.number);
        const bool duplicate = m_options.skipDuplicates && numbers.contains(item.number);
        if (excluded || duplicate) {
            item.status = excluded ? kExcluded : kSkipped;
            item.useStatus = UseStatus::Done;
            item.currentStatus = kDone;
            item.usePort = selectedPath;
            ++finished;
        }
        numbers.insert(item.number);
        items << item;
        if (items.size() % 1000 == 0)
            ui([this, count = int(items.size())] { Show_curr_msg_count(tot_main_list_count, count); });
    }
    curr_send_item_4_th = finished;
    m_items.reset(items);
    // Nothing goes out before the run's record is on the disk.
    if (!m_journal.begin(items, m_options.carried))
        stopForData(recordFailure(m_journal.failure()));
    RecordList records;
    records.reserve(items.size());
    for (const SendingItem& item : items)
        records << recordOf(item);
    uiWait([this, records] {
        m_table.setRecords(records);
        Show_curr_msg_count(tot_main_list_count, int(records.size()));
    });
    afterLoading(stop);
}

void SMS_Sending::afterLoading(std::stop_token stop) {
    uiWait([this] {
        wait_to_fins_running = false;
        m_stopVisible = true;
        m_activityVisible = true;
        m_state = RunState::Sending;
        m_title = kSendingTitle;
        m_notice = QStringLiteral("It may take a while, Please wait...\n\n") + kNotice;
        m_totalLabel = QString::number(tot_main_list_count);
        Show_curr_msg_count(tot_main_list_count, curr_send_item_4_th);
    });
    if (!m_items.anyWaiting() || stop.stop_requested())
        Show_NSLog_Message(QStringLiteral("No item waits for sending, or a stop was asked."));
    m_activity.startTimerThread();
    m_runHolders = 1; // the dispatcher holds the run open until it has started every port
    m_startedWorkers = 0;
    spawn(QStringLiteral("sms-dispatch"), [this, stop] { GSM_Send_Multi_Phone_Msg_Function(stop); });
}

// ---- what the window shows ----

QString SMS_Sending::statusLine() const {
    switch (m_state) {
    case RunState::Populating: return kPopulating;
    case RunState::Sending: return kSendingTitle;
    case RunState::Finished: return kFinish;
    case RunState::Idle: break;
    }
    return QString();
}

void SMS_Sending::showItem(int index, const SendingItem& item, bool counted) {
    const Record record = recordOf(item);
    const bool stopped = item.useStatus == UseStatus::Stopped;
    uiWait([this, index, record, counted, stopped] {
        m_table.replace(index, record);
        if (counted) {
            ++curr_send_item_4_th;
            if (!stopped)
                Show_curr_msg_count(tot_main_list_count, curr_send_item_4_th);
        }
    });
}

void SMS_Sending::Show_curr_msg_count(int total, int current) {
    if (total <= 0)
        return;
    current = qBound(1, current, total);
    const int percent = current * 100 / total;
    m_progressText = QStringLiteral("%1 / %2 Message or %3%")
                         .arg(current)
                         .arg(total)
                         .arg(QString::number(percent, 'f', 2));
    m_shownCurrent = current;
    m_shownTotal = total;
    m_overallValue = current;
    emit changed();
    if (current == total && !Check_Current_Running_Status())
        Check_curr_tot_msg_Count();
}

bool SMS_Sending::Check_Current_Running_Status() {
    const bool running = m_items.anyWaitingOrSending() || m_reportingPorts > 0;
    if (!running && MainThread::isCurrent()) {
        m_closeEnabled = m_state == RunState::Finished || m_state == RunState::Populating;
        emit changed();
    }
    return running;
}

void SMS_Sending::Check_curr_tot_msg_Count() {
    // Completion starts once the progress shows every message counted.
    if (m_state == RunState::Populating || m_shownTotal <= 0 || m_shownCurrent != m_shownTotal)
        return;
    if (wait_to_fins_running || m_state == RunState::Finished)
        return;
    spawn(QStringLiteral("sms-finish"), [this] {
        Clock::sleep(2s);
        startCompletion();
    });
}

// ---- stop and close ----

void SMS_Sending::endPause() {
    m_pause.endCountdown();
    m_pause.GSM_Pause_Delay_Time = 0;
    m_pauseLabel.clear();
    Pause_Timer_Running = false;
    emit changed();
}

void SMS_Sending::requestStop() {
    Stop_SMS_Sending_Now = true;
    m_stop.request_stop();
    m_held = false;
}

QString SMS_Sending::dataFailure() const {
    std::lock_guard lock(m_failureMutex);
    return m_dataFailure;
}

QString SMS_Sending::recordFailure(const QString& why) {
    return QStringLiteral("Sending stopped: the run could not be recorded (%1).").arg(why);
}

void SMS_Sending::stopForData(const QString& why) {
    {
        std::lock_guard lock(m_failureMutex);
        if (m_dataFailure.isEmpty())
            m_dataFailure = why;
    }
    Show_NSLog_Message(why);
    requestStop();
}

bool SMS_Sending::confirmStop(const QString& question) {
    // Held before the question shows: a hesitating operator must not watch the run go on.
    m_held = true;
    const bool yes = m_op.Show_YES_NO_MessageBox(question);
    if (!yes)
        m_held = false;
    return yes;
}

bool SMS_Sending::waitWhileHeld(const std::stop_token& stop) {
    while (m_held && !stop.stop_requested())
        Clock::sleepUnless(std::chrono::milliseconds(50), [&] { return !m_held || stop.stop_requested(); });
    return !stop.stop_requested();
}

void SMS_Sending::stop_SMS_Sending(const QString& closeWindow) {
    if (!confirmStop(QStringLiteral("\nTerminating the current process will stop sending text messages "
                                    "to the remaining contact. Are you sure you want to continue?"))) {
        m_dlgClose = false;
        return;
    }
    m_dlgClose = closeWindow == QLatin1String("YES");
    stopNow();
}

void SMS_Sending::stopNow() {
    requestStop();
    endPause();
    if (!wait_to_fins_running && m_state != RunState::Finished && m_state != RunState::Idle) {
        m_closeEnabled = false;
        emit changed();
        spawn(QStringLiteral("sms-finish"), [this] { startCompletion(); });
    }
}

void SMS_Sending::Stop_Btn() {
    if (Check_Current_Running_Status()) {
        stop_SMS_Sending(QStringLiteral("NO"));
    } else if (Pause_Timer_Running) {
        if (confirmStop(QStringLiteral("Are you sure you want to continue?"))) {
            requestStop();
            endPause();
        }
    } else {
        Check_curr_tot_msg_Count();
    }
}

void SMS_Sending::CancelPressed() {
    if (m_state == RunState::Populating || Check_Current_Running_Status()) {
        stop_SMS_Sending(QStringLiteral("YES"));
    } else if (Pause_Timer_Running) {
        if (confirmStop(QStringLiteral("Are you sure you want to continue?"))) {
            m_dlgClose = true;
            requestStop();
            endPause();
            if (m_state == RunState::Finished)
                endModal(1);
        }
    } else if (m_state == RunState::Finished) {
        endModal(1);
    }
}
