#pragma once
// A record table keyed by "Number" with a hash index beside it, so "is this number
// already here?" costs O(1) however long the list grows. Numbers compare exactly, in their
// E.164 form when a default country gave them one.
#include "NumberIndex.h"
#include "core/RecordTable.h"

inline const QString kNumberKey = QStringLiteral("Number");
inline const QString kMessageKey = QStringLiteral("Message");
// Beside "Number" (as written) when a default country is set: the number as it is sent.
inline const QString kE164Key = QStringLiteral("E164");
// What the window's last run did for the recipient ("Sent", "Failed", "Unknown", "Not sent"; ""
// for a row it did not send to).
inline const QString kLastRunKey = QStringLiteral("Last Run");

// The number as it is sent and compared: its E.164 form when it has one, else as written.
inline QString recipientNumber(const Record& r) {
    const QString e164 = r.value(kE164Key);
    return e164.isEmpty() ? r.value(kNumberKey) : e164;
}

class NumberList : public RecordTable {
public:
    explicit NumberList(QStringList columns, QObject* parent = nullptr)
        : RecordTable(std::move(columns), parent) {}

    // number in the form recipientNumber gives.
    bool containsNumber(const QString& number) const { return m_index.contains(number); }

    // How many records hold each number (in the form recipientNumber gives): what a batch
    // builds as it goes, so that it goes in without reading its records again.
    using Index = NumberIndex;
    // Puts records after the others, in their order; index counts exactly their numbers. Into
    // an empty list the index is taken as it is.
    void append(RecordList records, Index index) {
        m_incoming = std::move(index);
        RecordTable::append(std::move(records));
        m_incoming = Index();
    }
    using RecordTable::append;

protected:
    void recordAdded(const Record& r) override { m_index.add(recipientNumber(r)); }
    void recordRemoved(const Record& r) override { m_index.remove(recipientNumber(r)); }
    void allRemoved() override { m_index.clear(); }
    void recordsAppended(qsizetype count) override {
        if (m_incoming.isEmpty())
            RecordTable::recordsAppended(count);
        else
            m_index.merge(std::move(m_incoming));
    }

private:
    Index m_index; // number -> how many records hold it
    Index m_incoming;
};

// A recipient record: "Number" and "Message" (BulkSmsWindow::recipientFor adds "E164").
inline Record recipientRecord(const QString& number, const QString& message) {
    return Record{{kNumberKey, number}, {kMessageKey, message}};
}
