#pragma once
// The GSM sending job: copies the GSM window's list into its own items, opens every chosen
// port into a session slot (two seconds apart) and runs one worker per working port until
// no item is left, with live statuses, delayed-delivery pauses, Stop and Close, and the
// closing messages. One instance, shown modally by the GSM window.
#include "RunJournal.h"
#include "SendingItems.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/WorkerThread.h"
#include "delivery/ActivityIndicator.h"
#include "delivery/DelaySchedule.h"
#include "delivery/PauseCountdown.h"
#include "gsm/SmsMode.h"

#include <QHash>
#include <QMap>
#include <QSet>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <vector>

class Gsm_Bulk_Sms_Wnd;
class MFCSMS;
class Operator;
class SendingLock;

class SMS_Sending : public DialogController {
    Q_OBJECT
public:
    SMS_Sending(Gsm_Bulk_Sms_Wnd& window, Operator& op, QObject* parent = nullptr);
    ~SMS_Sending() override;

    // Starts a run over the window's list and shows the job until it is closed.
    void Open_SMS_Sending_Dialog();

    // The item table the view shows (updated on the main thread).
    const RecordTable& itemTable() const { return m_table; }
    const SendingItems& items() const { return m_items; }

    // --- Window state.
    QString statusLine() const;
    QString notice() const { return m_notice; }
    QString title() const { return m_title; }
    QString totalLabel() const { return m_totalLabel; }
    QString progressText() const { return m_progressText; }
    int overallMaximum() const { return m_overallMax; }
    int overallValue() const { return m_overallValue; }
    int activityValue() const { return m_activityValue; }
    bool activityVisible() const { return m_activityVisible; }
    QString pauseLabel() const { return m_pauseLabel; }
    bool stopEnabled() const { return m_stopEnabled; }
    bool stopVisible() const { return m_stopVisible; }
    bool closeEnabled() const { return m_closeEnabled; }
    bool exportVisible() const { return m_exportVisible; }
    bool pleaseWaitShown() const { return m_pleaseWait; }
    bool progressTextVisible() const { return m_progressTextVisible; }
    // Messages of the run that went as Unicode although the Unicode option was off, because
    // the GSM alphabet cannot carry their text; and the line that says so ("" when none).
    int sentAsUnicode() const { return m_sentAsUnicode; }
    QString unicodeSummary() const;
    // Ports that left the run before its end, and why ("Left the run after 3 refusals ..."),
    // and ports whose modem would not hand over delivery reports.
    QMap<QString, QString> portStatuses() const { return m_portStatuses; }
    // Whether this run asked for delivery reports (the item table's "Delivery" column).
    bool deliveryReportsRequested() const { return m_options.deliveryReports; }
    // Why the run stopped because something it must keep could not be written ("" when it
    // did not): the run's record or the sent items, with the file and the system's reason.
    QString dataFailure() const;

    // --- Buttons.
    void Stop_Btn();
    void CancelPressed();
    // Stop without the question (a script's interrupt): the run ends as after Stop.
    void stopNow();
    // Export of the finished run's report (asks the main thread to run Export_Item_Function).
    void Export_Btn();
    void Export_Item_Function();

    // While the operator is asked whether to stop, no port takes a new message; "No" lets
    // them go on where they were.
    bool held() const { return m_held; }

    // True while the run's threads are still at work (tests wait on it).
    bool running() const { return m_threadsRunning > 0; }
    // True once the run has come to its end (the status line shows kFinish).
    bool finished() const { return m_state == RunState::Finished; }

    // --- Parts of the run (names as the job's steps are called).
    void Show_curr_msg_count(int total, int current);
    bool Check_Current_Running_Status();
    void Check_curr_tot_msg_Count();

    static constexpr int kMaxPorts = 32;
    // A port leaves the run after this many refusals in a row, for as many numbers.
    static constexpr int kRefusalsBeforeAPortLeaves = 3;
    // A port leaves the run once its modem was silent this many times in a row (a message
    // handed over and never answered, then a plain "AT" never answered).
    static constexpr int kSilencesBeforeAPortLeaves = 2;
    // The pause before a refused message's next attempt grows by this much per attempt.
    static constexpr std::chrono::seconds kRetryPause{10};
    // How long a port listens for the reports still owed once it has nothing left to send.
    static constexpr std::chrono::seconds kDeliveryReportWait{60};

private:
    // Where the run stands; the status line shows it.
    enum class RunState { Idle, Populating, Sending, Finished };

