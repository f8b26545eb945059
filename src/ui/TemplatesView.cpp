#include "TemplatesView.h"

#include "StoreTable.h"
#include "core/AppState.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <functional>

TemplatesView::TemplatesView(Templates& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("Templates - %1").arg(kApplicationName));
    auto* layout = new QHBoxLayout(this);
    auto* left = new QVBoxLayout();
    m_table = makeStoreTable(controller.nsTemplateListData(), this,
                             [this](QList<int> rows) { m_controller.setSelectedRows(std::move(rows)); });
    m_table->setWordWrap(true);
    left->addWidget(m_table, 1);
    auto* status = new QHBoxLayout();
    m_count = new QLabel(this);
    m_wait = new QLabel(QStringLiteral("Please wait..."), this);
    status->addWidget(m_count);
    status->addWidget(m_wait);
    status->addStretch();
    left->addLayout(status);
    layout->addLayout(left, 1);

    auto* right = new QVBoxLayout();
    Templates& c = m_controller;
    const QList<std::pair<QString, std::function<void()>>> actions = {
        {QStringLiteral("Use in Composer"), [&c] { c.Use_Template_Btn(); }},
        {QStringLiteral("Add..."), [&c] { c.Add_Btn(); }},
        {QStringLiteral("Update..."), [&c] { c.Update_Btn(); }},
        {QStringLiteral("Delete Selected"), [&c] { c.Delete_Sel_Btn(); }},
        {QStringLiteral("Delete All"), [&c] { c.Delete_All_Btn(); }},
        {QStringLiteral("Import..."), [&c] { c.Import_Btn(); }},
        {QStringLiteral("Export..."), [&c] { c.Export_Btn(); }},
        {QStringLiteral("Close"), [&c] { c.Close_Btn(); }},
    };
    for (const auto& [title, action] : actions) {
        auto* button = new QPushButton(title, this);
        connect(button, &QPushButton::clicked, this, action);
        right->addWidget(button);
        m_buttons << button;
    }
    right->addStretch();
    layout->addLayout(right);
    resize(760, 480);

    connect(m_table, &QTableView::doubleClicked, this, [this] { m_controller.Update_Btn(); });
    connect(&controller, &DialogController::changed, this, &TemplatesView::refresh);
    connect(&controller, &Templates::selectionChanged, this,
            [this] { showSelectedRows(m_table, m_controller.selectedRows()); });
    refresh();
}

void TemplatesView::refresh() {
    m_count->setText(m_controller.countLabel());
    m_wait->setVisible(m_controller.loading() || m_controller.pleaseWaitShown());
    for (QPushButton* b : m_buttons)
        b->setEnabled(m_controller.buttonsEnabled());
}
