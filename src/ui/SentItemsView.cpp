#include "SentItemsView.h"

#include "StoreTable.h"
#include "core/AppState.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTableView>
#include <QVBoxLayout>

#include <functional>

SentItemsView::SentItemsView(Sent_Items& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("Sent Items - %1").arg(kApplicationName));
    auto* layout = new QVBoxLayout(this);
    auto* split = new QSplitter(Qt::Vertical, this);
    split->setObjectName(QStringLiteral("sentItemsSplitter")); // its place is kept by name
    m_table = makeStoreTable(controller.nsSendListData(), split,
                             [this](QList<int> rows) { m_controller.setSelectedRows(std::move(rows)); });
    m_table->setColumnWidth(0, 140);
    m_table->setColumnWidth(1, 380);
    m_table->setColumnWidth(2, 90);
    m_details = new QPlainTextEdit(split);
    m_details->setReadOnly(true);
    split->addWidget(m_table);
    split->addWidget(m_details);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 1);
    layout->addWidget(split, 1);

    auto* row = new QHBoxLayout();
    m_count = new QLabel(this);
    m_wait = new QLabel(QStringLiteral("Please wait..."), this);
    row->addWidget(m_count);
    row->addWidget(m_wait);
    row->addStretch();
    Sent_Items& c = m_controller;
    const QList<std::pair<QString, std::function<void()>>> actions = {
        {QStringLiteral("Send to Composer"), [&c] { c.Send_To_Main_Btn(); }},
        {QStringLiteral("Export..."), [&c] { c.Export_Btn(); }},
        {QStringLiteral("Clear Selected"), [&c] { c.Clear_Sel_Btn(); }},
        {QStringLiteral("Clear All"), [&c] { c.Clear_All_Btn(); }},
        {QStringLiteral("Close"), [&c] { c.Close_Btn(); }},
    };
    for (const auto& [title, action] : actions) {
        auto* button = new QPushButton(title, this);
        connect(button, &QPushButton::clicked, this, action);
        row->addWidget(button);
        m_buttons << button;
    }
    layout->addLayout(row);
    resize(900, 560);

    connect(&controller, &DialogController::changed, this, &SentItemsView::refresh);
    connect(&controller, &Sent_Items::selectionChanged, this,
            [this] { showSelectedRows(m_table, m_controller.selectedRows()); });
    refresh();
}

void SentItemsView::refresh() {
    m_count->setText(m_controller.countLabel());
    m_wait->setVisible(m_controller.loading() || m_controller.pleaseWaitShown());
    if (m_details->toPlainText() != m_controller.detailsText())
        m_details->setPlainText(m_controller.detailsText());
    for (QPushButton* b : m_buttons)
        b->setEnabled(m_controller.buttonsEnabled());
}
