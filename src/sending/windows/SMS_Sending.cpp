#include "SMS_Sending.h"

#include "Gsm_Bulk_Sms_Wnd.h"
#include "SendingItemRows.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "delivery/DelayedDeliveryPause.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemHotplug.h"
#include "gsm/windows/SimPinDialog.h"
#include "services/DeviceSettingsMemory.h"
#include "services/NewModemIntake.h"
#include "stores/SentItemFile.h"

using namespace std::chrono_literals;

namespace {
const QString kNotice = QStringLiteral("Please do not operate your mobile device while message sending "
                                       "process is going on. Operating the mobile "
                                       "device functions during the messaging process may interrupt the "
                                       "execution and may result errors in process.");
const QStringList kItemColumns = {kNumberKey,   kMessageKey,     kItemCurrentStatusKey, kItemStatusKey,
                                  kItemPortKey, kItemRetriesKey, kItemDeliveryKey};
} // namespace

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
    m_run = nullptr;
    m_plugging.reset();
    m_intake.reset();
    m_campaign.reset(); // its threads end before the window state they report to
}

QList<SendingItem> SMS_Sending::items() const { return m_run ? m_run->record().all() : QList<SendingItem>{}; }

// ---- threads ----

namespace {
// Sets a port's status beside it; "" takes it away.
void setPortStatus(QMap<QString, QString>& statuses, const QString& port, const QString& status) {
    if (status.isEmpty())
        statuses.remove(port);
    else
        statuses.insert(port, status);
}
} // namespace

void SMS_Sending::ui(std::function<void()> change) {
    MainThread::post([this, change = std::move(change)] {
        change();
        emit changed();
    });
}

void SMS_Sending::uiWait(std::function<void()> change) { onMain(change); }

void SMS_Sending::spawn(const QString& name, std::function<void()> body) {
    m_threads.spawn(name, std::move(body));
}

void SMS_Sending::joinThreads() { m_threads.join(); }

// ---- opening and loading ----

void SMS_Sending::Open_SMS_Sending_Dialog() {
    Guard::run("SMS_Sending::Open_SMS_Sending_Dialog", [this] {
        joinThreads(); // the threads of an earlier run have ended by now
        if (m_run)
            m_run->join();
        m_dlgClose = false;
        m_exportVisible = false;
        m_notYetSent = 0;
        m_stopEnabled = false;
        m_closeEnabled = true;
        m_markedAtEnd = false;
        curr_send_item_4_th = 0;
        m_portStatuses.clear();
        m_waitingNote.clear();
        wait_to_fins_running = false;
        // A scheduled campaign whose time came is sent from the store, the list left as it is.
        const std::optional<CampaignToSend> scheduled = m_window.takeScheduledRun();
        m_attached = scheduled.has_value();
        const RecordList rows = scheduled ? RecordList{} : m_window.rowsToSend();
        const int total = scheduled ? int(scheduled->total) : int(rows.size());
        tot_main_list_count = total;
        m_table.clear();
        m_overallMax = total;
        m_overallValue = 0;
        m_activityValue = 0;
        m_activityVisible = false;
        m_stopVisible = true;
        m_pauseLabel.clear();
        m_state = RunState::Populating;
        m_notice = QStringLiteral("It may take a while, Please wait...\n\n") + kNotice;
        m_title = kSendingTitle;
        m_totalLabel = QString::number(total);
        Show_curr_msg_count(total, 1);
        const RunSettings settings = scheduled ? m_window.runSettingsOf(*scheduled) : m_window.runSettings();
        m_deliveryReports = settings.deliveryReports;
        DelayedDeliveryPause::Hooks hooks{
            [this] { ui([] {}); },
            [this](bool visible) { ui([this, visible] { m_progressTextVisible = visible; }); },
            [this] { m_activity.stop(); }, [this] { m_activity.startTimerThread(); },
            [this] { ui([this] { m_activityValue = 0; }); }};
        Campaign campaign{
            settings, {}, scheduled ? 0 : m_window.carriedRun().take(), scheduled ? scheduled->id : 0};
        campaign.rows.reserve(rows.size());
        for (const Record& row : rows)
            campaign.rows.append(
                {recipientNumber(row), row.value(kMessageKey)}); // E.164 when the list has it
        const auto lineNotWorking = [this] { m_op.Show_MessageBox(kPortNotWorking); };
        // A modem still searching for a network says so beside its port until it is on one.
        const auto waiting = [this](const QString& port, const QString& status) {
            ui([this, port, status] { setPortStatus(m_portStatuses, port, status); });
        };
        m_plugging.reset();
        m_intake.reset();
        m_campaign = std::make_unique<CampaignRun>(m_window.dataFolder(), std::move(campaign),
                                                   modemOpeners(chosenModems(), lineNotWorking, waiting),
                                                   m_op, m_pause, hooks);
        m_run = &m_campaign->run();
        startIntake();
        watch(*m_run);
        emit changed();
        m_campaign->start();
        // The prescribed second before the job shows (sooner when the run stops meanwhile): the
        // window takes its events meanwhile, and the loader's first rows may already reach the
        // table. Shown even when stopped: the job window is where the stopped run comes to its
        // end, and whoever waits on it (the command line's results) must not go on before.
        m_windowPending = true;
        const std::stop_token stop = m_run->stopToken();
        Clock::after(
            1s, this,
            [this] {
                Guard::run("SMS_Sending::Open_SMS_Sending_Dialog", [this] { m_op.runModal(*this); });
                m_windowPending = false;
                m_window.replies().update(); // the modems are free again
            },
            [stop] { return stop.stop_requested(); });
    });
}

