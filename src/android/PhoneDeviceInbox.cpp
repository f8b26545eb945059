// The replies a phone received, read between the messages of a run from its SMS provider.
#include "AdbRunner.h"
#include "PhoneDevice.h"
#include "core/Log.h"

using namespace std::chrono_literals;

namespace {
// The inbox is read at least this often.
constexpr auto kInboxReadEvery = 60s;
} // namespace

QList<IncomingMessage> PhoneDevice::takeReceived(bool now) {
    const auto time = std::chrono::steady_clock::now();
    if (!now && time < m_nextInboxRead)
        return {};
    m_nextInboxRead = time + Clock::scaled(kInboxReadEvery);
    const AdbTarget target(m_serialFilter);
    QString why;
    const std::optional<QList<IncomingMessage>> received = m_inbox.readNew(&why);
    if (!received) {
        if (!std::exchange(m_inboxRefusalTold, true)) {
            m_receivingNotice =
                QStringLiteral(
                    "Replies are not read: the phone does not let this computer read its messages (%1).")
                    .arg(why);
            Show_NSLog_Message(m_serial + QStringLiteral(": ") + m_receivingNotice);
        }
        return {};
    }
    return *received;
}

QString PhoneDevice::takeReceivingNotice() { return std::exchange(m_receivingNotice, {}); }

void PhoneDevice::forgetReceived(const QList<IncomingMessage>& kept) { m_inbox.kept(kept); }
