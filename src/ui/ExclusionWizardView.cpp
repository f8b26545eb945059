#include "ExclusionWizardView.h"

#include "RecordTableModel.h"
#include "StoreTable.h"
#include "core/AppState.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QVBoxLayout>

namespace {
QPushButton* button(const QString& title, QWidget* parent, Exclusion_Wizard& c,
                    void (Exclusion_Wizard::*action)()) {
    auto* b = new QPushButton(title, parent);
    QObject::connect(b, &QPushButton::clicked, parent, [&c, action] { (c.*action)(); });
    return b;
}
} // namespace

ExclusionWizardView::ExclusionWizardView(Exclusion_Wizard& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(QStringLiteral("Exclusion List Wizard - %1").arg(kApplicationName));
    auto* layout = new QVBoxLayout(this);
    m_pages = new QStackedWidget(this);
    m_pages->addWidget(buildStartPage());
    m_pages->addWidget(buildNamePage());
    m_pages->addWidget(buildNumbersPage());
    layout->addWidget(m_pages, 1);
    resize(820, 560);
    connect(&controller, &DialogController::changed, this, &ExclusionWizardView::refresh);
    connect(&controller, &Exclusion_Wizard::selectionChanged, this, &ExclusionWizardView::syncSelections);
    refresh();
}

QWidget* ExclusionWizardView::buildStartPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    m_startText = new QLabel(page);
    m_startText->setWordWrap(true);
    layout->addWidget(m_startText);

    auto* lists = new QHBoxLayout();
    auto* availableBox = new QGroupBox(QStringLiteral("Available lists"), page);
    auto* availableLayout = new QVBoxLayout(availableBox);
    m_available = makeStoreTable(m_controller.m_exclusion_list_Data(), availableBox, [this](QList<int> rows) {
        m_controller.setAvailableSelection(std::move(rows));
    });
    storeTableModel(m_available)->setColumnTitle(kAvailableListKey, QStringLiteral("List name"));
    availableLayout->addWidget(m_available, 1);
    auto* availableButtons = new QHBoxLayout();
    availableButtons->addWidget(
        button(QStringLiteral("New List..."), availableBox, m_controller, &Exclusion_Wizard::New_List_Btn));
    availableButtons->addWidget(
        button(QStringLiteral("Update..."), availableBox, m_controller, &Exclusion_Wizard::OnUpdate));
    availableButtons->addWidget(
        button(QStringLiteral("Delete"), availableBox, m_controller, &Exclusion_Wizard::Delete_List_Btn));
    availableLayout->addLayout(availableButtons);
    lists->addWidget(availableBox, 1);

    auto* middle = new QVBoxLayout();
    middle->addStretch();
    middle->addWidget(
        button(QStringLiteral("Add >"), page, m_controller, &Exclusion_Wizard::Add_Selected_Btn));
    middle->addWidget(
        button(QStringLiteral("Add All >>"), page, m_controller, &Exclusion_Wizard::Add_All_Btn));
    middle->addWidget(
        button(QStringLiteral("< Remove"), page, m_controller, &Exclusion_Wizard::Remove_Selected_Btn));
    middle->addWidget(
        button(QStringLiteral("<< Remove All"), page, m_controller, &Exclusion_Wizard::Remove_All_Btn));
    middle->addStretch();
    lists->addLayout(middle);

    auto* appliedBox = new QGroupBox(QStringLiteral("Exclude when sending SMS"), page);
    auto* appliedLayout = new QVBoxLayout(appliedBox);
    m_applied =
        makeStoreTable(m_controller.m_applied_axclusion_list_Data(), appliedBox,
                       [this](QList<int> rows) { m_controller.setAppliedSelection(std::move(rows)); });
    storeTableModel(m_applied)->setColumnTitle(kAppliedListKey, QStringLiteral("List name"));
    appliedLayout->addWidget(m_applied, 1);
    appliedLayout->addWidget(
        button(QStringLiteral("Save"), appliedBox, m_controller, &Exclusion_Wizard::Save_Btn), 0,
        Qt::AlignRight);
    lists->addWidget(appliedBox, 1);
    layout->addLayout(lists, 1);

    auto* bottom = new QHBoxLayout();
    bottom->addStretch();
    bottom->addWidget(button(QStringLiteral("Close"), page, m_controller, &Exclusion_Wizard::Close_Btn));
    layout->addLayout(bottom);
    return page;
}

