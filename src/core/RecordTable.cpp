#include "RecordTable.h"

#include <algorithm>

RecordTable::RecordTable(QStringList columns, QObject* parent)
    : QObject(parent), m_columns(std::move(columns)) {}

void RecordTable::prepend(const Record& record) {
    emit aboutToInsert(0, 0);
    m_records.prepend(record);
    recordAdded(record);
    emit inserted();
}

void RecordTable::append(const Record& record) {
    emit aboutToInsert(size(), size());
    m_records.append(record);
    recordAdded(record);
    emit inserted();
}

void RecordTable::append(RecordList records) {
    if (records.isEmpty())
        return;
    const qsizetype count = records.size();
    emit aboutToInsert(size(), size() + int(count) - 1);
    // Into an empty table the batch is taken whole.
    if (m_records.isEmpty())
        m_records = std::move(records);
    else
        m_records.append(std::move(records));
    recordsAppended(count);
    emit inserted();
}

void RecordTable::recordsAppended(qsizetype count) {
    for (qsizetype i = m_records.size() - count; i < m_records.size(); ++i)
        recordAdded(m_records.at(i));
}

void RecordTable::insert(int row, const Record& record) {
    row = std::clamp(row, 0, size());
    emit aboutToInsert(row, row);
    m_records.insert(row, record);
    recordAdded(record);
    emit inserted();
}

void RecordTable::replace(int row, const Record& record) {
    if (row < 0 || row >= size())
        return;
    recordRemoved(m_records.at(row));
    m_records[row] = record;
    recordAdded(record);
    emit rowChanged(row);
}

void RecordTable::removeRows(QList<int> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows.isEmpty())
        return;
    emit aboutToReset();
    // One pass that keeps the rows not named: linear however many rows go.
    RecordList kept;
    kept.reserve(m_records.size() - rows.size());
    auto next = rows.cbegin();
    for (int i = 0; i < size(); ++i) {
        if (next != rows.cend() && *next == i) {
            recordRemoved(m_records.at(i));
            ++next;
        } else {
            kept.append(m_records.at(i));
        }
    }
    m_records = std::move(kept);
    emit wasReset();
}

void RecordTable::setRecords(RecordList records) {
    emit aboutToReset();
    allRemoved();
    m_records = std::move(records);
    for (const Record& r : m_records)
        recordAdded(r);
    emit wasReset();
}
