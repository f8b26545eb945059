#include "RecipientPanel.h"

#include "QuietHoursRow.h"
#include "RecordTableModel.h"
#include "core/ReplyOptions.h"
#include "delivery/DelaySchedule.h"
#include "list/DefaultCountry.h"
#include "list/ListLoad.h"
#include "list/NumberLoader.h"
#include "list/windows/BulkSmsWindow.h"
#include "sending/windows/CampaignsWindow.h"
#include "sending/windows/InboxWindow.h"
#include "stores/ContactListExport.h"
#include "stores/windows/StoreWindows.h"
#include "text/NumberRules.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTableView>
#include <QTextCursor>
#include <QVBoxLayout>

#include <algorithm>

RecipientPanel::RecipientPanel(BulkSmsWindow& window, CarriedRun& carried, StoreWindows& stores,
                               QWidget* parent)
    : QWidget(parent), m_window(window), m_stores(stores),
      m_campaigns(new CampaignsWindow(window, carried, this)),
      m_inbox(new InboxWindow(window.op(), window.dataFolder(), this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* splitter = new QSplitter(Qt::Horizontal, this);
    splitter->setObjectName(QStringLiteral("recipientSplitter")); // its place is kept by name
    splitter->addWidget(buildListSide());
    splitter->addWidget(buildComposerSide());
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    layout->addWidget(splitter);

    connect(&m_window, &MainWindowController::changed, this, &RecipientPanel::refresh);
    connect(&m_window, &BulkSmsWindow::focusRequested, this, [this](BulkSmsWindow::Focus target) {
        switch (target) {
        case BulkSmsWindow::Focus::NumberField: m_number->setFocus(); break;
        case BulkSmsWindow::Focus::Composer: m_composer->setFocus(); break;
        case BulkSmsWindow::Focus::DelayedCount: m_delayedCount->setFocus(); break;
        case BulkSmsWindow::Focus::DelayedTime: m_delayedTime->setFocus(); break;
        case BulkSmsWindow::Focus::QuietHours: m_quietHours->focusHours(); break;
        }
    });
    refresh();
}

// The stored lists and the list's export, each acting on this window (it is the active one).
QLayout* RecipientPanel::buildStoreButtons(QWidget* side) {
    auto* row = new QHBoxLayout();
    auto* exportList = new QPushButton(QStringLiteral("Export List..."), side);
    auto* sentItems = new QPushButton(QStringLiteral("Sent Items..."), side);
    auto* campaigns = new QPushButton(QStringLiteral("Campaigns..."), side);
    auto* inbox = new QPushButton(QStringLiteral("Inbox..."), side);
    inbox->setObjectName(QStringLiteral("Inbox_Btn"));
    auto* templates = new QPushButton(QStringLiteral("Templates..."), side);
    auto* exclusion = new QPushButton(QStringLiteral("Exclusion Lists..."), side);
    exportList->setObjectName(QStringLiteral("Export_Btn"));
    for (QPushButton* b : {exportList, sentItems, campaigns, inbox, templates, exclusion})
        row->addWidget(b);
    row->addStretch();
    connect(exportList, &QPushButton::clicked, this, [this] { exportContactList(m_window); });
    connect(sentItems, &QPushButton::clicked, this, [this] {
        Sent_Items& window = m_stores.sentItems();
        window.actOn(m_window.mainWindows());
        window.Open_Sent_Item_Wnd();
    });
    connect(campaigns, &QPushButton::clicked, this, [this] { m_campaigns->Open_Campaigns_Wnd(); });
    connect(inbox, &QPushButton::clicked, this, [this] {
        m_inbox->Open_Inbox_Wnd();
        refresh(); // its options name the footer the composer adds
    });
    // The unread replies as the inbox last read them: known once it was opened.
    connect(m_inbox, &DialogController::changed, inbox, [this, inbox] {
        const qint64 unread = m_inbox->unreadTotal();
        inbox->setText(unread > 0 ? QStringLiteral("Inbox (%1)...").arg(unread) : QStringLiteral("Inbox..."));
    });
    connect(templates, &QPushButton::clicked, this, [this] {
        Templates& window = m_stores.templates();
        window.actOn(m_window.mainWindows());
        window.Open_Template_Wnd();
    });
    connect(exclusion, &QPushButton::clicked, this, [this] {
        Exclusion_Wizard& window = m_stores.exclusion();
        window.actOn(m_window.mainWindows());
        window.Open_Exclusion_Wnd();
    });
    return row;
}

QWidget* RecipientPanel::buildListSide() {
    auto* side = new QGroupBox(QStringLiteral("Phone numbers - Messages"), this);
    auto* layout = new QVBoxLayout(side);
    layout->addLayout(buildNumberEntry(side));
    layout->addLayout(buildLoadButtons(side));
    layout->addWidget(buildLoadProgress(side));
    layout->addWidget(buildTable(side), 1);
    addListButtons(side, layout);
    layout->addLayout(buildStoreButtons(side));
    // Nothing that could change the list works while a load fills it.
    connect(&ListLoad::of(m_window), &ListLoad::runningChanged, this, [this](bool running) {
        for (QWidget* control : std::as_const(m_listControls))
            control->setEnabled(!running);
        m_tableLocked = running;
    });
    return side;
}

QLayout* RecipientPanel::buildNumberEntry(QWidget* side) {
    auto* entry = new QHBoxLayout();
    m_number = new QLineEdit(side);
    m_number->setObjectName(QStringLiteral("_numberEdit"));
    m_number->setPlaceholderText(QStringLiteral("Phone number"));
    auto* add = new QPushButton(QStringLiteral("Add"), side);
    entry->addWidget(m_number, 1);
    entry->addWidget(add);
    connect(m_number, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_window.setNumberField(text); });
    connect(m_number, &QLineEdit::returnPressed, this, [this] {
        if (!m_number->text().trimmed().isEmpty())
            m_window.Add_number_To_List();
    });
    connect(add, &QPushButton::clicked, this, [this] { m_window.Add_number_To_List(); });
    m_listControls << add << m_number;
    return entry;
}

