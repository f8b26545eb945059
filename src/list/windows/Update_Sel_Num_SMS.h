#pragma once
// Gives every selected record of a window's list a new message typed in this dialog.
// The selected numbers are collected on a worker thread; Apply and Cancel wait for it.
#include "core/DialogController.h"
#include "core/WorkerThread.h"

#include <QStringList>

#include <memory>

class BulkSmsWindow;

class Update_Sel_Num_SMS : public DialogController {
    Q_OBJECT
public:
    explicit Update_Sel_Num_SMS(BulkSmsWindow& window, QObject* parent = nullptr);
    ~Update_Sel_Num_SMS() override;

    void startCollecting();
    bool buttonsEnabled() const { return !m_collecting; }
    const QStringList& numbers() const { return m_numbers; }
    QString totalLabel() const;

    QString message() const { return m_message; }
    void setMessage(const QString& text); // cut to 1600 characters
    QString characterCounterText() const;
    // What the message costs as the window would send it ("GSM 7-bit, 1 SMS").
    QString messageCostText() const;

    void ApplyPressed();
    void CancelPressed() { endModal(0); }

signals:
    // The message box was emptied: its undo history goes too.
    void messageCleared();

private:
    BulkSmsWindow& m_window;
    WorkerThread m_collector{QStringLiteral("collect-numbers")};
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); // read and written on the main thread only
    bool m_collecting = false;
    QStringList m_numbers;
    QString m_message;
};