QWidget* ExclusionWizardView::buildNamePage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    m_nameText = new QLabel(page);
    m_nameText->setWordWrap(true);
    layout->addWidget(m_nameText);
    auto* row = new QHBoxLayout();
    row->addWidget(new QLabel(QStringLiteral("List name:"), page));
    m_name = new QLineEdit(page);
    m_name->setMaxLength(50);
    row->addWidget(m_name, 1);
    layout->addLayout(row);
    layout->addStretch();
    auto* bottom = new QHBoxLayout();
    bottom->addStretch();
    bottom->addWidget(button(QStringLiteral("< Back"), page, m_controller, &Exclusion_Wizard::Back_Btn));
    bottom->addWidget(button(QStringLiteral("Next >"), page, m_controller, &Exclusion_Wizard::OnContinue));
    bottom->addWidget(button(QStringLiteral("Close"), page, m_controller, &Exclusion_Wizard::Close_Btn));
    layout->addLayout(bottom);
    connect(m_name, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_controller.setNameField(text); });
    connect(m_name, &QLineEdit::returnPressed, this, [this] { m_controller.OnContinue(); });
    return page;
}

QWidget* ExclusionWizardView::buildNumbersPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    m_caption = new QLabel(page);
    QFont bold = m_caption->font();
    bold.setBold(true);
    m_caption->setFont(bold);
    layout->addWidget(m_caption);

    auto* entry = new QHBoxLayout();
    m_number = new QLineEdit(page);
    m_number->setMaxLength(20);
    m_number->setPlaceholderText(QStringLiteral("Phone number"));
    entry->addWidget(m_number, 1);
    entry->addWidget(button(QStringLiteral("Add"), page, m_controller, &Exclusion_Wizard::Add_Number_Btn));
    entry->addWidget(
        button(QStringLiteral("Load from File..."), page, m_controller, &Exclusion_Wizard::Load_File_Btn));
    layout->addLayout(entry);

    auto* middle = new QHBoxLayout();
    m_numbers = makeStoreTable(m_controller.m_ex_num_list_Data(), page,
                               [this](QList<int> rows) { m_controller.setNumberSelection(std::move(rows)); });
    storeTableModel(m_numbers)->setColumnTitle(kExclusionNumberKey,
                                               QStringLiteral("Number")); // a title, not a record key
    middle->addWidget(m_numbers, 1);
    auto* side = new QVBoxLayout();
    side->addWidget(
        button(QStringLiteral("Update..."), page, m_controller, &Exclusion_Wizard::Update_Number_Btn));
    side->addWidget(
        button(QStringLiteral("Remove"), page, m_controller, &Exclusion_Wizard::Remove_Numbers_Btn));
    side->addWidget(
        button(QStringLiteral("Export..."), page, m_controller, &Exclusion_Wizard::Export_Numbers_Btn));
    side->addStretch();
    middle->addLayout(side);
    layout->addLayout(middle, 1);
    m_count = new QLabel(page);
    layout->addWidget(m_count);

    auto* rename = new QHBoxLayout();
    rename->addWidget(new QLabel(QStringLiteral("Rename list to:"), page));
    m_rename = new QLineEdit(page);
    m_rename->setMaxLength(50);
    rename->addWidget(m_rename, 1);
    rename->addWidget(button(QStringLiteral("Rename"), page, m_controller, &Exclusion_Wizard::Rename_Btn));
    layout->addLayout(rename);

    auto* bottom = new QHBoxLayout();
    bottom->addStretch();
    bottom->addWidget(button(QStringLiteral("< Back"), page, m_controller, &Exclusion_Wizard::Back_Btn));
    bottom->addWidget(button(QStringLiteral("Finish"), page, m_controller, &Exclusion_Wizard::Finish_Btn));
    bottom->addWidget(button(QStringLiteral("Close"), page, m_controller, &Exclusion_Wizard::Close_Btn));
    layout->addLayout(bottom);

    connect(m_number, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_controller.setNumberField(text); });
    connect(m_number, &QLineEdit::returnPressed, this, [this] { m_controller.numberFieldReturn(); });
    connect(m_rename, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_controller.setRenameField(text); });
    connect(m_numbers, &QTableView::doubleClicked, this, [this] { m_controller.Update_Number_Btn(); });
    return page;
}

void ExclusionWizardView::syncSelections() {
    showSelectedRows(m_available, m_controller.availableSelection());
    showSelectedRows(m_applied, m_controller.appliedSelection());
    showSelectedRows(m_numbers, m_controller.numberSelection());
}

void ExclusionWizardView::refresh() {
    using Screen = Exclusion_Wizard::Screen;
    m_pages->setCurrentIndex(m_controller.screen() == Screen::Start       ? 0
                             : m_controller.screen() == Screen::NameEntry ? 1
                                                                          : 2);
    m_startText->setText(kExclusionStartText);
    m_nameText->setText(kExclusionNameText);
    auto sync = [](QLineEdit* edit, const QString& text) {
        if (edit->text() != text)
            edit->setText(text);
    };
    sync(m_name, m_controller.nameField());
    sync(m_number, m_controller.numberField());
    sync(m_rename, m_controller.renameField());
    m_caption->setText(QStringLiteral("Exclusion list: %1").arg(m_controller.currentListCaption()));
    m_count->setText(m_controller.numberCountLabel());
}
