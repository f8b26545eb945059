#pragma once
// The GSM device window: finds the modems attached, shows each with its details, lets the
// operator choose a mode and a custom service centre per device, and selects the devices
// to send with (written into the selection of the main window that owns it). It ends with 1
// when devices were selected and 0 to go on without a device.
//
// Searching and reading a device's details run on worker threads through the window's one
// modem session; every change the view sees is made on the main thread.
#include "Automated_GSM_Sending.h"
#include "core/DeviceSelection.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/WorkerThread.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemPortGroups.h"
#include "gsm/SmsMode.h"
#include "services/DeviceSettingsMemory.h"
#include "services/ModemCheck.h"
#include "services/SendModeTrial.h"

#include <atomic>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

class ModemHotplug;
class Operator;

class GSM_Device_List_Wnd : public DialogController {
    Q_OBJECT
public:
    // selection: where the chosen devices go (the owning main window's). memory: where each
    // modem's settings are kept for the next start and come back from at a search (none: they
    // last as long as the list).
    GSM_Device_List_Wnd(Operator& op, DeviceSelection& selection,
                        std::optional<DeviceSettingsMemory> memory = std::nullopt, QObject* parent = nullptr);
    ~GSM_Device_List_Wnd() override;

    // The device list: one record per modem, in discovery order.
    RecordTable& nsPortListData() { return m_ports; }
    const RecordTable& nsPortListData() const { return m_ports; }

    // --- Operations of the window.
    void Search_dev_Pressed();
    void Stopmodem_Searching_pressed();
    void ContinueOfflinePressed();
    void Sel_Device_Pressed() { Multi_Phone_Selected_Func(); }
    void setRowTicked(int row, bool ticked);
    void showDevice(int row); // a row chosen in the list
    void PDU_Mode_Radio();
    void Text_Mode_Radio();
    void Custom_SMSC_Pressed(bool on);
    // "At most N messages a minute / an hour / a day" of the shown device's SIM (0: no limit),
    // kept at once beside its mode and service centre (a failed write is told).
    DeviceLimits shownLimits() const { return m_limits; }
    void setLimits(const DeviceLimits& limits);
    void setCustomSmscText(const QString& text) { m_customSmscText = text; }
    // Validates the custom service centre and stores it for the shown device.
    bool update_custom_smsc();

    // Checks the ticked devices on the window's worker (waitForWorkers() waits for the end)
    // and ends the window with 1 when one was accepted.
    void Multi_Phone_Selected_Func();

    // --- The automated send-mode test of the shown device (its outcome goes to the record's
    // "TEST_HISTORY"), and the automated sending window for every device found.
    RecordTable& nsCaseListData() { return m_cases; }
    void setTestNumberText(const QString& text) { m_testNumberText = text; }
    QString testNumberText() const { return m_testNumberText; }
    void Send_Test_SMS_Pressed();
    void Stop_SMS_Pressed();
    void Save_SMS_Report_Pressed();
    void Automate_Button_Presses();
    bool testing() const { return m_testing; }
    QString testInformation() const { return m_testInformation; }
    QString testHeading() const { return m_testHeading; }
    int caseProgress() const { return m_caseProgress; }
    // Rows for the automated sending window, and how it writes a setting back here (this
    // list and the selected devices').
    Automated_GSM_Sending::SettingsWriter settingsWriter();

    // The details text of a device record ("COM Port : ...\r\n...").
    static QString deviceDetailText(const Record& record);

    // How a person reads a device: its model and port ("E173 on ttyUSB0"), the port alone
    // until the model is known.
    static QString deviceName(const Record& record);

    // --- Record access by device path.
    int rowOf(const QString& path) const;
    QString Get_Sel_Port_Details(const QString& path, const QString& key) const;
    void Update_Column_Value(const QString& path, const QString& key, const QString& value);
    // The same value in the selected devices' record of that path.
    static void Update_Column_Value_For_Main_array(DeviceSelection& selection, const QString& path,
                                                   const QString& key, const QString& value);
    // Both lists at once, as the custom service centre tick box does.
    void Set_SMSC_Use_Status(const QString& path, const QString& status, const QString& smsc);

    // --- What the view shows.
    bool searching() const { return m_searching; }
    bool controlsEnabled() const { return m_controlsEnabled; }
    int Prev_Index() const { return m_prevIndex; }
    int PDU_TEXT_MODE_SEL() const { return m_modeSelection; }
    QString heading() const { return m_heading; }
    QString comPortField() const { return m_comPortField; }
    QString pathField() const { return m_pathField; }
    QString detailsText() const { return m_detailsText; }
    QString defaultSmscField() const { return m_defaultSmscField; }
    QString customSmscText() const { return m_customSmscText; }
    bool customSmscChecked() const { return m_customSmscChecked; }
    bool settingsEnabled() const { return m_settingsEnabled; }
    int progressMaximum() const { return m_progressMax; }
    int progressValue() const { return m_progressValue; }
    bool progressSheetShown() const { return m_progressSheet; }

