#include "Update_Num_SMS.h"

#include "BulkSmsWindow.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"

Update_Num_SMS::Update_Num_SMS(BulkSmsWindow& window, int row, QObject* parent)
    : DialogController(parent), m_window(window), m_row(row) {
    const Record record = window.list().at(row);
    m_originalNumber = record.value(kNumberKey);
    m_number = m_originalNumber;
    m_message = record.value(kMessageKey);
}

void Update_Num_SMS::setNumber(const QString& text) {
    m_number = text.left(kMaxNumberLength);
    emit changed();
}

void Update_Num_SMS::setMessage(const QString& text) {
    m_message = text.left(kMaxMessageLength);
    if (text.size() > kMaxMessageLength)
        m_window.op().Show_MessageBox(messageCutNotice(text.size() - kMaxMessageLength));
    emit changed();
}

QString Update_Num_SMS::characterCounterText() const {
    return QStringLiteral("%1 Characters").arg(m_message.size());
}

QString Update_Num_SMS::messageCostText() const { return m_window.messageCostOf(m_message); }

void Update_Num_SMS::OKPressed() {
    const QString message = m_message.left(kMaxMessageLength);
    NumberList& list = m_window.list();
    if (m_row < 0 || m_row >= list.size()) {
        CancelPressed(); // the row went away meanwhile: nothing to update
        return;
    }
    if (m_number == m_originalNumber) {
        Record record = list.at(m_row);
        record.insert(kMessageKey, message);
        list.replace(m_row, record);
    } else {
        const QString s = m_window.validTypedNumber(m_number);
        Operator& op = m_window.op();
        if (s.isEmpty()) {
            op.Show_MessageBox(QStringLiteral("Please enter a valid phone number."));
            return;
        }
        if (m_window.skipDuplicates() && m_window.Check_Duplicate_Number(s)) {
            op.Show_MessageBox(QStringLiteral("Entered number already exists."));
            return;
        }
        if (m_window.exclusion() && m_window.Check_Exclusion_Number(s)) {
            op.Show_MessageBox(QStringLiteral("Entered number is in exclusion list."));
            return;
        }
        list.replace(m_row, m_window.recipientFor(s, message));
    }
    clearFields();
    endModal(1);
}

void Update_Num_SMS::CancelPressed() {
    clearFields();
    endModal(0);
}

void Update_Num_SMS::clearFields() {
    m_number.clear();
    m_message.clear();
    emit changed();
}
