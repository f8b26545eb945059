#pragma once
// The automated sending window: the devices on the left, the shown device's test on the
// right (service centres, recipient, the case list with each case's outcome), and the
// buttons that run, stop, clear, report and apply a case.
#include "gsm/windows/Automated_GSM_Sending.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTableView;

class AutomatedGsmSendingView : public QDialog {
    Q_OBJECT
public:
    AutomatedGsmSendingView(Automated_GSM_Sending& controller, QWidget* parent);

protected:
    void reject() override; // closing asks as the Close button does

private:
    QWidget* buildDevices();
    QWidget* buildTest();
    void refresh();

    Automated_GSM_Sending& m_controller;
    QTableView* m_devices = nullptr;
    QTableView* m_cases = nullptr;
    QLabel* m_heading = nullptr;
    QLabel* m_information = nullptr;
    QProgressBar* m_progress = nullptr;
    QLineEdit* m_defaultSmsc = nullptr;
    QLineEdit* m_customSmsc = nullptr;
    QLineEdit* m_testNumber = nullptr;
    QPushButton* m_start = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_clear = nullptr;
    QPushButton* m_report = nullptr;
    QPushButton* m_use = nullptr;
    QPushButton* m_close = nullptr;
};
