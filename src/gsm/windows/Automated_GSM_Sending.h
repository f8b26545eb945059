#pragma once
// The automated sending window: runs the send-mode test on the devices it was opened with,
// one at a time, keeps each device's outcome in its row ("History"), and applies a working
// case as the device's settings in the window that opened it.
//
// The test runs on the window's worker through the window's own modem session; every change
// the view sees is made on the main thread.
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/WorkerThread.h"
#include "gsm/MFCSMS.h"
#include "services/DeviceSettingsMemory.h"
#include "services/SendModeTrial.h"

#include <atomic>
#include <functional>
#include <optional>

class Operator;

// The keys this window adds to each device record it shows: "Y" once a case's settings were
// applied, and the outcome per case of this window's tests (as kTestHistoryKey).
inline const QString kSettingAppliedKey = QStringLiteral("Setting_USE");
inline const QString kAutomatedTestHistoryKey = QStringLiteral("History");

class Automated_GSM_Sending : public DialogController {
    Q_OBJECT
public:
    // Writes a value of a device's record (by "PORT_DETAL") where the opener keeps it.
    using SettingsWriter = std::function<void(const QString& path, const QString& key, const QString& value)>;

    // memory: where a case's settings, once applied, are kept for the device's SIM (none: not kept).
    explicit Automated_GSM_Sending(Operator& op, std::optional<DeviceSettingsMemory> memory = std::nullopt,
                                   QObject* parent = nullptr);
    ~Automated_GSM_Sending() override;

    // The rows: a device record each (its settings are read from there) with "Setting_USE",
    // "History" and "Last_SMSC". Shows the first device.
    void open(const RecordList& deviceRecords, SettingsWriter writer);
    static Record rowFor(const Record& deviceRecord);

    RecordTable& nsDeviceListData() { return m_devices; }
    RecordTable& nsCaseListData() { return m_cases; }

    // --- Operations.
    void showDevice(int row);
    void selectCase(int row) { m_selectedCase = row; }
    void setCustomSmscText(const QString& text);
    void setTestNumberText(const QString& text) { m_testNumber = text; }
    void Send_Test_SMS_Pressed(); // starts the test of the shown device
    void Stop_SMS_Pressed();
    void Use_Settings_Button_Presses();
    void Clear_Status_Button_Presses();
    void Close_Button_Presses();
    void More_Info_SMSC_Pressed();
    void Save_SMS_Report_Pressed();

    // Waits until the test has ended, running only its hand-offs to this thread.
    void waitForTest() { m_worker.join(); }

    // --- What the view shows.
    int shownRow() const { return m_shownRow; }
    int selectedCase() const { return m_selectedCase; }
    bool testing() const { return m_testing; }
    QString heading() const { return m_heading; }
    QString information() const { return m_information; }
    int caseProgress() const { return m_caseProgress; }
    QString defaultSmscField() const { return m_defaultSmsc; }
    QString customSmscText() const { return m_customSmsc; }
    QString testNumberText() const { return m_testNumber; }

private:
    void Fill_Test_case_List();
    void Chk_Test_Automate_SMS_fun(SendModeTrial::Request request, int row);
    bool validCustomSmsc();
    QString shownPath() const;

    Operator& m_op;
    const std::optional<DeviceSettingsMemory> m_memory;
    MFCSMS m_session;
    RecordTable m_devices;
    RecordTable m_cases;
    SettingsWriter m_writer;
    WorkerThread m_worker{QStringLiteral("mode-test")};
    std::atomic<bool> m_stop{false};
    bool m_testing = false;
    int m_shownRow = -1;
    int m_selectedCase = -1;
    int m_caseProgress = 0;
    QString m_heading, m_information, m_defaultSmsc, m_customSmsc, m_testNumber;
};