    // A port's details from the device records, copied for the run on the main thread.
    struct PortDetails {
        SmsMode mode = SmsMode::Unknown;
        QString smsc; // "" for the modem's own
        QString capability;
    };
    struct PortJob {
        QString portName;
        int slot = 0;
        PortDetails details;
        int fd = -1;
        std::stop_token stop;
    };
    // Everything the run's threads read from the window, copied when the run starts: the
    // window stays the main thread's.
    struct RunOptions {
        DelaySchedule schedule;
        bool unicode = false, flash = false, skipDuplicates = false, exclusion = false;
        bool plainPunctuation = false;
        bool deliveryReports = false;
        int retries = 1;                  // further attempts for a message the network refused
        QList<RunJournal::Entry> carried; // what an unfinished run this one resumes had finished
        bool saveSentItems = false, saveTemplates = false;
        QSet<QString> excludedNumbers;
        QStringList ports;
        QString portChoice;
        QHash<QString, PortDetails> portDetails;
    };

    void copyRunOptions();
    void copyPortDetails();
    void Load_Thread(RecordList rows, QString selectedPath, std::stop_token stop);
    void afterLoading(std::stop_token stop);
    void GSM_Send_Multi_Phone_Msg_Function(std::stop_token stop);
    bool openPort(int slot, const QString& path, PortJob& job, std::stop_token stop);
    void Send_To_All_SMS_Func(PortJob job);
    void sendFromPort(const PortJob& job, MFCSMS& session);
    int portsInRun() const; // ports sending now or still to be opened
    void leavePort(const QString& port, const QString& why);
    // Matches the reports the port's modem handed over to the run's items and shows them.
    void applyStatusReports(const PortJob& job, MFCSMS& session);
    // Once the port has nothing left to send: listens for the reports it is still owed.
    void awaitStatusReports(const PortJob& job, MFCSMS& session);
    // The last holder of the run ends it; the dispatcher holds no port (nullopt).
    void releaseRun(std::optional<SmsMode> portMode);
    void Mark_Stopped_On_Curr_port_Th();
    void Wait_to_finish_Th();
    void startCompletion();
    void stop_SMS_Sending(const QString& closeWindow);
    void endPause();
    void requestStop(); // Stop for this run: the process-wide flag the windows show, and the run's token
    // Something the run must keep could not be written: no further message goes to any device.
    void stopForData(const QString& why);
    static QString recordFailure(const QString& why); // the run's end when its record failed
    // Asks the operator whether to stop with the ports held meanwhile; true for Yes.
    bool confirmStop(const QString& question);
    // Waits while the operator is being asked; false when the run was stopped meanwhile.
    bool waitWhileHeld(const std::stop_token& stop);

    static Record recordOf(const SendingItem& item); // a row of the item table
    void showItem(int index, const SendingItem& item, bool counted);
    void ui(std::function<void()> change);     // on the main thread, without waiting
    void uiWait(std::function<void()> change); // on the main thread, waiting
    void spawn(const QString& name, std::function<void()> body);
    void joinThreads();

    Gsm_Bulk_Sms_Wnd& m_window;
    Operator& m_op;
    SendingItems m_items;
    RecordTable m_table;
    RunOptions m_options;
    PauseCountdown m_pause;
    RunJournal m_journal;
    ActivityIndicator m_activity;

    std::mutex m_threadsMutex;
    std::vector<std::unique_ptr<WorkerThread>> m_threads;
    std::atomic<int> m_threadsRunning{0};
    std::atomic<int> m_runHolders{0}; // the dispatcher and every started worker
    std::atomic<int> m_startedWorkers{0};
    std::atomic<int> m_activePorts{0};    // workers still taking items
    std::atomic<int> m_portsToCome{0};    // ports the dispatcher has yet to open: a retry may wait for one
    std::atomic<int> m_reportingPorts{0}; // workers that may still hear of a delivery
    std::atomic<bool> wait_to_fins_running{false};
    std::atomic<int> curr_send_item_4_th{0};
    std::atomic<int> tot_main_list_count{0};
    std::atomic<int> m_sentAsUnicode{0};
    std::atomic<bool> m_dlgClose{false};        // dlg_close "YES"
    std::stop_source m_stop;                    // this run's Stop, handed to the modem sessions
    std::atomic<bool> m_held{false};            // the Stop question is on screen
    std::shared_ptr<SendingLock> m_sendingLock; // held from the run's start until its end
    mutable std::mutex m_failureMutex;
    QString m_dataFailure;

    // Window state (main thread).
    RunState m_state = RunState::Idle;
    QString m_notice, m_title, m_totalLabel, m_progressText, m_pauseLabel;
    bool m_progressTextVisible = true;
    int m_shownCurrent = 0, m_shownTotal = 0; // the counts the progress text shows
    int m_overallMax = 0, m_overallValue = 0, m_activityValue = 0;
    bool m_activityVisible = false, m_stopEnabled = false, m_stopVisible = true, m_closeEnabled = true;
    bool m_exportVisible = false, m_pleaseWait = false;
    QMap<QString, QString> m_portStatuses;
};

inline const QString kFinish = QStringLiteral("Finish.");
inline const QString kPopulating =
    QStringLiteral("Populating Phone Numbers and Message List, Please wait...");
inline const QString kSendingTitle = QStringLiteral("Sending Messages, Please wait...");
