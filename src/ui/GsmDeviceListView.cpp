#include "GsmDeviceListView.h"

#include "RecordTableModel.h"
#include "core/AppState.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QTextDocument>
#include <QVBoxLayout>

GsmDeviceListView::GsmDeviceListView(GSM_Device_List_Wnd& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - GSM Devices"));
    auto* layout = new QVBoxLayout(this);
    auto* body = new QHBoxLayout();
    body->addWidget(buildDeviceList(), 2);
    auto* right = new QVBoxLayout();
    right->addWidget(buildSettings(), 3);
    right->addWidget(buildTest(), 2);
    body->addLayout(right, 3);
    layout->addLayout(body, 1);

    auto* status = new QHBoxLayout();
    m_busy = new QLabel(QStringLiteral("Please wait..."), this);
    m_progress = new QProgressBar(this);
    status->addWidget(m_busy);
    status->addWidget(m_progress, 1);
    layout->addLayout(status);

    auto* buttons = new QHBoxLayout();
    auto* offline = new QPushButton(QStringLiteral("Continue without device"), this);
    m_select = new QPushButton(QStringLiteral("Select Device(s)"), this);
    m_select->setDefault(true);
    buttons->addWidget(offline);
    buttons->addStretch();
    buttons->addWidget(m_select);
    layout->addLayout(buttons);
    resize(980, 760);

    connect(offline, &QPushButton::clicked, this, [this] { m_controller.ContinueOfflinePressed(); });
    connect(m_select, &QPushButton::clicked, this, [this] { m_controller.Sel_Device_Pressed(); });
    connect(&controller, &DialogController::changed, this, &GsmDeviceListView::refresh);
    connect(&controller, &GSM_Device_List_Wnd::customSmscFocusRequested, this,
            [this] { m_deviceSettings.customSmsc->setFocus(); });
    refresh();
}

QWidget* GsmDeviceListView::buildDeviceList() {
    auto* group = new QGroupBox(QStringLiteral("Devices"), this);
    auto* layout = new QVBoxLayout(group);
    auto* model = new RecordTableModel(m_controller.nsPortListData(), this);
    model->setColumnTitle(kDeviceTickedKey, QString());
    model->setColumnTitle(kPortNameKey, QStringLiteral("Device"));
    model->setColumnText(kPortNameKey, &GSM_Device_List_Wnd::deviceName);
    model->setCheckColumn(kDeviceTickedKey,
                          [this](int row, bool ticked) { m_controller.setRowTicked(row, ticked); });
    m_list = new QTableView(group);
    m_list->setModel(model);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->verticalHeader()->hide();
    m_list->horizontalHeader()->setStretchLastSection(true);
    m_list->setColumnWidth(0, 28);
    layout->addWidget(m_list, 1);
    m_plugNotice = new QLabel(group);
    m_plugNotice->setWordWrap(true);
    m_plugNotice->setTextInteractionFlags(Qt::TextSelectableByMouse); // the command can be copied
    layout->addWidget(m_plugNotice);

    auto* buttons = new QHBoxLayout();
    m_search = new QPushButton(QStringLiteral("Search"), group);
    m_stop = new QPushButton(QStringLiteral("Stop"), group);
    buttons->addWidget(m_search);
    buttons->addWidget(m_stop);
    layout->addLayout(buttons);

    connect(m_search, &QPushButton::clicked, this, [this] { m_controller.Search_dev_Pressed(); });
    connect(m_stop, &QPushButton::clicked, this, [this] { m_controller.Stopmodem_Searching_pressed(); });
    connect(m_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                if (current.isValid() && current.row() != m_controller.Prev_Index())
                    m_controller.showDevice(current.row());
            });
    return group;
}

QWidget* GsmDeviceListView::buildSettings() {
    m_settings = new QGroupBox(this);
    auto* layout = new QVBoxLayout(m_settings);
    m_heading = new QLabel(m_settings);
    QFont bold = m_heading->font();
    bold.setBold(true);
    m_heading->setFont(bold);
    layout->addWidget(m_heading);

    auto* form = new QFormLayout();
    m_comPort = new QLineEdit(m_settings);
    m_path = new QLineEdit(m_settings);
    for (QLineEdit* e : {m_comPort, m_path})
        e->setReadOnly(true);
    form->addRow(QStringLiteral("COM Port:"), m_comPort);
    form->addRow(QStringLiteral("Device path:"), m_path);
    layout->addLayout(form);

    m_details = new QPlainTextEdit(m_settings);
    m_details->setReadOnly(true);
    // The details are ten lines (the SIM's number last): they show whole, and the room left goes
    // to the test's cases.
    m_details->setFixedHeight(m_details->fontMetrics().lineSpacing() * 10 +
                              2 * int(m_details->document()->documentMargin()) + 2 * m_details->frameWidth());
    layout->addWidget(m_details);

    m_deviceSettings = DeviceSettingsBoxes::build(m_settings, this, m_controller, QStringLiteral("no."));
    layout->addWidget(m_deviceSettings.modeBox);
    layout->addWidget(m_deviceSettings.smscBox);
    layout->addWidget(m_deviceSettings.limitsBox);
    return m_settings;
}

