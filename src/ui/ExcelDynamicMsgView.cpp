#include "ExcelDynamicMsgView.h"

#include "RecordTableModel.h"
#include "core/AppState.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTableView>
#include <QVBoxLayout>

ExcelDynamicMsgView::ExcelDynamicMsgView(Excel_Dynamic_Msg& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - Messages from Excel"));
    resize(640, 520);
    auto* layout = new QVBoxLayout(this);
    m_pages = new QStackedWidget(this);
    m_pages->addWidget(buildModePage());
    m_pages->addWidget(buildFilePage());
    m_pages->addWidget(buildTemplatePage());
    layout->addWidget(m_pages, 1);

    auto* bottom = new QHBoxLayout();
    auto* example = new QPushButton(QStringLiteral("Example"), this);
    m_wait = new QLabel(QStringLiteral("Please wait..."), this);
    m_left = new QPushButton(this);
    m_right = new QPushButton(this);
    m_right->setDefault(true);
    bottom->addWidget(example);
    bottom->addWidget(m_wait);
    bottom->addStretch();
    bottom->addWidget(m_left);
    bottom->addWidget(m_right);
    layout->addLayout(bottom);

    connect(example, &QPushButton::clicked, this, [this] { m_controller.Example(); });
    connect(m_left, &QPushButton::clicked, this, [this] { m_controller.leftButtonPressed(); });
    connect(m_right, &QPushButton::clicked, this, [this] { m_controller.rightButtonPressed(); });
    connect(&controller, &DialogController::changed, this, &ExcelDynamicMsgView::refresh);
    refresh();
}

void ExcelDynamicMsgView::reject() {
    // Closing the window walks back to the mode choice and closes from there.
    while (!m_controller.isEnded())
        m_controller.leftButtonPressed();
}

QWidget* ExcelDynamicMsgView::buildModePage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(new QLabel(QStringLiteral("How are the messages given in the sheet?"), page));
    m_perRow =
        new QRadioButton(QStringLiteral("Each row has its phone number and its own message text"), page);
    m_dynamic = new QRadioButton(
        QStringLiteral("Create a dynamic, personalised message for each row from the data of its columns"),
        page);
    layout->addWidget(m_perRow);
    layout->addWidget(m_dynamic);
    layout->addStretch();
    connect(m_perRow, &QRadioButton::clicked, this, [this] { m_controller.setMode(0); });
    connect(m_dynamic, &QRadioButton::clicked, this, [this] { m_controller.setMode(1); });
    return page;
}

QWidget* ExcelDynamicMsgView::buildFilePage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    m_fileText = new QLabel(page);
    m_fileText->setWordWrap(true);
    layout->addWidget(m_fileText);
    auto* fileRow = new QHBoxLayout();
    m_path = new QLineEdit(page);
    m_path->setReadOnly(true);
    auto* browse = new QPushButton(QStringLiteral("Browse..."), page);
    fileRow->addWidget(m_path, 1);
    fileRow->addWidget(browse);
    layout->addLayout(fileRow);
    m_sheetLabel = new QLabel(page);
    m_sheets = new QComboBox(page);
    m_sheets->setObjectName(QStringLiteral("Sheet_ComboBox"));
    layout->addWidget(m_sheetLabel);
    layout->addWidget(m_sheets);

    m_perRowColumns = new QWidget(page);
    auto* form = new QFormLayout(m_perRowColumns);
    m_numberColumn = new QComboBox(m_perRowColumns);
    m_messageColumn = new QComboBox(m_perRowColumns);
    form->addRow(QStringLiteral("Column of phone numbers:"), m_numberColumn);
    form->addRow(QStringLiteral("Column of messages:"), m_messageColumn);
    layout->addWidget(m_perRowColumns);

    m_tickColumns = new QWidget(page);
    auto* tickLayout = new QVBoxLayout(m_tickColumns);
    tickLayout->setContentsMargins(0, 0, 0, 0);
    tickLayout->addWidget(
        new QLabel(QStringLiteral("Tick the column(s) holding phone numbers:"), m_tickColumns));
    auto* model = new RecordTableModel(m_controller.ListData(), m_tickColumns);
    model->setColumnTitle(kColumnTickedKey, QString());
    model->setColumnTitle(kColumnNameKey, QStringLiteral("Column"));
    model->setCheckColumn(kColumnTickedKey,
                          [this](int row, bool ticked) { m_controller.setColumnTicked(row, ticked); });
    auto* table = new QTableView(m_tickColumns);
    table->setModel(model);
    table->setSelectionMode(QAbstractItemView::NoSelection);
    table->horizontalHeader()->setStretchLastSection(true);
    table->setColumnWidth(0, 40);
    table->verticalHeader()->hide();
    tickLayout->addWidget(table);
    layout->addWidget(m_tickColumns, 1);
    layout->addStretch();

    connect(browse, &QPushButton::clicked, this, [this] { m_controller.Browse(); });
    connect(m_sheets, &QComboBox::activated, this,
            [this](int index) { m_controller.Sheet_ComboBox_changed(index); });
    connect(m_numberColumn, &QComboBox::activated, this,
            [this](int index) { m_controller.Number_ComboBox_changed(index); });
    connect(m_messageColumn, &QComboBox::activated, this,
            [this](int index) { m_controller.Message_ComboBox_changed(index); });
    return page;
}

