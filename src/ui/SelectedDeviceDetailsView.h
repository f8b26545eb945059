#pragma once
// The selected-device details window: the selected devices on the left, the shown device's
// mode, service centres and test message on the right, OK below.
#include "gsm/windows/Selected_Device_Details_GSM.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
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
    QRadioButton* m_pdu = nullptr;
    QRadioButton* m_text = nullptr;
    QLineEdit* m_defaultSmsc = nullptr;
    QCheckBox* m_useCustomSmsc = nullptr;
    QLineEdit* m_customSmsc = nullptr;
    QLineEdit* m_testNumber = nullptr;
    QLabel* m_busy = nullptr;
    QWidget* m_settings = nullptr;
    QPushButton* m_ok = nullptr;
};
