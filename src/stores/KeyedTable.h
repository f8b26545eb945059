#pragma once
// A record table with a hash index on one key, so "is this value already here?" costs
// O(1) however long a stored list grows. Values compare exactly, or in the form a given
// function makes of them (a phone number's E.164 form, so that one subscriber is one entry
// however it was written).
#include "core/RecordTable.h"

#include <QHash>

#include <functional>

class KeyedTable : public RecordTable {
public:
    using Form = std::function<QString(const QString&)>;

    KeyedTable(QString key, QStringList columns, QObject* parent = nullptr)
        : RecordTable(std::move(columns), parent), m_key(std::move(key)) {}

    // Values compare in this form from now on ({} for exactly as written).
    void setComparedForm(Form form) {
        m_form = std::move(form);
        m_index.clear();
        for (const Record& r : records())
            ++m_index[formOf(r.value(m_key))];
    }

    bool containsValue(const QString& value) const { return m_index.contains(formOf(value)); }
    // How many entries compare equal to the value.
    int countOf(const QString& value) const { return m_index.value(formOf(value)); }
    bool sameValue(const QString& a, const QString& b) const { return formOf(a) == formOf(b); }

protected:
    void recordAdded(const Record& r) override { ++m_index[formOf(r.value(m_key))]; }
    void recordRemoved(const Record& r) override {
        const auto it = m_index.find(formOf(r.value(m_key)));
        if (it != m_index.end() && --it.value() == 0)
            m_index.erase(it);
    }
    void allRemoved() override { m_index.clear(); }

private:
    QString formOf(const QString& value) const { return m_form ? m_form(value) : value; }

    QString m_key;
    Form m_form;
    QHash<QString, int> m_index;
};