// Bulk loads: files, pasted numbers and messages from a spreadsheet.
QLayout* RecipientPanel::buildLoadButtons(QWidget* side) {
    auto* loads = new QHBoxLayout();
    auto* loadFile = new QPushButton(QStringLiteral("Load Numbers..."), side);
    auto* paste = new QPushButton(QStringLiteral("Paste Numbers..."), side);
    auto* excelMessages = new QPushButton(QStringLiteral("Messages from Excel..."), side);
    loads->addWidget(loadFile);
    loads->addWidget(paste);
    loads->addWidget(excelMessages);
    loads->addStretch();
    connect(loadFile, &QPushButton::clicked, this, [this] { NumberLoader::of(m_window).Load_Number(); });
    connect(paste, &QPushButton::clicked, this, [this] { NumberLoader::of(m_window).Manually_Add_Btn(); });
    connect(excelMessages, &QPushButton::clicked, this,
            [this] { NumberLoader::of(m_window).Excel_Msg_Load_Btn(); });
    m_listControls << loadFile << paste << excelMessages;
    return loads;
}

// While a load runs, a row of its own below the buttons: how far it has come, and Cancel
// (the list then stays as it was).
QWidget* RecipientPanel::buildLoadProgress(QWidget* side) {
    auto* loading = new QWidget(side);
    auto* loadingRow = new QHBoxLayout(loading);
    loadingRow->setContentsMargins(0, 0, 0, 0);
    auto* progress = new QProgressBar(loading);
    progress->setObjectName(QStringLiteral("_loadProgress"));
    progress->setRange(0, 1000);
    progress->setTextVisible(true);
    auto* cancelLoad = new QPushButton(QStringLiteral("Cancel"), loading);
    cancelLoad->setObjectName(QStringLiteral("_cancelLoad"));
    loadingRow->addWidget(progress, 1);
    loadingRow->addWidget(cancelLoad);
    loading->hide();
    ListLoad& load = ListLoad::of(m_window);
    connect(cancelLoad, &QPushButton::clicked, this, [this] { ListLoad::of(m_window).Cancel(); });
    connect(&load, &ListLoad::progressChanged, progress, [this, progress] {
        const ListLoad& l = ListLoad::of(m_window);
        progress->setValue(int(l.fraction() * 1000));
        progress->setFormat(l.progressText());
    });
    connect(&load, &ListLoad::runningChanged, loading, &QWidget::setVisible);
    return loading;
}

