#pragma once
// The selected-device details window: the selected devices on the left, the shown device's
// mode, service centres and test message on the right, OK below.
#include "DeviceSettingsBoxes.h"
#include "gsm/windows/Selected_Device_Details_GSM.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;

class SelectedDeviceDetailsView : public QDialog {
    Q_OBJECT
public:
    SelectedDeviceDetailsView(Selected_Device_Details_GSM& controller, QWidget* parent);

protected:
    void reject() override; // closing checks every device as OK does

private:
    void refresh();

    Selected_Device_Details_GSM& m_controller;
    QTableView* m_devices = nullptr;
    DeviceSettingsBoxes m_deviceSettings;
    QLineEdit* m_testNumber = nullptr;
    QLabel* m_busy = nullptr;
    QWidget* m_settings = nullptr;
    QPushButton* m_ok = nullptr;
};
