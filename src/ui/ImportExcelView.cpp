#include "ImportExcelView.h"

#include "RecordTableModel.h"
#include "core/AppState.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QVBoxLayout>

ImportExcelView::ImportExcelView(Import_Excel& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - Import from Excel"));
    resize(520, 480);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout();
    m_path = new QLineEdit(this);
    m_path->setReadOnly(true);
    m_sheets = new QComboBox(this);
    m_sheets->setObjectName(QStringLiteral("Sheet_ComboBox"));
    form->addRow(QStringLiteral("File:"), m_path);
    form->addRow(QStringLiteral("Sheet:"), m_sheets);
    layout->addLayout(form);

    layout->addWidget(new QLabel(QStringLiteral("Tick the columns to import:"), this));
    auto* model = new RecordTableModel(controller.ListData(), this);
    model->setColumnTitle(kColumnTickedKey, QString());
    model->setColumnTitle(kColumnNameKey, QStringLiteral("Column"));
    model->setCheckColumn(kColumnTickedKey,
                          [this](int row, bool ticked) { m_controller.setColumnTicked(row, ticked); });
    auto* table = new QTableView(this);
    table->setModel(model);
    table->setSelectionMode(QAbstractItemView::NoSelection);
    table->horizontalHeader()->setStretchLastSection(true);
    table->setColumnWidth(0, 40);
    table->verticalHeader()->hide();
    layout->addWidget(table, 1);

    auto* row = new QHBoxLayout();
    m_header = new QCheckBox(QStringLiteral("First row is a header"), this);
    auto* selectAll = new QPushButton(QStringLiteral("Select All"), this);
    auto* clearAll = new QPushButton(QStringLiteral("Clear All"), this);
    row->addWidget(m_header);
    row->addStretch();
    row->addWidget(selectAll);
    row->addWidget(clearAll);
    layout->addLayout(row);

    auto* bottom = new QHBoxLayout();
    m_wait = new QLabel(QStringLiteral("Please wait..."), this);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    bottom->addWidget(m_wait);
    bottom->addStretch();
    bottom->addWidget(buttons);
    layout->addLayout(bottom);

    connect(m_sheets, &QComboBox::activated, this,
            [this](int index) { m_controller.Sheet_ComboBox_changed(index); });
    connect(m_header, &QCheckBox::toggled, this, [this](bool on) { m_controller.setContainsHeader(on); });
    connect(selectAll, &QPushButton::clicked, this, [this] { m_controller.Select_All(); });
    connect(clearAll, &QPushButton::clicked, this, [this] { m_controller.Clear_All(); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { m_controller.OKPressed(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { m_controller.CancelPressed(); });
    connect(&controller, &DialogController::changed, this, &ImportExcelView::refresh);
    refresh();
}

void ImportExcelView::refresh() {
    m_path->setText(m_controller.file_path());
    const QSignalBlocker b1(m_sheets), b2(m_header);
    QStringList shown;
    for (int i = 0; i < m_sheets->count(); ++i)
        shown << m_sheets->itemText(i);
    if (shown != m_controller.sheetNames()) {
        m_sheets->clear();
        m_sheets->addItems(m_controller.sheetNames());
    }
    m_sheets->setCurrentIndex(m_controller.sheetIndex());
    m_header->setChecked(m_controller.contains_header());
    m_wait->setVisible(m_controller.pleaseWaitVisible());
}
