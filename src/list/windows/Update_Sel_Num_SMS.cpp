#include "Update_Sel_Num_SMS.h"

#include "BulkSmsWindow.h"
#include "core/Operator.h"
#include "text/NumberRules.h"

#include "core/MainThread.h"

Update_Sel_Num_SMS::Update_Sel_Num_SMS(BulkSmsWindow& window, QObject* parent)
    : DialogController(parent), m_window(window) {}

Update_Sel_Num_SMS::~Update_Sel_Num_SMS() {
    // First: the join runs the collector's hand-off, and its result must not land here.
    *m_alive = false;
    m_collector.join();
}

void Update_Sel_Num_SMS::startCollecting() {
    m_collecting = true;
    emit changed();
    // The worker reads copies: the list is shared, never modified, while it runs.
    const RecordList records = m_window.list().records();
    const QList<int> rows = m_window.selectedRows();
    m_collector.start([this, records, rows](std::stop_token) {
        QStringList numbers;
        numbers.reserve(rows.size());
        for (int row : rows)
            if (row >= 0 && row < records.size())
                numbers << records.at(row).value(kNumberKey);
        MainThread::post([this, alive = m_alive, numbers] {
            if (!*alive)
                return; // the dialog is gone
            m_numbers = numbers;
            m_collecting = false;
            emit changed();
        });
    });
}

QString Update_Sel_Num_SMS::totalLabel() const {
    return QStringLiteral("Total Selected Numbers : %1").arg(m_numbers.size());
}

void Update_Sel_Num_SMS::setMessage(const QString& text) {
    const QString cut = text.left(kMaxMessageLength);
    if (text.size() > kMaxMessageLength)
        m_window.op().Show_MessageBox(messageCutNotice(text.size() - kMaxMessageLength));
    if (cut == m_message)
        return;
    m_message = cut;
    emit changed();
}

QString Update_Sel_Num_SMS::characterCounterText() const {
    return QStringLiteral("%1 Characters").arg(m_message.size());
}

QString Update_Sel_Num_SMS::messageCostText() const { return m_window.messageCostOf(m_message); }

void Update_Sel_Num_SMS::ApplyPressed() {
    if (m_collecting)
        return;
    Operator& op = m_window.op();
    if (m_message.isEmpty()) {
        op.Show_MessageBox(QStringLiteral("Please enter some text message."));
        return;
    }
    if (!op.Show_YES_NO_MessageBox(
            QStringLiteral("This action will copy the above message to the selected numbers "
                           "in the list. The messages of rest of the numbers remain "
                           "unchanged.\n\nDo you want to continue?")))
        return;
    for (int row : m_window.selectedRows())
        m_window.replaceMessage(row, m_message);
    m_message.clear();
    emit messageCleared();
    emit changed();
    endModal(1);
}