QTableView* RecipientPanel::buildTable(QWidget* side) {
    m_model = new RecordTableModel(m_window.list(), this);
    // Before the table's selection model hears of a change (it connects when the model is
    // set), so that what it reports while rows move is not taken for the operator's choice.
    connect(m_model, &QAbstractItemModel::rowsAboutToBeInserted, this, [this] { m_modelChanging = true; });
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this, [this] { m_modelChanging = true; });
    m_table = new QTableView(side);
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed); // constant cost at any row count
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 6);
    m_table->setColumnWidth(0, 170);
    // The message takes the room; the last run's mark ("Not sent" at most) a narrow column.
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    m_table->setColumnWidth(2, 80);
    // The selection model may report half-updated selections while rows are being inserted
    // or reset; the controller hears about the selection once the model is settled.
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (!m_modelChanging)
            pushSelection();
    });
    // Rows inserted above the selection move it alike in the table and in the controller:
    // reading the whole selection again after every insertion would cost it its size.
    connect(m_model, &QAbstractItemModel::rowsInserted, this, [this] { m_modelChanging = false; });
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] {
        m_modelChanging = false;
        pushSelection();
    });
    connect(m_table, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (!m_tableLocked)
            m_window.doubleClickInTable(index.row());
    });
    return m_table;
}

// Under the list: what the last load left out, on a line of its own (the count's row has no
// room for a sentence), then the count and the buttons that thin the list.
void RecipientPanel::addListButtons(QWidget* side, QBoxLayout* layout) {
    m_refused = new QLabel(side);
    m_refused->setObjectName(QStringLiteral("refusedNumbersNote"));
    m_refused->setWordWrap(true);
    m_refused->hide();
    layout->addWidget(m_refused);
    auto* buttons = new QHBoxLayout();
    m_count = new QLabel(side);
    auto* clearSelected = new QPushButton(QStringLiteral("Clear Selected"), side);
    auto* clearAll = new QPushButton(QStringLiteral("Clear All"), side);
    auto* reset = new QPushButton(QStringLiteral("Reset"), side);
    buttons->addWidget(m_count);
    buttons->addStretch();
    buttons->addWidget(clearSelected);
    buttons->addWidget(clearAll);
    buttons->addWidget(reset);
    layout->addLayout(buttons);
    connect(clearSelected, &QPushButton::clicked, this, [this] {
        m_window.Clear_Sel_Btn();
        selectFirstRowIfAny();
    });
    connect(clearAll, &QPushButton::clicked, this, [this] { m_window.Clear_All_Btn(); });
    connect(reset, &QPushButton::clicked, this, [this] { m_window.Reset_Btn(); });
    m_listControls << clearSelected << clearAll << reset;
}

// The counter and the cost change with every key: they get a line of their own, and neither
// asks for more width, so typing never moves the splitter or widens the window.
QLayout* RecipientPanel::buildCostLine(QWidget* side) {
    auto* line = new QHBoxLayout();
    m_counter = new QLabel(side);
    m_counter->setMinimumWidth(
        m_counter->fontMetrics().horizontalAdvance(QStringLiteral("0000 Characters ")));
    m_cost = new QLabel(side);
    m_cost->setObjectName(QStringLiteral("messageCost"));
    m_cost->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    line->addWidget(m_counter);
    line->addWidget(m_cost, 1);
    return line;
}

