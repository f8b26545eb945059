#pragma once
// A record table keyed by "Number" with a hash index beside it, so "is this number
// already here?" costs O(1) however long the list grows. Numbers compare exactly.
#include "core/RecordTable.h"

#include <QHash>

inline const QString kNumberKey = QStringLiteral("Number");
inline const QString kMessageKey = QStringLiteral("Message");

class NumberList : public RecordTable {
public:
    explicit NumberList(QStringList columns, QObject* parent = nullptr)
        : RecordTable(std::move(columns), parent) {}

    bool containsNumber(const QString& number) const { return m_index.contains(number); }

protected:
    void recordAdded(const Record& r) override { ++m_index[r.value(kNumberKey)]; }
    void recordRemoved(const Record& r) override {
        const auto it = m_index.find(r.value(kNumberKey));
        if (it != m_index.end() && --it.value() == 0)
            m_index.erase(it);
    }
    void allRemoved() override { m_index.clear(); }

private:
    QHash<QString, int> m_index; // number -> how many records hold it
};

// A recipient record: exactly "Number" and "Message".
inline Record recipientRecord(const QString& number, const QString& message) {
    return Record{{kNumberKey, number}, {kMessageKey, message}};
}
