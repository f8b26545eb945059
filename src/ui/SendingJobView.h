#pragma once
// The sending job's window: status, notice, progress and pause, the item table, Stop and Close.
#include "sending/windows/SMS_Sending.h"

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;
class QTableView;

class SendingJobView : public QDialog {
    Q_OBJECT
public:
    SendingJobView(SMS_Sending& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    void refresh();

    SMS_Sending& m_controller;
    QLabel* m_status = nullptr;
    QLabel* m_ports = nullptr;
    QLabel* m_notice = nullptr;
    QLabel* m_waiting = nullptr;
    QLabel* m_total = nullptr;
    QLabel* m_progressText = nullptr;
    QLabel* m_pause = nullptr;
    QLabel* m_pleaseWait = nullptr;
    QProgressBar* m_overall = nullptr;
    QProgressBar* m_activity = nullptr;
    QTableView* m_table = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_close = nullptr;
    QPushButton* m_export = nullptr;
    QPushButton* m_sendRest = nullptr; // "Send to the N not yet sent"
};
