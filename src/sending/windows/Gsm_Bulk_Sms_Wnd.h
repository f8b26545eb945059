#pragma once
// The GSM main window's controller: the shared list and composer, the device choice, and
// the Send flow that checks everything, verifies the chosen ports and opens the sending job.
#include "LastRun.h"
#include "ScheduledSend.h"
#include "WindowReplies.h"
#include "campaigns/CampaignResume.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "gsm/MFCSMS.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "gsm/windows/Selected_Device_Details_GSM.h"
#include "list/windows/BulkSmsWindow.h"
#include "sending/SendingRun.h"
#include "services/ModemOpeners.h"

#include <functional>
#include <memory>
#include <utility>

class SMS_Sending;

class Gsm_Bulk_Sms_Wnd : public BulkSmsWindow {
    Q_OBJECT
public:
    // The default country and the spreadsheet windows are the application's (BulkSmsWindow).
    Gsm_Bulk_Sms_Wnd(Operator& op, DataFolder folder, DefaultCountry* country = nullptr,
                     SpreadsheetLoads* spreadsheets = nullptr, QObject* parent = nullptr);
    ~Gsm_Bulk_Sms_Wnd() override;

    QString title() const override;
    int runConnectionSteps() override;

    // --- Sending. Send returns once the checks that ask the operator are done; the ports are
    // then checked on workers and the job opens a second later.
    void Send_SMS_Btn() { Send_SMS_BY_Multi_Port(); }
    void Send_SMS_BY_Multi_Port();
    // "Send later...": the checks and questions of Send, then the time; the list and the options
    // become a campaign that waits for it (this window sends it then, as does a worker).
    void Send_Later_Btn();
    // The watch that sends this window's scheduled campaigns at their time (the desktop turns it on).
    ScheduledSend& scheduledSend() { return m_scheduledSend; }
    // The scheduled campaign the run about to start sends instead of the list (taken by the job).
    std::optional<CampaignToSend> takeScheduledRun() { return std::exchange(m_scheduledRun, std::nullopt); }
    // The settings a Send of the list would run with.
    RunSettings runSettings() const;
    // A scheduled campaign's settings as its creator kept them, with this window's devices and files.
    RunSettings runSettingsOf(const CampaignToSend& scheduled) const;
    // From Send until the job window has closed (or the flow ended before it): a press of Send
    // meanwhile is ignored, and the command line waits for it.
    bool sendingUnderWay() const;

    // The selected-device details window: each selected device's settings, a test message,
    // the automated send-mode test.
    void Device_Details_Pressed();

    // This window's device windows: the search that fills its selection, and the details of
    // the selected devices.
    GSM_Device_List_Wnd& deviceListWindow() { return m_devices; }
    Selected_Device_Details_GSM& deviceDetailsWindow() { return m_deviceDetails; }

    // The ports verified for the run (`_cb_ports_ComboBox_Sending`) and the one chosen.
    const QStringList& sendingPorts() const { return m_sendingPorts; }
    QString sendingPortChoice() const { return m_sendingPortChoice; }
    QString Message_IS() const { return m_messageIs; }
    bool pleaseWaitShown() const { return m_pleaseWait; }

    // A value of a device's record (key from device/DeviceRecord.h), by its path: the selected
    // devices first, then the device window's list.
    QString deviceDetail(const QString& path, const QString& key) const;

    SMS_Sending& sendingJob();
    // A selected modem as a run (or the reading of replies) opens it: its path and its record's settings.
    ModemChoice modemChoice(const QString& path) const;

    // The replies read through the selected modems while this window sends nothing.
    WindowReplies& replies() { return m_replies; }

    // Further attempts for a message the network refused (on another port where there is
    // one); 1 by default.
    int retries() const { return m_retries; }
    void setRetries(int retries);

    // "Request delivery reports": every message asks the network for a report, and the job
    // shows each message's delivery as the reports come.
    bool deliveryReports() const { return m_deliveryReports; }
    void setDeliveryReports(bool requested);
    // "Take in modems plugged in while sending": read when a run starts.
    bool takeNewModems() const { return m_takeNewModems; }
    void setTakeNewModems(bool on);

    // What an unfinished run this window's next run resumes had finished.
    CarriedRun& carriedRun() { return m_carried; }
    // What the last run did for each recipient, and the rows the next run takes.
    LastRun& lastRun() { return m_lastRun; }
    // The rows the run about to start sends: the list, or the part of it the operator chose.
    RecordList rowsToSend() { return m_carried.resuming() ? list().records() : m_lastRun.chosenRows(); }
    // "Send to the N not yet sent" of a finished job: Send again, with those rows only.
    void sendNotYetSent();

protected:
    QString optionsScope() const override { return QStringLiteral("gsm"); }
    void openDeviceSearchWindow(std::function<void(bool)> reported) override;

private:
    bool askSendQuestions();
    // Checks the chosen ports, then (unless the operator is told they do not work) opens the
    // job a second later. `lock` is held until the job has taken it.
    void GSM_Chk_Port_And_Send_Msg();
    // Tells the operator which checked ports failed and chooses the sending port; false when
    // the flow ends here.
    bool chooseSendingPort(const QString& chosen, const QStringList& paths, const QList<bool>& works);
    // Why the chosen ports cannot send a message of the list as one message ("" when they can).
    QString textModeRefusal() const;
    // Checks the ports on a worker; then() gets one result per path on this thread.
    void testPorts(const QStringList& paths, std::function<void(const QList<bool>&)> then);
    static bool testPort(const QString& path); // through a session of its own
    static constexpr int kParallelPortChecks = 8;
    QString describeDevice(const QString& path) const;
    void setPleaseWait(bool shown);
    // A scheduled campaign whose time came: the chosen ports checked (without a box: nobody may
    // be there), then the job sends it through those that answer.
    void sendScheduled(const CampaignToSend& due);
    // The ports that answered, for a scheduled run: every one of them, as "All" chooses.
    void takeWorkingPorts(const QStringList& paths, const QList<bool>& works);

    GSM_Device_List_Wnd m_devices;
    Selected_Device_Details_GSM m_deviceDetails;
    std::unique_ptr<SMS_Sending> m_job;
    QStringList m_sendingPorts;
    QString m_sendingPortChoice;
    QString m_messageIs;
    bool m_pleaseWait = false;
    int m_retries = RunSettings::kDefaultRetries;
    bool m_deliveryReports = false;
    bool m_takeNewModems = false;
    CarriedRun m_carried;
    LastRun m_lastRun;
    bool m_sendInProgress = false; // from Send until the job opens: a second press is ignored
    WorkerThread m_portCheck{QStringLiteral("port-checks")};
    std::optional<CampaignToSend> m_scheduledRun;
    ScheduledSend m_scheduledSend;
    WindowReplies m_replies; // last: it stops reading before the rest goes
};
