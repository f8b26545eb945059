#pragma once
// The selected-device details window of the GSM main window: reviews and changes the
// sending settings of each selected device (every change is written into the selected
// devices' records, which the sending reads), sends one test message through a device, and
// opens the automated send-mode test for it.
//
// The test message runs on the window's worker through the window's own modem session.
#include "Automated_GSM_Sending.h"
#include "core/DeviceSelection.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/WorkerThread.h"
#include "gsm/MFCSMS.h"
#include "gsm/SmsMode.h"
#include "services/DeviceSettingsMemory.h"

#include <functional>
#include <optional>

class Operator;

class Selected_Device_Details_GSM : public DialogController {
    Q_OBJECT
public:
    // selection: the devices it shows and changes (the owning main window's). memory: where a
    // device's changed settings are kept for its SIM (none: not kept).
    Selected_Device_Details_GSM(Operator& op, DeviceSelection& selection,
                                std::optional<DeviceSettingsMemory> memory = std::nullopt,
                                QObject* parent = nullptr);
    ~Selected_Device_Details_GSM() override;

    // Rows from the selected devices' records, the first one shown, and the window run modally.
    int Open_Gsm_Ph_Det_List_Wnd();
    // The rows alone (what opening does before it shows the window).
    void fillRows();
    static Record Create_Port_List(const Record& deviceRecord);

    RecordTable& rows() { return m_rows; }

    // --- Operations.
    void showDevice(int row);
    void PDU_Mode_Radio();
    void Text_Mode_Radio();
    void Custom_SMSC_Pressed(bool on);
    // "At most N messages a minute / an hour / a day" of the shown device's SIM (0: no limit),
    // kept at once beside its mode and service centre (a failed write is told).
    DeviceLimits shownLimits() const { return m_limits; }
    void setLimits(const DeviceLimits& limits);
    void setCustomSmscText(const QString& text) { m_customSmscText = text; }
    bool update_custom_smsc();
    void setTestNumberText(const QString& text) { m_testNumber = text; }
    void Send_Test_SMS_Pressed();
    void Automate_Button_Presses();
    void OK_Button_Presses();
    // Writes a value of a row and of the matching selected device's record.
    void Update_Column_Value(const QString& path, const QString& key, const QString& value);

    void waitForTest() { m_worker.join(); }

    // --- What the view shows.
    int shownRow() const { return m_shownRow; }
    int PDU_TEXT_MODE_SEL() const { return m_modeSelection; }
    QString defaultSmscField() const { return m_defaultSmsc; }
    QString customSmscText() const { return m_customSmscText; }
    bool customSmscChecked() const { return m_customSmscChecked; }
    QString testNumberText() const { return m_testNumber; }
    bool testing() const { return m_testing; }

signals:
    void customSmscFocusRequested();

private:
    void Send_Test_SMS_fun(const Record& row, const QString& smsc, const QString& number);
    void setMode(SmsMode mode);
    bool validSmsc(const QString& number);
    // update_custom_smsc() without keeping: for operations that keep once at their end.
    bool storeCustomSmsc();
    // The selected device's whole record (its SIM's identity included), as the sending reads it.
    Record selectedRecord(const QString& path) const;
    // Keeps the settings of the device at path when they differ from `before`; a failure is told.
    void keepSettings(const QString& path, const Record& before);
    QString shownPath() const;

    Operator& m_op;
    DeviceSelection& m_selection;
    const std::optional<DeviceSettingsMemory> m_memory;
    DeviceLimits m_limits; // the shown device's
    MFCSMS m_session;
    RecordTable m_rows;
    WorkerThread m_worker{QStringLiteral("test-message")};
    bool m_testing = false;
    int m_shownRow = -1;
    int m_modeSelection = 1;
    bool m_customSmscChecked = false;
    QString m_defaultSmsc, m_customSmscText, m_testNumber;
};
