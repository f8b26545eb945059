#pragma once
// The Android window's progress window: shown while a send runs, with a row per recipient and a
// line per phone; once the run has ended it stays, to export its report, until Close.
#include <QDialog>

class AndroidSendingProgress;
class QLabel;
class QProgressBar;
class QPushButton;
class QTableView;

class AndroidSendingProgressView : public QDialog {
    Q_OBJECT
public:
    explicit AndroidSendingProgressView(AndroidSendingProgress& controller, QWidget* parent = nullptr);

    // Escape and the title bar's close: Close once the run has ended; while it runs, Stop is the way.
    void reject() override;

private:
    void refresh();

    AndroidSendingProgress& m_controller;
    QLabel* m_status = nullptr;
    QLabel* m_total = nullptr;
    QLabel* m_counter = nullptr;
    QLabel* m_current = nullptr;
    QLabel* m_phones = nullptr;
    QLabel* m_pause = nullptr;
    QLabel* m_pleaseWait = nullptr;
    QProgressBar* m_totalBar = nullptr;
    QProgressBar* m_busy = nullptr;
    QTableView* m_table = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_export = nullptr;
    QPushButton* m_close = nullptr;
    QPushButton* m_sendRest = nullptr; // "Send to the N not yet sent"
};
