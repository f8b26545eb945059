#pragma once
// Puts the parts of long received messages back together. Parts are grouped by sender,
// reference and total, come in any order, and a part that came already is passed over. A
// group still short of parts when its time is up is handed over as it is, marked incomplete
// with the parts it lacks, so the operator sees what came rather than nothing. The caller
// says what time it is: the assembler reads no clock.
#include "ReceivedSms.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <map>
#include <optional>
#include <tuple>

// A received message as the operator reads it: a single one, or the parts of a long one.
struct AssembledSms {
    QString sender;
    QDateTime sentAt; // the first part's time stamp (the earliest one when the first is missing)
    QString text;     // the parts that came, in order
    int total = 1;
    QList<int> missingParts;   // numbers (from 1) of the parts that never came
    QList<int> storageIndexes; // where the parts lay in the modem's storage, duplicates too
    bool complete() const { return missingParts.isEmpty(); }
};

class ConcatenatedSmsAssembler {
public:
    // How long the parts of one message may take to arrive, from its first part on.
    explicit ConcatenatedSmsAssembler(qint64 timeoutSeconds) : m_timeoutSeconds(timeoutSeconds) {}

    // Takes one received message (and where it lay, -1 when nowhere); gives the message it
    // completes: a single one at once, a long one with its last missing part.
    std::optional<AssembledSms> add(const ReceivedSms& sms, const QDateTime& now, int storageIndex = -1);

    // The groups whose time is up at `now`, each as an incomplete message, oldest first;
    // they are forgotten.
    QList<AssembledSms> expire(const QDateTime& now);

    // Every group still waiting, as incomplete messages (when reading stops for good).
    QList<AssembledSms> flush();

    qsizetype pendingCount() const { return qsizetype(m_groups.size()); }

private:
    using Key = std::tuple<QString, int, int>; // sender, reference, total
    struct Group {
        QDateTime firstArrival;
        std::map<int, ReceivedSms> parts; // by sequence number
        QList<int> storageIndexes;
    };
    QList<AssembledSms> take(const std::function<bool(const Group&)>& due);
    static AssembledSms assembled(const Group& group, int total);

    qint64 m_timeoutSeconds;
    std::map<Key, Group> m_groups;
};
