#include "StoreTable.h"

#include "RecordTableModel.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTableView>

namespace {
const char* const kSyncing = "bulksmsSyncingSelection";

QList<int> selectedRowsOf(QTableView* view) {
    QList<int> rows;
    for (const QModelIndex& index : view->selectionModel()->selectedRows())
        rows << index.row();
    return rows;
}
} // namespace

QTableView* makeStoreTable(const RecordTable& table, QWidget* parent,
                           std::function<void(QList<int>)> selected) {
    auto* view = new QTableView(parent);
    auto* model = new RecordTableModel(table, view);
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setWordWrap(false);
    view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 6);
    view->horizontalHeader()->setStretchLastSection(true);
    auto report = [view, selected] {
        if (!view->property(kSyncing).toBool())
            selected(selectedRowsOf(view));
    };
    QObject::connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, view, report);
    return view;
}

void showSelectedRows(QTableView* view, const QList<int>& rows) {
    if (selectedRowsOf(view) == rows)
        return;
    view->setProperty(kSyncing, true);
    QItemSelection selection;
    for (int row : rows)
        selection.select(view->model()->index(row, 0),
                         view->model()->index(row, view->model()->columnCount() - 1));
    view->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    view->setProperty(kSyncing, false);
}

RecordTableModel* storeTableModel(QTableView* view) { return qobject_cast<RecordTableModel*>(view->model()); }
