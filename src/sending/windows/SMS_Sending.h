#pragma once
// The GSM sending job: starts a run of the sending engine over the GSM window's list with one
// modem device per chosen port (opened two seconds apart) and shows it: live statuses,
// delayed-delivery pauses, Stop and Close, and the closing messages. One instance, shown
// modally by the GSM window.
#include "LastRun.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/ThreadGroup.h"
#include "delivery/ActivityIndicator.h"
#include "delivery/DelaySchedule.h"
#include "delivery/PauseCountdown.h"
#include "sending/SendingRun.h"
#include "services/CampaignRun.h"
#include "services/ModemOpeners.h"

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

class ModemHotplug;
class NewModemIntake;
class SMS_Sending : public DialogController {
    Q_OBJECT
public:
    SMS_Sending(Gsm_Bulk_Sms_Wnd& window, Operator& op, QObject* parent = nullptr);
    ~SMS_Sending() override;
    // Where a modem plugged in while the run sends goes (null unless the window asked for it).
    NewModemIntake* modemIntake() const { return m_intake.get(); }

    // Starts a run over the window's list and shows the job a second later, until it is closed.
    void Open_SMS_Sending_Dialog();
    // From the run's start until its window has closed.
    bool windowPending() const { return m_windowPending; }

    // The item table the view shows (updated on the main thread).
    const RecordTable& itemTable() const { return m_table; }
    QList<SendingItem> items() const;

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
    // After the run: "Send to the N not yet sent" ("" when it reached everyone it could).
    QString notYetSentOffer() const { return m_notYetSent > 0 ? ::notYetSentOffer(m_notYetSent) : QString(); }
    bool pleaseWaitShown() const { return m_pleaseWait; }
    bool progressTextVisible() const { return m_progressTextVisible; }
    // Messages of the run that went as Unicode although the Unicode option was off, because
    // the GSM alphabet cannot carry their text; and the line that says so ("" when none).
    int sentAsUnicode() const { return m_run != nullptr ? m_run->sentAsUnicode() : 0; }
    QString unicodeSummary() const;
    // Ports that left the run before its end, and why ("Left the run after 3 refusals ..."),
    // and ports whose modem would not hand over delivery reports.
    QMap<QString, QString> portStatuses() const { return m_portStatuses; }
    // Who waits for their hours while the run goes on ("waiting for 09:00 in America/New_York
    // (1 recipient)"); "" when nobody does.
    QString waitingNote() const { return m_waitingNote; }
    // Whether this run asked for delivery reports (the item table's "Delivery" column).
    bool deliveryReportsRequested() const { return m_deliveryReports; }
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
    // Closes the finished job and sends again to those the run did not reach.
    void Send_Not_Yet_Sent_Btn();
    void Export_Item_Function();

    // While the operator is asked whether to stop, no port takes a new message; "No" lets
    // them go on where they were.
    bool held() const { return m_run != nullptr && m_run->held(); }
    // A delayed-delivery pause is being taken.
    bool pausing() const { return m_pause.Pause_Timer_Running; }

    // True while the run's threads are still at work (tests wait on it).
    bool running() const { return m_threads.running() || (m_run != nullptr && m_run->threadsRunning()); }
    // True once the run has come to its end (the status line shows kFinish).
    bool finished() const { return m_state == RunState::Finished; }

    // --- Parts of the run (names as the job's steps are called).
    void Show_curr_msg_count(int total, int current);
    bool Check_Current_Running_Status();
    void Check_curr_tot_msg_Count();

    static constexpr int kMaxPorts = SendingRun::kMaxDevices;

private:
    // Where the run stands; the status line shows it.
    enum class RunState { Idle, Populating, Sending, Finished };

    QList<ModemChoice> chosenModems() const;
    void startIntake(); // when the window asked for modems plugged in while sending
    void watch(SendingRun& run);
    void afterLoading(const QList<SendingItem>& items);
    void afterDevicesReleased();
    void Wait_to_finish_Th();
    void startCompletion();
    void stop_SMS_Sending(const QString& closeWindow);
    void endPause();
    void requestStop(); // Stop for this run: the process-wide flag the windows show, and the run's own
    // Asks the operator whether to stop with the ports held meanwhile; true for Yes.
    bool confirmStop(const QString& question);

    void showItem(int index, const SendingItem& item, bool counted);
    void ui(std::function<void()> change);     // on the main thread, without waiting
    void uiWait(std::function<void()> change); // on the main thread, waiting
    void spawn(const QString& name, std::function<void()> body);
    void joinThreads();

    Gsm_Bulk_Sms_Wnd& m_window;
    Operator& m_op;
    std::unique_ptr<CampaignRun> m_campaign;
    SendingRun* m_run = nullptr; // the campaign's run, while there is one
    // Modems plugged in while the run sends, when the window asked for them (goes before the run).
    std::unique_ptr<NewModemIntake> m_intake;
    std::unique_ptr<ModemHotplug> m_plugging; // while a run that takes in new modems sends
    RecordTable m_table;
    bool m_deliveryReports = false; // asked for by the current run
    bool m_attached = false;        // the run sends a scheduled campaign of the store, not the list
    PauseCountdown m_pause;
    ActivityIndicator m_activity;

    ThreadGroup m_threads;
    std::atomic<bool> wait_to_fins_running{false};
    std::atomic<int> curr_send_item_4_th{0};
    std::atomic<int> tot_main_list_count{0};
    std::atomic<bool> m_dlgClose{false}; // dlg_close "YES"
    bool m_markedAtEnd = false;          // the run's end marked items that were still waiting

    // Window state (main thread).
    RunState m_state = RunState::Idle;
    QString m_notice, m_title, m_totalLabel, m_progressText, m_pauseLabel;
    bool m_progressTextVisible = true;
    int m_shownCurrent = 0, m_shownTotal = 0; // the counts the progress text shows
    int m_overallMax = 0, m_overallValue = 0, m_activityValue = 0;
    bool m_activityVisible = false, m_stopEnabled = false, m_stopVisible = true, m_closeEnabled = true;
    bool m_exportVisible = false, m_pleaseWait = false;
    int m_notYetSent = 0; // recipients the finished run did not reach
    bool m_windowPending = false;
    QMap<QString, QString> m_portStatuses;
    QString m_waitingNote;
};

inline const QString kFinish = QStringLiteral("Finish.");
inline const QString kPopulating =
    QStringLiteral("Populating Phone Numbers and Message List, Please wait...");
inline const QString kSendingTitle = QStringLiteral("Sending Messages, Please wait...");
