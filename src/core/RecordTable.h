#pragma once
// An ordered list of records that tells its views about every change, so one generic
// table model can show any table of the system. Changes happen on the main thread;
// the signals come in pairs (about to change / changed) as item views need them.
#include "Record.h"

#include <QObject>

class RecordTable : public QObject {
    Q_OBJECT
public:
    explicit RecordTable(QStringList columns, QObject* parent = nullptr);

    // The record keys shown as columns, in order.
    const QStringList& columns() const { return m_columns; }

    int size() const { return int(m_records.size()); }
    bool isEmpty() const { return m_records.isEmpty(); }
    const Record& at(int row) const { return m_records.at(row); }
    const RecordList& records() const { return m_records; }

    void prepend(const Record& record);
    void append(const Record& record);
    void append(RecordList records);            // one insertion, records in their order after the others
    void insert(int row, const Record& record); // row clamped to 0..size()
    void replace(int row, const Record& record);
    void removeRows(QList<int> rows); // any order, duplicates ignored
    void setRecords(RecordList records);
    void clear() { setRecords({}); }

signals:
    void aboutToInsert(int first, int last);
    void inserted();
    void aboutToReset();
    void wasReset();
    void rowChanged(int row);

protected:
    // Hooks for subclasses that keep an index beside the records.
    virtual void recordAdded(const Record&) {}
    virtual void recordRemoved(const Record&) {}
    virtual void allRemoved() {}
    // After count records went in at the end: recordAdded for each, unless a subclass
    // indexes them all at once.
    virtual void recordsAppended(qsizetype count);

private:
    QStringList m_columns;
    RecordList m_records;
};
