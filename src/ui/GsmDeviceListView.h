#pragma once
// The GSM device window: the device list with tick boxes on the left, the shown device's
// details and settings on the right, search and selection buttons below.
#include "DeviceSettingsBoxes.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QTableView;

class GsmDeviceListView : public QDialog {
    Q_OBJECT
public:
    GsmDeviceListView(GSM_Device_List_Wnd& controller, QWidget* parent);

protected:
    void reject() override; // closing the window goes on without a device, after asking
    // Modems plugged in and out are followed while the window shows.
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* buildDeviceList();
    QWidget* buildSettings();
    QWidget* buildTest();
    void refresh();

    GSM_Device_List_Wnd& m_controller;
    QTableView* m_list = nullptr;
    QPushButton* m_search = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_select = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_busy = nullptr;
    QLabel* m_heading = nullptr;
    QLabel* m_plugNotice = nullptr; // a modem plugged or unplugged, a stick to switch
    QLineEdit* m_comPort = nullptr;
    QLineEdit* m_path = nullptr;
    QPlainTextEdit* m_details = nullptr;
    DeviceSettingsBoxes m_deviceSettings;
    QWidget* m_settings = nullptr;
    // The test group: recipient, case list, progress and its buttons.
    QWidget* m_testGroup = nullptr;
    QLabel* m_testHeading = nullptr;
    QLineEdit* m_testNumber = nullptr;
    QTableView* m_cases = nullptr;
    QLabel* m_testInformation = nullptr;
    QProgressBar* m_caseProgress = nullptr;
    QPushButton* m_startTest = nullptr;
    QPushButton* m_stopTest = nullptr;
    QPushButton* m_report = nullptr;
    QPushButton* m_automate = nullptr;
};