    // --- Modems plugged in and out while the window is open (the view starts and stops the
    // watch as it shows and hides): a modem plugged is probed off this thread and gets its row
    // at the end of the list, a modem unplugged loses its row; a USB stick in its storage mode
    // is told how to get out of it. While a search fills the list these wait for its end.
    void watchPlugging();
    void stopWatchingPlugging();
    bool watchingPlugging() const { return m_hotplug != nullptr; }
    // The latest news of plugging, one line ("" for none).
    QString plugNotice() const { return m_plugNotice; }

    // Waits until no worker of this window runs, running only their hand-offs to this thread.
    void waitForWorkers();

    // The search pass over the given device paths (also used by tests); it ends early on
    // stop. 0 when a device record was completed, 5 otherwise.
    int GetModemPath(const QStringList& paths, std::stop_token stop = {});

signals:
    // The focus goes back to the custom service centre field.
    void customSmscFocusRequested();

private:
    void Find_Ph_Thread(std::stop_token stop);
    void Find_Ph_List(std::stop_token stop);
    // No device is shown: its details, settings, test cases and headings are cleared.
    void clearShownDevice();
    bool OnGetSelected(const QString& path);
    void Get_And_Fill_Details(const QString& path);
    bool validSmsc(const QString& number);
    // update_custom_smsc() without keeping: for operations that keep once at their end.
    bool storeCustomSmsc();
    // Keeps the settings of the device at path when they differ from `before` (its record
    // before the change); a failure is told.
    void keepSettings(const QString& path, const Record& before);
    Record shownRecord() const;
    void setMode(SmsMode mode);
    // One device's check for the selection (on the worker): accepted, skipped after a
    // refusal the operator let pass, or the end of the selection.
    // On the main thread: the accepted devices become the selection.
    void finishSelection(const QList<Record>& accepted);
    void Fill_Test_case_List();
    void Chk_Test_Automate_SMS_fun(SendModeTrial::Request request);
    void modemPlugged(const ModemPortGroups::Group& modem);
    void modemUnplugged(const ModemPortGroups::Group& modem);
    // Adds the rows of a modem plugged, unless a row of its port or IMEI is there already.
    void addPluggedRows(const RecordList& records);
    // Runs `change` of the list now, or after the search that fills it.
    void whenListSettled(const std::function<void()>& change);
    void setPlugNotice(const QString& notice);

    Operator& m_op;
    DeviceSelection& m_selection;
    const std::optional<DeviceSettingsMemory> m_memory;
    DeviceLimits m_limits; // the shown device's
    MFCSMS m_session;
    RecordTable m_ports;
    WorkerThread m_worker{QStringLiteral("device-search")}; // the search, or a device's details
    // Stop as the window shows it; the search itself stops on its worker's token.
    std::atomic<bool> Stop_Modem_SRCH{false};

    bool m_searching = false;
    bool m_controlsEnabled = true;
    bool m_settingsEnabled = false;
    bool m_progressSheet = false;
    int m_prevIndex = -1;
    int m_modeSelection = 1;
    int m_progressMax = 0;
    int m_progressValue = 0;
    QString m_heading;
    QString m_comPortField, m_pathField, m_detailsText, m_defaultSmscField, m_customSmscText;
    bool m_customSmscChecked = false;

    RecordTable m_cases;
    QString m_testNumberText, m_testInformation, m_testHeading;
    bool m_testing = false;
    std::atomic<bool> m_searchedOnce{false}; // a search pass has run to its end
    int m_caseProgress = 0;
    std::atomic<bool> m_stopTest{false};

    std::unique_ptr<ModemHotplug> m_hotplug;
    std::vector<std::unique_ptr<WorkerThread>> m_plugProbes; // one per modem plugged, kept to be joined
    bool m_listFilling = false;                  // a search pass is filling the list (main thread)
    QList<std::function<void()>> m_afterFilling; // plug changes held until it is done
    QString m_plugNotice;
};

inline const QString kDeviceListEmpty = QStringLiteral("Device list is empty.");
inline const QString kSelectDevice = QStringLiteral("Please select device from list.");
// Shown when a device is switched to text mode (the device window and the details window).
inline const QString kTextModeNotice = QStringLiteral(
    "Information:\n\nYou have selected 'Text Mode' for sending Messages.\n\nSome Devices may not support "
    "non-English (Unicode) SMS using this mode.\n\nIf you face difficulties in sending Unicode SMS using "
    "'Text "
    "Mode', select 'PDU Mode'.");
