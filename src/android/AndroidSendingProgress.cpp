#include "AndroidSendingProgress.h"

#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/SendingFlags.h"

AndroidSendingProgress::AndroidSendingProgress(Operator& op, QObject* parent) : QObject(parent), m_op(op) {}

void AndroidSendingProgress::update(const std::function<void(State&)>& change) {
    MainThread::invokeAndWait([this, change] {
        change(m_state);
        emit changed();
    });
}

void AndroidSendingProgress::Stop_Btn() {
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nTerminating the current process will stop sending text messages "
                           "to the remaining contact. Are you sure you want to continue?")))
        return;
    requestStop();
    Stop_SMS_Sending_Now = true;
}