QWidget* RecipientPanel::buildComposerSide() {
    auto* side = new QGroupBox(QStringLiteral("Message"), this); // a caption, not a record key
    auto* layout = new QVBoxLayout(side);

    m_composer = new QPlainTextEdit(side);
    m_composer->setObjectName(QStringLiteral("_messageEdit"));
    m_composer->setPlaceholderText(QStringLiteral("Type the message here"));
    layout->addWidget(m_composer, 1);

    layout->addLayout(buildCostLine(side));

    auto* typeRow = new QHBoxLayout();
    m_unicode = new QCheckBox(QStringLiteral("Unicode"), side);
    m_messageType = new QComboBox(side);
    m_messageType->addItems(BulkSmsWindow::messageTypes());
    typeRow->addStretch();
    typeRow->addWidget(m_unicode);
    typeRow->addWidget(new QLabel(QStringLiteral("Type:"), side));
    typeRow->addWidget(m_messageType);
    layout->addLayout(typeRow);

    auto* actions = new QHBoxLayout();
    m_fill = new QPushButton(side);
    m_fill->setMinimumHeight(m_fill->fontMetrics().height() * 3 + 12);
    auto* updateSelected = new QPushButton(QStringLiteral("Update\nselected\nmessages"), side);
    updateSelected->setMinimumHeight(m_fill->minimumHeight());
    actions->addWidget(m_fill);
    m_listControls << m_fill << updateSelected;
    actions->addWidget(updateSelected);
    layout->addLayout(actions);

    auto* options = new QGroupBox(QStringLiteral("Options"), side);
    auto* optionsLayout = new QVBoxLayout(options);
    m_skipDuplicates = new QCheckBox(QStringLiteral("Skip duplicate numbers"), options);
    m_exclusion = new QCheckBox(QStringLiteral("Apply exclusion lists"), options);
    m_listControls << m_skipDuplicates << m_exclusion; // the filters the running load applies
    m_saveSentItems = new QCheckBox(QStringLiteral("Save to sent items"), options);
    m_saveTemplates = new QCheckBox(QStringLiteral("Save message as template"), options);
    m_plainPunctuation = new QCheckBox(QStringLiteral("Replace typographic quotes and dashes"), options);
    m_footer = new QCheckBox(options);
    m_footer->setObjectName(QStringLiteral("footerCheck"));
    for (QCheckBox* box :
         {m_skipDuplicates, m_exclusion, m_saveSentItems, m_saveTemplates, m_plainPunctuation, m_footer})
        optionsLayout->addWidget(box);
    // Numbers written without their country code ("07911 123456") belong to this country; with
    // one chosen, numbers are compared and sent in their international form.
    auto* countryRow = new QHBoxLayout();
    m_country = new QComboBox(options);
    m_country->setObjectName(QStringLiteral("defaultCountryCombo"));
    m_country->setToolTip(QStringLiteral(
        "The country of numbers written without their country code. With one chosen, \"07911 123456\", "
        "\"+44 7911 123456\" and \"447911123456\" are one number, numbers are sent as +447911123456, and "
        "numbers that cannot exist are refused when loading."));
    for (const auto& [code, label] : DefaultCountry::choices())
        m_country->addItem(label, code);
    // The label above its list: beside it, a narrow window would cut the question short.
    optionsLayout->addWidget(new QLabel(QStringLiteral("Numbers without country code are from:"), options));
    countryRow->addWidget(m_country, 1);
    optionsLayout->addLayout(countryRow);
    layout->addWidget(options);
    layout->addWidget(buildDelayedDelivery(side));

    connect(m_composer, &QPlainTextEdit::textChanged, this,
            [this] { m_window.setComposerText(m_composer->toPlainText()); });
    connect(m_unicode, &QCheckBox::toggled, this, [this](bool on) { m_window.setUnicode(on); });
    connect(m_messageType, &QComboBox::currentIndexChanged, this,
            [this](int index) { m_window.setMessageTypeIndex(index); });
    connect(m_fill, &QPushButton::clicked, this, [this] { m_window.Fill_Msg_Btn(); });
    connect(updateSelected, &QPushButton::clicked, this, [this] { m_window.Update_Sel_Msgs_Btn(); });
    connect(m_skipDuplicates, &QCheckBox::toggled, this, [this](bool on) { m_window.setSkipDuplicates(on); });
    connect(m_exclusion, &QCheckBox::toggled, this, [this](bool on) { m_window.Exclusion_Chk(on); });
    connect(m_saveSentItems, &QCheckBox::toggled, this, [this](bool on) { m_window.setSaveSentItems(on); });
    connect(m_saveTemplates, &QCheckBox::toggled, this, [this](bool on) { m_window.setSaveTemplates(on); });
    connect(m_plainPunctuation, &QCheckBox::toggled, this,
            [this](bool on) { m_window.setPlainPunctuation(on); });
    connect(m_footer, &QCheckBox::toggled, this, [this](bool on) { m_window.setFooterOn(on); });
    connect(m_country, &QComboBox::currentIndexChanged, this,
            [this](int index) { m_window.setDefaultCountry(m_country->itemData(index).toString()); });
    return side;
}

