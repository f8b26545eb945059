#include "AndroidSendingProgress.h"

#include "core/MainThread.h"
#include "core/Operator.h"

AndroidSendingProgress::AndroidSendingProgress(Operator& op, QObject* parent) : QObject(parent), m_op(op) {}

void AndroidSendingProgress::update(const std::function<void(State&)>& change) {
    MainThread::invokeAndWait([this, change] {
        change(m_state);
        emit changed();
    });
}

void AndroidSendingProgress::Stop_Btn() {
    // Held before the question shows: nothing more goes out while the operator hesitates.
    hold(true);
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nTerminating the current process will stop sending text messages "
                           "to the remaining contact. Are you sure you want to continue?"))) {
        hold(false);
        return;
    }
    requestStop();
}

void AndroidSendingProgress::hold(bool on) {
    m_held = on;
    if (m_holdRun)
        m_holdRun(on);
}
