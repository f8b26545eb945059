#pragma once
// The Android window's progress window: shown while a send runs, hidden when it ends.
#include <QDialog>

class AndroidSendingProgress;
class QLabel;
class QProgressBar;
class QPushButton;

class AndroidSendingProgressView : public QDialog {
    Q_OBJECT
public:
    explicit AndroidSendingProgressView(AndroidSendingProgress& controller, QWidget* parent = nullptr);

private:
    void refresh();

    AndroidSendingProgress& m_controller;
    QLabel* m_status = nullptr;
    QLabel* m_total = nullptr;
    QLabel* m_counter = nullptr;
    QLabel* m_current = nullptr;
    QLabel* m_pause = nullptr;
    QProgressBar* m_totalBar = nullptr;
    QProgressBar* m_busy = nullptr;
    QPushButton* m_stop = nullptr;
};
