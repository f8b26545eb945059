#include "MessageAssembler.h"

#include <algorithm>

namespace sim {

QString MessageAssembler::keyOf(const ReceivedMessage& part, const Concatenation& c) {
    return QStringLiteral("%1|%2|%3|%4").arg(part.mode, part.number).arg(c.reference).arg(c.total);
}

ReceivedMessage MessageAssembler::join(const Pending& pending) {
    ReceivedMessage message = pending.first;
    message.text.clear();
    message.pduHex.clear();
    for (const ReceivedMessage& part : pending.parts) { // QMap iterates in sequence order
        message.text += part.text;
        message.pduHex += part.pduHex;
    }
    message.parts = int(pending.parts.size());
    message.totalParts = pending.total;
    message.complete = message.parts == pending.total;
    return message;
}

QList<ReceivedMessage> MessageAssembler::add(const ReceivedMessage& part,
                                             const Concatenation& concatenation) {
    QList<ReceivedMessage> finished;
    if (concatenation.reference < 0 || concatenation.total <= 1) {
        ReceivedMessage single = part;
        single.parts = 1;
        single.totalParts = 1;
        single.complete = true;
        finished.append(single);
        return finished;
    }
    const QString key = keyOf(part, concatenation);
    auto it = m_pending.find(key);
    if (it != m_pending.end() && it->parts.contains(concatenation.sequence)) {
        finished.append(join(*it));
        m_pending.erase(it);
        it = m_pending.end();
    }
    if (it == m_pending.end()) {
        Pending fresh;
        fresh.order = m_nextOrder++;
        fresh.first = part;
        fresh.total = concatenation.total;
        it = m_pending.insert(key, fresh);
    }
    it->parts.insert(concatenation.sequence, part);
    if (concatenation.sequence == 1)
        it->first = part; // the first part speaks for the message (coding, SMSC)
    if (it->parts.size() == it->total) {
        finished.append(join(*it));
        m_pending.erase(it);
    }
    return finished;
}

QList<ReceivedMessage> MessageAssembler::pending() const {
    QList<const Pending*> ordered;
    for (const Pending& p : m_pending)
        ordered.append(&p);
    std::sort(ordered.begin(), ordered.end(),
              [](const Pending* a, const Pending* b) { return a->order < b->order; });
    QList<ReceivedMessage> result;
    for (const Pending* p : ordered)
        result.append(join(*p));
    return result;
}

QList<ReceivedMessage> MessageAssembler::takePending() {
    QList<ReceivedMessage> result = pending();
    m_pending.clear();
    return result;
}

} // namespace sim