QWidget* GsmDeviceListView::buildTest() {
    m_testGroup = new QGroupBox(QStringLiteral("Test SMS"), this);
    auto* layout = new QVBoxLayout(m_testGroup);
    m_testHeading = new QLabel(m_testGroup);
    layout->addWidget(m_testHeading);
    auto* numberRow = new QHBoxLayout();
    m_testNumber = new QLineEdit(m_testGroup);
    m_testNumber->setPlaceholderText(QStringLiteral("+447700900001"));
    m_startTest = new QPushButton(QStringLiteral("Send Test SMS"), m_testGroup);
    m_stopTest = new QPushButton(QStringLiteral("Stop"), m_testGroup);
    numberRow->addWidget(new QLabel(QStringLiteral("Phone number to receive test SMS:"), m_testGroup));
    numberRow->addWidget(m_testNumber, 1);
    numberRow->addWidget(m_startTest);
    numberRow->addWidget(m_stopTest);
    layout->addLayout(numberRow);

    auto* model = new RecordTableModel(m_controller.nsCaseListData(), this);
    model->setColumnTitle(kModemCaseLabelKey, QStringLiteral("Case")); // a title, not a record key
    model->setColumnTitle(kCaseDescriptionKey, QStringLiteral("Connection settings"));
    model->setColumnTitle(kCaseStatusKey, QStringLiteral("Status")); // a title, not a record key
    m_cases = new QTableView(m_testGroup);
    m_cases->setModel(model);
    m_cases->setSelectionMode(QAbstractItemView::NoSelection);
    m_cases->verticalHeader()->hide();
    m_cases->horizontalHeader()->setStretchLastSection(true);
    m_cases->setColumnWidth(0, 70);
    m_cases->setColumnWidth(1, 220);
    layout->addWidget(m_cases, 1);

    auto* progressRow = new QHBoxLayout();
    m_testInformation = new QLabel(m_testGroup);
    m_caseProgress = new QProgressBar(m_testGroup);
    m_caseProgress->setRange(0, 100);
    progressRow->addWidget(m_testInformation, 1);
    progressRow->addWidget(m_caseProgress, 1);
    layout->addLayout(progressRow);

    auto* buttons = new QHBoxLayout();
    m_report = new QPushButton(QStringLiteral("Save Report..."), m_testGroup);
    m_automate = new QPushButton(QStringLiteral("Automated Test of All Devices..."), m_testGroup);
    buttons->addWidget(m_report);
    buttons->addStretch();
    buttons->addWidget(m_automate);
    layout->addLayout(buttons);

    connect(m_testNumber, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setTestNumberText(t); });
    connect(m_startTest, &QPushButton::clicked, this, [this] { m_controller.Send_Test_SMS_Pressed(); });
    connect(m_stopTest, &QPushButton::clicked, this, [this] { m_controller.Stop_SMS_Pressed(); });
    connect(m_report, &QPushButton::clicked, this, [this] { m_controller.Save_SMS_Report_Pressed(); });
    connect(m_automate, &QPushButton::clicked, this, [this] { m_controller.Automate_Button_Presses(); });
    return m_testGroup;
}

void GsmDeviceListView::refresh() {
    const bool testing = m_controller.testing();
    const bool busy = m_controller.searching() || m_controller.progressSheetShown();
    m_search->setEnabled(!busy && m_controller.controlsEnabled());
    m_stop->setEnabled(m_controller.searching());
    m_select->setEnabled(!busy);
    m_busy->setVisible(busy && !testing);
    m_progress->setMaximum(qMax(1, m_controller.progressMaximum()));
    m_progress->setValue(qMin(m_controller.progressValue(), m_progress->maximum()));
    m_progress->setVisible(m_controller.searching());
    m_heading->setText(m_controller.heading());
    m_plugNotice->setText(m_controller.plugNotice());
    m_plugNotice->setVisible(!m_controller.plugNotice().isEmpty());
    m_comPort->setText(m_controller.comPortField());
    m_path->setText(m_controller.pathField());
    if (m_details->toPlainText() != m_controller.detailsText())
        m_details->setPlainText(QString(m_controller.detailsText()).remove(QLatin1Char('\r')));
    m_settings->setEnabled(m_controller.settingsEnabled() && !busy);
    m_deviceSettings.refresh(m_controller);
    m_testHeading->setText(m_controller.testHeading());
    if (!m_testNumber->hasFocus())
        m_testNumber->setText(m_controller.testNumberText());
    m_testNumber->setEnabled(!testing);
    m_startTest->setEnabled(!busy && m_controller.settingsEnabled());
    m_stopTest->setEnabled(testing);
    m_report->setEnabled(!busy && m_controller.nsCaseListData().size() > 0);
    m_automate->setEnabled(!busy);
    m_testInformation->setText(m_controller.testInformation());
    m_caseProgress->setVisible(testing);
    // Between the case's start and its end the bar runs on its own: the modem's answer has no
    // measure of progress.
    if (testing && m_controller.caseProgress() == 0)
        m_caseProgress->setRange(0, 0);
    else
        m_caseProgress->setRange(0, 100);
    m_caseProgress->setValue(m_controller.caseProgress());
    const int shown = m_controller.Prev_Index();
    if (shown >= 0 && m_list->currentIndex().row() != shown) {
        const QSignalBlocker block(m_list->selectionModel());
        m_list->selectRow(shown);
    }
}

void GsmDeviceListView::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    m_controller.watchPlugging();
}

void GsmDeviceListView::hideEvent(QHideEvent* event) {
    m_controller.stopWatchingPlugging();
    QDialog::hideEvent(event);
}

void GsmDeviceListView::reject() { m_controller.ContinueOfflinePressed(); }
