#pragma once
// A record table with a hash index on one key, so "is this value already here?" costs
// O(1) however long a stored list grows. Values compare exactly.
#include "core/RecordTable.h"

#include <QHash>

class KeyedTable : public RecordTable {
public:
    KeyedTable(QString key, QStringList columns, QObject* parent = nullptr)
        : RecordTable(std::move(columns), parent), m_key(std::move(key)) {}

    bool containsValue(const QString& value) const { return m_index.contains(value); }

protected:
    void recordAdded(const Record& r) override { ++m_index[r.value(m_key)]; }
    void recordRemoved(const Record& r) override {
        const auto it = m_index.find(r.value(m_key));
        if (it != m_index.end() && --it.value() == 0)
            m_index.erase(it);
    }
    void allRemoved() override { m_index.clear(); }

private:
    QString m_key;
    QHash<QString, int> m_index;
};
