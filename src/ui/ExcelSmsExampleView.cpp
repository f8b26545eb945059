#include "ExcelSmsExampleView.h"

#include "core/AppState.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

ExcelSmsExampleView::ExcelSmsExampleView(Excel_SMS_Example& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - Example"));
    resize(560, 360);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("A sheet with these columns:"), this));
    const QStringList header{QStringLiteral("Name"), QStringLiteral("Phone"), QStringLiteral("Balance")};
    const QList<QStringList> rows{{QStringLiteral("Ann"), QStringLiteral("5550100"), QStringLiteral("12.50")},
                                  {QStringLiteral("Bob"), QStringLiteral("5550111"), QStringLiteral("7.25")}};
    auto* table = new QTableWidget(int(rows.size()), int(header.size()), this);
    table->setHorizontalHeaderLabels(header);
    table->horizontalHeader()->setStretchLastSection(true);
    for (int r = 0; r < rows.size(); ++r)
        for (int c = 0; c < header.size(); ++c)
            table->setItem(r, c, new QTableWidgetItem(rows[r][c]));
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    layout->addWidget(table);
    layout->addWidget(new QLabel(
        QStringLiteral(
            "Tick the column Phone and write the template:\n    Dear <COL-1>, your balance is <COL-3>\n\n"
            "The list then gets:\n    5550100   Dear Ann, your balance is 12.50\n"
            "    5550111   Dear Bob, your balance is 7.25\n\n"
            "Per-row mode instead takes the number and the whole message from two columns."),
        this));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
}