void SMS_Sending::startIntake() {
    if (!m_window.takeNewModems())
        return;
    QList<SmsMode> modes;
    for (const ModemChoice& modem : chosenModems())
        modes << modem.details.mode;
    const SmsMode mode =
        !modes.isEmpty() && modes.count(modes.first()) == modes.size() ? modes.first() : SmsMode::Unknown;
    m_intake = std::make_unique<NewModemIntake>(
        *m_run, DeviceSettingsMemory(m_window.dataFolder()).read(), mode,
        [this](const QString& line) {
            ui([this, line] { m_portStatuses.insert(QStringLiteral("Plugged in"), line); });
        },
        SimPinDialog::asking(m_op)); // a locked SIM: the operator is asked, as in the device search
    // The watch lives on the window's thread; the intake probes each modem on a thread of its own.
    m_plugging = std::make_unique<ModemHotplug>();
    connect(m_plugging.get(), &ModemHotplug::plugged, this,
            [this](const ModemPortGroups::Group& modem) { m_intake->take(modem); });
    connect(m_plugging.get(), &ModemHotplug::storageMode, this,
            [this](const QString& line) { m_portStatuses.insert(QStringLiteral("Plugged in"), line); });
    m_plugging->start();
}

QList<ModemChoice> SMS_Sending::chosenModems() const {
    const QStringList& ports = m_window.sendingPorts();
    const QString chosen = m_window.sendingPortChoice();
    QStringList paths;
    if (chosen == kAllDeviceChoice) {
        for (const QString& path : ports)
            if (path != kAllDeviceChoice)
                paths << path;
    } else if (ports.contains(chosen)) {
        paths << chosen;
    }
    QList<ModemChoice> modems;
    for (const QString& path : paths)
        modems << m_window.modemChoice(path);
    return modems;
}

