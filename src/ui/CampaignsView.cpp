#include "CampaignsView.h"

#include "core/AppState.h"

#include <QAbstractTableModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QVBoxLayout>

// The controller's campaigns as rows; the counts right-aligned.
class CampaignTableModel : public QAbstractTableModel {
public:
    CampaignTableModel(const CampaignsWindow& window, QObject* parent)
        : QAbstractTableModel(parent), m_window(window), m_rows(int(window.campaigns().size())) {}

    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : m_rows; }
    int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(CampaignsWindow::columnTitles().size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (role == Qt::TextAlignmentRole && index.column() != 1 && index.column() != 2 &&
            index.column() != 3)
            return int(Qt::AlignRight | Qt::AlignVCenter);
        if (role != Qt::DisplayRole || index.row() >= m_window.campaigns().size())
            return {};
        return CampaignsWindow::rowTexts(m_window.campaigns().at(index.row())).value(index.column());
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
            return CampaignsWindow::columnTitles().value(section);
        return {};
    }
    // The list was read again: same rows change in place, others reset the table.
    void reload() {
        const int rows = int(m_window.campaigns().size());
        if (rows == m_rows) {
            if (rows > 0)
                emit dataChanged(index(0, 0), index(rows - 1, columnCount() - 1));
            return;
        }
        beginResetModel();
        m_rows = rows;
        endResetModel();
    }

private:
    const CampaignsWindow& m_window;
    int m_rows;
};

CampaignsView::CampaignsView(CampaignsWindow& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("Campaigns - %1").arg(kApplicationName));
    auto* layout = new QVBoxLayout(this);
    m_model = new CampaignTableModel(controller, this);
    m_table = new QTableView(this);
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setColumnWidth(0, 50);
    m_table->setColumnWidth(1, 215); // "Scheduled for" and its time
    m_table->setColumnWidth(3, 170);
    for (int column : {4, 5, 6, 7, 8, 9})
        m_table->setColumnWidth(column, 70);
    m_table->setColumnWidth(10, 150);
    layout->addWidget(m_table, 1);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        const QModelIndexList rows = m_table->selectionModel()->selectedRows();
        m_controller.setSelectedRow(rows.isEmpty() ? -1 : rows.first().row());
    });
    connect(m_table, &QTableView::doubleClicked, this, [this] { m_controller.Open_Btn(); });

    auto* row = new QHBoxLayout();
    m_wait = new QLabel(QStringLiteral("Please wait..."), this);
    row->addWidget(m_wait);
    row->addStretch();
    m_open = new QPushButton(QStringLiteral("Open..."), this);
    m_resume = new QPushButton(QStringLiteral("Resume"), this);
    m_changeTime = new QPushButton(QStringLiteral("Change time..."), this);
    m_cancel = new QPushButton(QStringLiteral("Cancel"), this);
    m_export = new QPushButton(QStringLiteral("Export..."), this);
    auto* close = new QPushButton(QStringLiteral("Close"), this);
    for (QPushButton* b : {m_open, m_resume, m_changeTime, m_cancel, m_export, close}) {
        b->setAutoDefault(false);
        row->addWidget(b);
    }
    layout->addLayout(row);
    CampaignsWindow& c = m_controller;
    connect(m_open, &QPushButton::clicked, this, [&c] { c.Open_Btn(); });
    connect(m_resume, &QPushButton::clicked, this, [&c] { c.Resume_Btn(); });
    connect(m_changeTime, &QPushButton::clicked, this, [&c] { c.Change_Time_Btn(); });
    connect(m_cancel, &QPushButton::clicked, this, [&c] { c.Cancel_Btn(); });
    connect(m_export, &QPushButton::clicked, this, [&c] { c.Export_Btn(); });
    connect(close, &QPushButton::clicked, this, [&c] { c.Close_Btn(); });
    resize(1180, 480);

    connect(&controller, &DialogController::changed, this, &CampaignsView::refresh);
    refresh();
}

void CampaignsView::refresh() {
    {
        // The selection follows its campaign to wherever the new read put it.
        const QSignalBlocker block(m_table->selectionModel());
        m_model->reload();
        const int row = m_controller.selectedRow();
        if (row < 0)
            m_table->clearSelection();
        else
            m_table->selectionModel()->select(m_model->index(row, 0), QItemSelectionModel::ClearAndSelect |
                                                                          QItemSelectionModel::Rows);
    }
    m_table->viewport()->update();
    m_wait->setVisible(m_controller.pleaseWaitShown());
    m_open->setEnabled(m_controller.selectionEnabled());
    m_export->setEnabled(m_controller.selectionEnabled());
    m_resume->setEnabled(m_controller.resumeEnabled());
    m_changeTime->setEnabled(m_controller.changeTimeEnabled());
    m_cancel->setEnabled(m_controller.cancelEnabled());
}