QWidget* RecipientPanel::buildDelayedDelivery(QWidget* parent) {
    auto* group = new QGroupBox(QStringLiteral("Delayed Delivery Options"), parent);
    auto* rows = new QVBoxLayout(group);
    auto* layout = new QHBoxLayout();
    rows->addLayout(layout);
    m_delayedDelivery = new QCheckBox(QStringLiteral("Pause after every"), group);
    m_delayedDelivery->setObjectName(QStringLiteral("_Delayed_Delivry_Chk"));
    m_delayedCount = new QComboBox(group);
    m_delayedCount->setObjectName(QStringLiteral("_delayed_msg_count_combo"));
    m_delayedCount->setEditable(true); // typed values are accepted too
    m_delayedCount->addItems(delayedCountEntries());
    m_delayedTime = new QComboBox(group);
    m_delayedTime->setObjectName(QStringLiteral("_delayed_time_combo"));
    m_delayedTime->setEditable(true);
    m_delayedTime->addItems(delayedTimeEntries());
    layout->addWidget(m_delayedDelivery);
    layout->addWidget(m_delayedCount);
    layout->addWidget(new QLabel(QStringLiteral("messages for"), group));
    layout->addWidget(m_delayedTime, 1);
    m_quietHours = new QuietHoursRow(m_window, group);
    rows->addWidget(m_quietHours);

    connect(m_delayedDelivery, &QCheckBox::toggled, this,
            [this](bool on) { m_window.Delayed_Delivery_Chk(on); });
    connect(m_delayedCount, &QComboBox::currentTextChanged, this,
            [this](const QString& text) { m_window.setDelayedCountChoice(text); });
    connect(m_delayedTime, &QComboBox::currentTextChanged, this,
            [this](const QString& text) { m_window.setDelayedTimeChoice(text); });
    return group;
}

// The box names the footer it adds (set in the Inbox options), cut to fit the column.
void RecipientPanel::refreshFooter() {
    const ReplyOptions options = readReplyOptions(m_window.dataFolder());
    const QString text = options.footerText;
    constexpr int kShown = 28;
    m_footer->setText(QStringLiteral("Add footer \"%1\"")
                          .arg(text.size() > kShown ? text.left(kShown - 1) + QChar(0x2026) : text));
    m_footer->setToolTip(
        QStringLiteral("Puts \"%1\" on a line of its own after every message; the counter counts it.")
            .arg(text));
    m_footer->setChecked(options.footer);
}

void RecipientPanel::pushSelection() {
    QList<int> rows;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
        rows << index.row();
    m_window.setSelectedRows(rows);
}

void RecipientPanel::selectFirstRowIfAny() {
    if (m_window.list().isEmpty())
        return;
    m_table->selectRow(0);
}

void RecipientPanel::refresh() {
    if (m_number->text() != m_window.numberField()) {
        const QSignalBlocker block(m_number);
        m_number->setText(m_window.numberField());
    }
    if (m_composer->toPlainText() != m_window.composerText()) {
        const QSignalBlocker block(m_composer);
        m_composer->setPlainText(m_window.composerText());
        m_composer->moveCursor(QTextCursor::End);
    }
    m_count->setText(m_window.countLabel());
    m_refused->setText(m_window.refusedNumbersNote());
    m_refused->setVisible(!m_refused->text().isEmpty());
    m_counter->setText(m_window.characterCounterText());
    m_cost->setText(QStringLiteral("(%1)").arg(m_window.messageCostText()));
    m_cost->setToolTip(m_cost->text());
    m_fill->setText(m_window.fillButtonTitle().replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    const QSignalBlocker b1(m_unicode), b2(m_messageType), b3(m_skipDuplicates), b4(m_exclusion),
        b5(m_saveSentItems), b6(m_saveTemplates), b10(m_plainPunctuation), b12(m_footer);
    m_unicode->setChecked(m_window.unicode());
    m_messageType->setCurrentIndex(m_window.messageTypeIndex());
    m_skipDuplicates->setChecked(m_window.skipDuplicates());
    m_exclusion->setChecked(m_window.exclusion());
    m_saveSentItems->setChecked(m_window.saveSentItems());
    m_saveTemplates->setChecked(m_window.saveTemplates());
    m_plainPunctuation->setChecked(m_window.plainPunctuation());
    refreshFooter();
    const QSignalBlocker b11(m_country);
    m_country->setCurrentIndex(std::max(0, m_country->findData(m_window.defaultCountry())));

    const QSignalBlocker b7(m_delayedDelivery), b8(m_delayedCount), b9(m_delayedTime);
    m_delayedDelivery->setChecked(m_window.delayedDelivery());
    m_delayedDelivery->setEnabled(m_window.delayedDeliveryEnabled());
    m_delayedCount->setEnabled(m_window.delayedChoicesEnabled());
    m_delayedTime->setEnabled(m_window.delayedChoicesEnabled());
    for (auto [box, text] : {std::pair{m_delayedCount, m_window.delayedCountChoice()},
                             std::pair{m_delayedTime, m_window.delayedTimeChoice()}}) {
        if (box->currentText() == text)
            continue;
        const int index = box->findText(text);
        box->setCurrentIndex(index); // -1 deselects
        if (index < 0)
            box->setEditText(text);
    }
}
