#pragma once
// Joins the parts of concatenated messages into the message a handset would show. Parts are
// tied by destination, reference and total, as receiving phones tie them. A part whose
// number already arrived starts a new message (senders reuse references) and closes the
// earlier one as incomplete.
#include "ModemConfig.h"
#include "PduDecoder.h"

#include <QList>
#include <QMap>

namespace sim {

class MessageAssembler {
public:
    // Adds one accepted part (`part.text`, `part.pduHex` hold that part only). Returns the
    // messages this part finished: the message itself when it is complete, and an earlier
    // message it displaced.
    QList<ReceivedMessage> add(const ReceivedMessage& part, const Concatenation& concatenation);

    // Messages still waiting for parts, oldest first, marked incomplete.
    QList<ReceivedMessage> pending() const;

    // Gives up on every waiting message and returns them (incomplete).
    QList<ReceivedMessage> takePending();

private:
    struct Pending {
        quint64 order = 0;
        ReceivedMessage first;
        QMap<int, ReceivedMessage> parts; // by sequence number
        int total = 1;
    };
    static ReceivedMessage join(const Pending& pending);
    static QString keyOf(const ReceivedMessage& part, const Concatenation& concatenation);

    QMap<QString, Pending> m_pending;
    quint64 m_nextOrder = 0;
};

} // namespace sim
