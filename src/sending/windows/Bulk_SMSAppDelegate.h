#pragma once
// The Android main window's controller, which is also the application delegate: the shared
// list and composer, the sending mode radios, the device buttons, and the Send flow that runs
// the list through the chosen phone on the sending engine (single-shot as one batch).
#include "LastRun.h"
#include "ScheduledSend.h"
#include "WindowReplies.h"
#include "android/AndroidSelection.h"
#include "android/windows/AndroidSendingProgress.h"
#include "android/windows/Android_Ph_List_Wnd.h"
#include "campaigns/CampaignResume.h"
#include "delivery/ActivityIndicator.h"
#include "delivery/PauseCountdown.h"
#include "list/windows/BulkSmsWindow.h"
#include "sending/SendingRun.h"
#include "services/CampaignRun.h"

#include <atomic>
#include <memory>

class Bulk_SMSAppDelegate : public BulkSmsWindow {
    Q_OBJECT
public:
    // The default country and the spreadsheet windows are the application's (BulkSmsWindow).
    Bulk_SMSAppDelegate(Operator& op, DataFolder folder, DefaultCountry* country = nullptr,
                        SpreadsheetLoads* spreadsheets = nullptr, QObject* parent = nullptr);
    ~Bulk_SMSAppDelegate() override;

    QString title() const override;
    int runConnectionSteps() override;
    void windowDidLoad() override;

    // --- Sending mode radios.
    bool singleShotOn() const { return m_singleShot; }
    bool classicOn() const { return m_classic; }
    void Single_Shot_Radio();
    void One_By_One_Radio();
    void Standard_Radio();
    void Classic_Radio();

    // The automated mode test; the radios follow the mode it leaves.
    void Test_Btn();
    // The radios as the sending mode (AND_SMS_sending_mode) says.
    void showSendingMode();

    // The chosen phone's details, the sending mode and the serial filter; and the device search
    // window that fills them and the selection.
    AndroidSelection& androidSelection() { return m_phone; }
    Android_Ph_List_Wnd& deviceListWindow() { return m_devices; }

    // --- Device buttons.
    void Device_Details_Btn();
    void Check_Device_Status_Btn();

    // --- Sending.
    void Send_SMS_Btn();
    // "Send later...": the checks and questions of Send, then the time; the list and the options
    // become a campaign that waits for it (this window sends it then, as does a worker).
    void Send_Later_Btn();
    // The watch that sends this window's scheduled campaigns at their time (the desktop turns it on).
    ScheduledSend& scheduledSend() { return m_scheduledSend; }
    bool sendInProgress() const { return m_sendInProgress; }
    // Waits until the run has ended and its end is shown; runs only the run's hand-offs meanwhile.
    void waitForSend();
    // What an unfinished run this window's next run resumes had finished.
    CarriedRun& carriedRun() { return m_carried; }
    // The current (or last) run, if any: its items and statuses.
    const SendingRun* run() const { return m_run; }
    AndroidSendingProgress& progress() { return m_progress; }
    // The replies read through the selected phones while this window sends nothing.
    WindowReplies& replies() { return m_replies; }

    // How the last run ended, and how many records it counted as sent.
    // NothingReached: the run went to its end, but no message of it reached a phone.
    enum class RunEnd {
        None,
        Completed,
        Stopped,
        DeviceError,
        NotConnected,
        Abandoned,
        DataNotWritten,
        NothingReached
    };
    RunEnd lastRunEnd() const { return m_runEnd; }
    int lastRunSent() const { return m_sentCount; }

signals:
    // The sending thread shows this row of the list.
    void sendingRowShown(int row);

protected:
    void openDeviceSearchWindow(std::function<void(bool)> reported) override;
    void resetSendingOptions() override;
    QString optionsScope() const override { return QStringLiteral("android"); }

private:
    bool askSendQuestions();
    RunSettings runSettings();
    // A scheduled campaign's settings as its creator kept them, with this window's phones and files.
    RunSettings runSettingsOf(const CampaignToSend& scheduled);
    // The run over the records, or over the scheduled campaign of the store when there is one.
    void startRun(const RecordList& records, const std::optional<CampaignToSend>& scheduled);
    QList<DeviceOpener> phoneOpeners();
    // The phones a run would send through: the ticked ones, else the one found (none when no
    // phone is selected).
    QList<TickedPhone> selectedPhones() const;
    void watch(SendingRun& run);
    void showItem(int index, const SendingItem& item, bool counted);
    void afterRun();

    AndroidSelection m_phone;
    Android_Ph_List_Wnd m_devices;
    AndroidSendingProgress m_progress;
    PauseCountdown m_countdown;
    ActivityIndicator m_busy;
    std::unique_ptr<CampaignRun> m_campaign;
    SendingRun* m_run = nullptr; // the campaign's run, while there is one
    std::atomic<bool> m_sendInProgress{false};
    std::atomic<RunEnd> m_runEnd{RunEnd::None};
    std::atomic<int> m_sentCount{0};
    // What the run's phone did that the end of the run tells: never connected, left the run,
    // the operator ended it from the phone's own question.
    std::shared_ptr<std::atomic<bool>> m_notConnected;
    bool m_deviceLeft = false;
    std::atomic<bool> m_endedByOperator{false};
    CarriedRun m_carried;
    LastRun m_lastRun;
    bool m_singleShot = false;
    bool m_classic = false;
    bool m_attached = false; // the run sends a scheduled campaign of the store, not the list
    ScheduledSend m_scheduledSend;
    WindowReplies m_replies; // last: it stops reading before the rest goes
};
