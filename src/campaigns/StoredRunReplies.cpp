// What the run's devices received: kept in the store (its campaign and stop word applied)
// before the device lets go of it.
#include "Replies.h"
#include "StoredRun.h"

ReceivedMessage receivedFromDevice(const QString& device, const QString& road, const IncomingMessage& in) {
    ReceivedMessage message;
    message.device = device;
    message.road = road;
    message.sender = in.sender;
    message.text = in.text;
    message.partReference = in.reference < 0 ? 0 : in.reference;
    message.partTotal = in.parts;
    message.partsArrived = in.partsArrived;
    message.complete = in.complete;
    message.sentAt = in.sentAt;
    return message;
}

bool StoredRun::keepReceived(const QString& device, const QList<IncomingMessage>& received) {
    for (const IncomingMessage& in : received) {
        QString why;
        if (!storeReceived(*m_store, receivedFromDevice(device, m_road, in), m_replyRules, &why)) {
            // The device keeps the replies; the next reading offers them again.
            fail(QStringLiteral("Replies could not be kept: %1").arg(why));
            return false;
        }
    }
    return true;
}
