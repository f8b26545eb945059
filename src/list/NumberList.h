#pragma once
// A record table keyed by "Number" with a hash index beside it, so "is this number
// already here?" costs O(1) however long the list grows. Numbers compare exactly, in their
// E.164 form when a default country gave them one.
#include "core/RecordTable.h"

#include <QHash>

inline const QString kNumberKey = QStringLiteral("Number");
inline const QString kMessageKey = QStringLiteral("Message");
// Beside "Number" (as written) when a default country is set: the number as it is sent.
inline const QString kE164Key = QStringLiteral("E164");

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

protected:
    void recordAdded(const Record& r) override { ++m_index[recipientNumber(r)]; }
    void recordRemoved(const Record& r) override {
        const auto it = m_index.find(recipientNumber(r));
        if (it != m_index.end() && --it.value() == 0)
            m_index.erase(it);
    }
    void allRemoved() override { m_index.clear(); }

private:
    QHash<QString, int> m_index; // number -> how many records hold it
};

// A recipient record: "Number" and "Message" (BulkSmsWindow::recipientFor adds "E164").
inline Record recipientRecord(const QString& number, const QString& message) {
    return Record{{kNumberKey, number}, {kMessageKey, message}};
}