QWidget* ExcelDynamicMsgView::buildTemplatePage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(new QLabel(
        QStringLiteral("Columns (double-click or \"Use Column\" to insert a placeholder):"), page));
    auto* model = new RecordTableModel(m_controller.DynSMSListData(), page);
    model->setColumnTitle(kPlaceholderColumnNumberKey, QStringLiteral("No."));
    model->setColumnTitle(kPlaceholderColumnNameKey, QStringLiteral("Column"));
    model->setColumnTitle(kPlaceholderTextKey, QStringLiteral("Placeholder"));
    m_placeholders = new QTableView(page);
    m_placeholders->setModel(model);
    m_placeholders->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_placeholders->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_placeholders->horizontalHeader()->setStretchLastSection(true);
    m_placeholders->verticalHeader()->hide();
    layout->addWidget(m_placeholders, 1);
    auto* actions = new QHBoxLayout();
    auto* use = new QPushButton(QStringLiteral("Use Column"), page);
    auto* preview = new QPushButton(QStringLiteral("Preview"), page);
    actions->addWidget(use);
    actions->addWidget(preview);
    actions->addStretch();
    layout->addLayout(actions);
    layout->addWidget(new QLabel(QStringLiteral("Message template:"), page));
    m_template = new QPlainTextEdit(page);
    m_template->setObjectName(QStringLiteral("_templateEdit"));
    layout->addWidget(m_template, 1);

    connect(use, &QPushButton::clicked, this, [this] { useColumn(false); });
    connect(m_placeholders, &QTableView::doubleClicked, this, [this] { useColumn(true); });
    connect(preview, &QPushButton::clicked, this, [this] { m_controller.Preview(); });
    connect(m_template, &QPlainTextEdit::textChanged, this,
            [this] { m_controller.setTemplateText(m_template->toPlainText()); });
    return page;
}

void ExcelDynamicMsgView::useColumn(bool byDoubleClick) {
    QList<int> rows;
    for (const QModelIndex& index : m_placeholders->selectionModel()->selectedRows())
        rows << index.row();
    const QTextCursor cursor = m_template->textCursor();
    const int position =
        m_controller.Use_Column(rows, cursor.selectionStart(), cursor.selectionEnd(), byDoubleClick);
    if (position < 0)
        return;
    QTextCursor moved = m_template->textCursor();
    moved.setPosition(qMin(position, int(m_template->toPlainText().size())));
    m_template->setTextCursor(moved);
    m_template->setFocus();
}

void ExcelDynamicMsgView::fillCombo(QComboBox* box, const QStringList& items, int current) {
    const QSignalBlocker block(box);
    QStringList shown;
    for (int i = 0; i < box->count(); ++i)
        shown << box->itemText(i);
    if (shown != items) {
        box->clear();
        box->addItems(items);
    }
    box->setCurrentIndex(current);
}

void ExcelDynamicMsgView::refresh() {
    const int step = m_controller.next_counter();
    const bool dynamic = m_controller.EXEL_OR_DYN_SMS() == 1;
    m_pages->setCurrentIndex(qBound(0, step, 2));
    m_perRow->setChecked(!dynamic);
    m_dynamic->setChecked(dynamic);
    m_fileText->setText(m_controller.fileStepText());
    m_path->setText(m_controller.file_path());
    m_sheetLabel->setText(m_controller.sheetLabel());
    fillCombo(m_sheets, m_controller.sheetNames(), m_controller.sheetIndex());
    fillCombo(m_numberColumn, m_controller.columnNames(), m_controller.number_col());
    fillCombo(m_messageColumn, m_controller.columnNames(), m_controller.msg_col());
    m_perRowColumns->setVisible(!dynamic);
    m_tickColumns->setVisible(dynamic);
    if (m_template->toPlainText() != m_controller.templateText()) {
        const QSignalBlocker block(m_template);
        m_template->setPlainText(m_controller.templateText());
    }
    m_wait->setVisible(m_controller.pleaseWaitVisible());
    m_left->setText(m_controller.leftButtonTitle());
    m_right->setText(m_controller.rightButtonTitle());
}
