#pragma once
// The SIM's message store: numbered places (from 1) holding received messages, messages the
// computer wrote there, and status reports the modem kept. Each keeps its status as 27.005
// numbers it: 0 "REC UNREAD", 1 "REC READ", 2 "STO UNSENT", 3 "STO SENT".
#include <QDateTime>
#include <QList>
#include <QString>

#include <map>
#include <optional>
#include <utility>

namespace sim {

struct SimEntry {
    enum class Kind { Received, Written, Report };
    Kind kind = Kind::Received;
    int status = 0;
    QString pduHex;     // service centre information first
    int tpduLength = 0; // octets after it
    // What text mode shows: the other party, its type of address, the time stamp as text,
    // the text and its coding; a report's fields after its status ("6,<mr>,...").
    QString address;
    int addressType = 0x91;
    QString timestamp;
    QString text;
    int dcs = 0;
    QString reportFields;
};

class SimStore {
public:
    enum Status { RecUnread = 0, RecRead = 1, StoUnsent = 2, StoSent = 3, All = 4 };

    explicit SimStore(int capacity) : m_capacity(capacity) {}

    int capacity() const { return m_capacity; }
    int used() const { return int(m_entries.size()); }
    bool full() const { return used() >= m_capacity; }
    // Stores in the lowest free place; its index, or -1 when every place is taken.
    int store(const SimEntry& entry);
    SimEntry* at(int index);
    // Takes the entry out of its place; nothing when the place is empty.
    std::optional<SimEntry> take(int index);
    // The indexes of the entries of this status (All: every one), in order.
    QList<int> indexes(int status) const;
    // "AT+CMGD=<i>,<flag>" with flag 1..4: 1 every read message, 2 and sent ones, 3 and unsent
    // ones, 4 everything. The entries removed, by index.
    QList<std::pair<int, SimEntry>> removeByFlag(int flag);

    // "REC UNREAD" ... "ALL", and back (-1 for a name that is none of them).
    static QString statusName(int status);
    static int statusFromName(const QString& name);

private:
    int m_capacity;
    std::map<int, SimEntry> m_entries;
};

} // namespace sim
