#pragma once
// Edits one record of a window's list: its number (re-validated when changed) and message.
#include "core/DialogController.h"

class BulkSmsWindow;

class Update_Num_SMS : public DialogController {
    Q_OBJECT
public:
    Update_Num_SMS(BulkSmsWindow& window, int row, QObject* parent = nullptr);

    int row() const { return m_row; }
    QString originalNumber() const { return m_originalNumber; }

    QString number() const { return m_number; }
    void setNumber(const QString& text); // cut to 20 characters
    QString message() const { return m_message; }
    void setMessage(const QString& text); // cut to 1600 characters
    QString characterCounterText() const;
    // What the message costs as the window would send it ("GSM 7-bit, 1 SMS").
    QString messageCostText() const;

    void OKPressed();
    void CancelPressed();

private:
    void clearFields();

    BulkSmsWindow& m_window;
    int m_row;
    QString m_originalNumber;
    QString m_number;
    QString m_message;
};