void SMS_Sending::watch(SendingRun& run) {
    connect(&run, &SendingRun::loading, this,
            [this](int loaded) { Show_curr_msg_count(tot_main_list_count, loaded); });
    connect(&run, &SendingRun::loaded, this, &SMS_Sending::afterLoading);
    connect(&run, &SendingRun::sendingStarted, this, [this] {
        m_stopEnabled = true;
        emit changed();
    });
    connect(&run, &SendingRun::itemChanged, this, &SMS_Sending::showItem);
    connect(&run, &SendingRun::itemsStopped, this,
            [this](const QList<int>& indexes, const QList<SendingItem>& items) {
                for (qsizetype i = 0; i < indexes.size(); ++i) {
                    m_table.replace(indexes.at(i), itemRecord(items.at(i)));
                    ++curr_send_item_4_th;
                }
                m_markedAtEnd = true;
                emit changed();
            });
    connect(&run, &SendingRun::partSending, this, [this](int index, int part, int parts) {
        if (index < 0 || index >= m_table.size())
            return;
        Record row = m_table.at(index);
        row.insert(kItemCurrentStatusKey, partsText(part, parts));
        m_table.replace(index, row);
        emit changed();
    });
    connect(&run, &SendingRun::deviceNote, this, [this](const QString& port, const QString& note) {
        m_portStatuses.insert(port, note);
        emit changed();
    });
    connect(&run, &SendingRun::deviceNotice, this, [this](const QString& port, const QString& notice) {
        m_portStatuses.insert(port, notice);
        emit changed();
    });
    connect(&run, &SendingRun::recipientsWaiting, this, [this](const QString& note) {
        m_waitingNote = note;
        emit changed();
    });
    connect(&run, &SendingRun::activity, this, [this](int value) {
        m_activityValue = value;
        if (value == 0)
            m_pauseLabel.clear();
        emit changed();
    });
    connect(&run, &SendingRun::waitingForReports, this, [this](int awaiting) {
        m_pauseLabel = awaiting > 0 ? QStringLiteral("Waiting for delivery reports: %1 to come").arg(awaiting)
                                    : QString();
        emit changed();
    });
    connect(&run, &SendingRun::devicesReleased, this, &SMS_Sending::afterDevicesReleased);
}

void SMS_Sending::afterLoading(const QList<SendingItem>& loaded) {
    // A campaign taken up from the store loads nothing: its items are the store's.
    const QList<SendingItem> items = loaded.isEmpty() && m_attached ? m_run->record().all() : loaded;
    RecordList records;
    records.reserve(items.size());
    int finished = 0;
    for (const SendingItem& item : items) {
        records << itemRecord(item);
        finished += !item.status.isEmpty();
    }
    m_table.setRecords(records);
    Show_curr_msg_count(tot_main_list_count, int(records.size()));
    curr_send_item_4_th = finished;
    wait_to_fins_running = false;
    m_stopVisible = true;
    m_activityVisible = true;
    m_state = RunState::Sending;
    m_title = kSendingTitle;
    m_notice = QStringLiteral("It may take a while, Please wait...\n\n") + kNotice;
    m_totalLabel = QString::number(tot_main_list_count);
    Show_curr_msg_count(tot_main_list_count, curr_send_item_4_th);
    m_activity.startTimerThread();
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
    m_table.replace(index, itemRecord(item));
    if (counted) {
        ++curr_send_item_4_th;
        if (item.useStatus != UseStatus::Stopped)
            Show_curr_msg_count(tot_main_list_count, curr_send_item_4_th);
    }
    emit changed();
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
    const bool running = m_run && (m_run->anyWaitingOrSending() || m_run->reporting());
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
    m_pause.Pause_Timer_Running = false;
    emit changed();
}

void SMS_Sending::requestStop() {
    if (m_run)
        m_run->stop();
}

QString SMS_Sending::dataFailure() const { return m_run ? m_run->dataFailure() : QString(); }

bool SMS_Sending::confirmStop(const QString& question) {
    // Held before the question shows: a hesitating operator must not watch the run go on.
    if (m_run)
        m_run->hold(true);
    const bool yes = m_op.Show_YES_NO_MessageBox(question);
    if (!yes && m_run)
        m_run->hold(false);
    return yes;
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
    } else if (m_pause.Pause_Timer_Running) {
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
    } else if (m_pause.Pause_Timer_Running) {
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
