#include "AndroidSendingProgress.h"

#include "core/Clock.h"
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
    m_held = true; // before the question shows: nothing more goes out while the operator hesitates
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nTerminating the current process will stop sending text messages "
                           "to the remaining contact. Are you sure you want to continue?"))) {
        m_held = false;
        return;
    }
    requestStop();
    Stop_SMS_Sending_Now = true;
}

bool AndroidSendingProgress::waitWhileHeld(const std::function<bool()>& stopped) const {
    while (m_held && !stopped())
        Clock::sleepUnless(std::chrono::milliseconds(50), [&] { return !m_held || stopped(); });
    return !stopped();
}
