#pragma once
// The tables of the stored-list windows: any RecordTable, whole rows selected, the
// selection handed to the controller as it changes and shown back when the controller
// changes it.
#include <QList>

#include <functional>

class QTableView;
class QWidget;
class RecordTable;
class RecordTableModel;

QTableView* makeStoreTable(const RecordTable& table, QWidget* parent,
                           std::function<void(QList<int>)> selected);

// Shows these rows selected without reporting them back.
void showSelectedRows(QTableView* view, const QList<int>& rows);

RecordTableModel* storeTableModel(QTableView* view);
