#pragma once
// The one table model of the application: shows any RecordTable, one column per record
// key. It follows the table's change signals, so inserting at the top of 100,000 rows
// costs the view one row, not a reload.
#include "core/Record.h"

#include <QAbstractTableModel>
#include <QHash>

#include <functional>

class RecordTable;

class RecordTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit RecordTableModel(const RecordTable& table, QObject* parent = nullptr);

    // Column titles shown instead of the keys, where they differ.
    void setColumnTitle(const QString& key, const QString& title);
    // Shows the column as text made from the whole record (the record keeps its value).
    void setColumnText(const QString& key, std::function<QString(const Record&)> text);
    // Shows the column as a tick box ("1" ticked); a click calls onToggle(row, ticked).
    void setCheckColumn(const QString& key, std::function<void(int row, bool ticked)> onToggle);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

private:
    const RecordTable& m_table;
    QHash<QString, QString> m_titles;
    QHash<QString, std::function<QString(const Record&)>> m_texts;
    QString m_checkKey;
    std::function<void(int, bool)> m_onToggle;
};
