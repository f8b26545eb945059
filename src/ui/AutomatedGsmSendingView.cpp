#include "AutomatedGsmSendingView.h"

#include "RecordTableModel.h"
#include "core/AppState.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
QTableView* rowTable(QAbstractItemModel* model, QWidget* parent) {
    auto* table = new QTableView(parent);
    table->setModel(model);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}
} // namespace

AutomatedGsmSendingView::AutomatedGsmSendingView(Automated_GSM_Sending& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - Automated Connection Test"));
    auto* layout = new QVBoxLayout(this);
    auto* body = new QHBoxLayout();
    body->addWidget(buildDevices(), 3);
    body->addWidget(buildTest(), 7);
    layout->addLayout(body, 1);

    auto* buttons = new QHBoxLayout();
    m_use = new QPushButton(QStringLiteral("Use Selected Settings"), this);
    m_close = new QPushButton(QStringLiteral("Close"), this);
    buttons->addStretch();
    buttons->addWidget(m_use);
    buttons->addWidget(m_close);
    layout->addLayout(buttons);
    resize(980, 560);

    connect(m_use, &QPushButton::clicked, this, [this] { m_controller.Use_Settings_Button_Presses(); });
    connect(m_close, &QPushButton::clicked, this, [this] { m_controller.Close_Button_Presses(); });
    connect(&controller, &DialogController::changed, this, &AutomatedGsmSendingView::refresh);
    refresh();
}

QWidget* AutomatedGsmSendingView::buildDevices() {
    auto* group = new QGroupBox(QStringLiteral("Devices"), this);
    auto* layout = new QVBoxLayout(group);
    auto* model = new RecordTableModel(m_controller.nsDeviceListData(), this);
    model->setColumnTitle(kPortNameKey, QStringLiteral("Port"));
    model->setColumnTitle(kModelKey, QStringLiteral("Model")); // a title, not a record key
    model->setColumnTitle(kSettingAppliedKey, QStringLiteral("Applied"));
    m_devices = rowTable(model, group);
    m_devices->setColumnWidth(0, 70);
    m_devices->setColumnWidth(1, 90);
    layout->addWidget(m_devices);
    connect(m_devices->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                if (current.isValid() && current.row() != m_controller.shownRow())
                    m_controller.showDevice(current.row());
            });
    return group;
}

QWidget* AutomatedGsmSendingView::buildTest() {
    auto* group = new QGroupBox(this);
    auto* layout = new QVBoxLayout(group);
    m_heading = new QLabel(group);
    QFont bold = m_heading->font();
    bold.setBold(true);
    m_heading->setFont(bold);
    layout->addWidget(m_heading);

    auto* form = new QFormLayout();
    m_defaultSmsc = new QLineEdit(group);
    m_defaultSmsc->setReadOnly(true);
    auto* customRow = new QHBoxLayout();
    m_customSmsc = new QLineEdit(group);
    m_customSmsc->setPlaceholderText(QStringLiteral("none: only the default SMSC is tried"));
    auto* help = new QToolButton(group);
    help->setText(QStringLiteral("?"));
    customRow->addWidget(m_customSmsc, 1);
    customRow->addWidget(help);
    m_testNumber = new QLineEdit(group);
    m_testNumber->setPlaceholderText(QStringLiteral("+447700900001"));
    form->addRow(QStringLiteral("Default SMSC no.:"), m_defaultSmsc);
    form->addRow(QStringLiteral("Custom SMSC no.:"), customRow);
    form->addRow(QStringLiteral("Phone number to receive test SMS:"), m_testNumber);
    layout->addLayout(form);

    auto* model = new RecordTableModel(m_controller.nsCaseListData(), this);
    model->setColumnTitle(kModemCaseLabelKey, QStringLiteral("Case")); // a title, not a record key
    model->setColumnTitle(kCaseDescriptionKey, QStringLiteral("Connection settings"));
    model->setColumnTitle(kCaseStatusKey, QStringLiteral("Status")); // a title, not a record key
    m_cases = rowTable(model, group);
    m_cases->setColumnWidth(0, 70);
    m_cases->setColumnWidth(1, 240);
    layout->addWidget(m_cases, 1);

    auto* progressRow = new QHBoxLayout();
    m_information = new QLabel(group);
    m_progress = new QProgressBar(group);
    progressRow->addWidget(m_information, 1);
    progressRow->addWidget(m_progress, 1);
    layout->addLayout(progressRow);

    auto* buttons = new QHBoxLayout();
    m_start = new QPushButton(QStringLiteral("Start Test"), group);
    m_stop = new QPushButton(QStringLiteral("Stop"), group);
    m_clear = new QPushButton(QStringLiteral("Clear Results"), group);
    m_report = new QPushButton(QStringLiteral("Save Report..."), group);
    buttons->addWidget(m_start);
    buttons->addWidget(m_stop);
    buttons->addStretch();
    buttons->addWidget(m_clear);
    buttons->addWidget(m_report);
    layout->addLayout(buttons);

    connect(help, &QToolButton::clicked, this, [this] { m_controller.More_Info_SMSC_Pressed(); });
    connect(m_customSmsc, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setCustomSmscText(t); });
    connect(m_testNumber, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setTestNumberText(t); });
    connect(m_start, &QPushButton::clicked, this, [this] { m_controller.Send_Test_SMS_Pressed(); });
    connect(m_stop, &QPushButton::clicked, this, [this] { m_controller.Stop_SMS_Pressed(); });
    connect(m_clear, &QPushButton::clicked, this, [this] { m_controller.Clear_Status_Button_Presses(); });
    connect(m_report, &QPushButton::clicked, this, [this] { m_controller.Save_SMS_Report_Pressed(); });
    connect(m_cases->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                m_controller.selectCase(current.isValid() ? current.row() : -1);
            });
    return group;
}

void AutomatedGsmSendingView::refresh() {
    const bool testing = m_controller.testing();
    m_heading->setText(m_controller.heading());
    m_information->setText(m_controller.information());
    m_defaultSmsc->setText(m_controller.defaultSmscField());
    if (!m_customSmsc->hasFocus())
        m_customSmsc->setText(m_controller.customSmscText());
    if (!m_testNumber->hasFocus())
        m_testNumber->setText(m_controller.testNumberText());
    for (QWidget* w : std::initializer_list<QWidget*>{m_devices, m_customSmsc, m_testNumber, m_start, m_clear,
                                                      m_report, m_use, m_close})
        w->setEnabled(!testing);
    m_stop->setEnabled(testing);
    m_progress->setVisible(testing);
    // Between a case's start and its end the bar runs on its own: a modem's answer has no
    // measure of progress.
    if (testing && m_controller.caseProgress() == 0)
        m_progress->setRange(0, 0);
    else
        m_progress->setRange(0, 100);
    m_progress->setValue(m_controller.caseProgress());
    const int shown = m_controller.shownRow();
    if (shown >= 0 && m_devices->currentIndex().row() != shown) {
        const QSignalBlocker block(m_devices->selectionModel());
        m_devices->selectRow(shown);
    }
    if (m_controller.selectedCase() < 0 && m_cases->currentIndex().isValid()) {
        const QSignalBlocker block(m_cases->selectionModel());
        m_cases->clearSelection();
        m_cases->setCurrentIndex({});
    }
}

void AutomatedGsmSendingView::reject() { m_controller.Close_Button_Presses(); }
