#include "SelectedDeviceDetailsView.h"

#include "RecordTableModel.h"
#include "core/AppState.h"
#include "device/DeviceRecord.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QVBoxLayout>

SelectedDeviceDetailsView::SelectedDeviceDetailsView(Selected_Device_Details_GSM& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - Selected Devices"));
    auto* layout = new QVBoxLayout(this);
    auto* body = new QHBoxLayout();

    auto* list = new QGroupBox(QStringLiteral("Selected devices"), this);
    auto* listLayout = new QVBoxLayout(list);
    auto* model = new RecordTableModel(controller.rows(), this);
    model->setColumnTitle(kPortNameKey, QStringLiteral("Port"));
    model->setColumnTitle(kModelKey, QStringLiteral("Model")); // a title, not a record key
    m_devices = new QTableView(list);
    m_devices->setModel(model);
    m_devices->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_devices->setSelectionMode(QAbstractItemView::SingleSelection);
    m_devices->verticalHeader()->hide();
    m_devices->horizontalHeader()->setStretchLastSection(true);
    listLayout->addWidget(m_devices);
    body->addWidget(list, 2);

    m_settings = new QWidget(this);
    auto* right = new QVBoxLayout(m_settings);
    m_deviceSettings = DeviceSettingsBoxes::build(m_settings, this, m_controller, QStringLiteral("No."));
    right->addWidget(m_deviceSettings.modeBox);
    right->addWidget(m_deviceSettings.smscBox);
    right->addWidget(m_deviceSettings.limitsBox);

    auto* test = new QGroupBox(QStringLiteral("Test SMS"), m_settings);
    auto* testLayout = new QVBoxLayout(test);
    auto* numberRow = new QHBoxLayout();
    m_testNumber = new QLineEdit(test);
    m_testNumber->setPlaceholderText(QStringLiteral("+447700900001"));
    auto* send = new QPushButton(QStringLiteral("Send Test SMS"), test);
    numberRow->addWidget(new QLabel(QStringLiteral("Phone number:"), test));
    numberRow->addWidget(m_testNumber, 1);
    numberRow->addWidget(send);
    testLayout->addLayout(numberRow);
    auto* automate = new QPushButton(QStringLiteral("Automated Connection Test..."), test);
    testLayout->addWidget(automate, 0, Qt::AlignLeft);
    right->addWidget(test);
    right->addStretch();
    body->addWidget(m_settings, 3);
    layout->addLayout(body, 1);

    auto* buttons = new QHBoxLayout();
    m_busy = new QLabel(QStringLiteral("Sending the test message, please wait..."), this);
    m_ok = new QPushButton(QStringLiteral("OK"), this);
    m_ok->setDefault(true);
    buttons->addWidget(m_busy);
    buttons->addStretch();
    buttons->addWidget(m_ok);
    layout->addLayout(buttons);
    resize(760, 420);

    connect(m_devices->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                if (current.isValid() && current.row() != m_controller.shownRow())
                    m_controller.showDevice(current.row());
            });
    connect(m_testNumber, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setTestNumberText(t); });
    connect(send, &QPushButton::clicked, this, [this] { m_controller.Send_Test_SMS_Pressed(); });
    connect(automate, &QPushButton::clicked, this, [this] { m_controller.Automate_Button_Presses(); });
    connect(m_ok, &QPushButton::clicked, this, [this] { m_controller.OK_Button_Presses(); });
    connect(&controller, &DialogController::changed, this, &SelectedDeviceDetailsView::refresh);
    connect(&controller, &Selected_Device_Details_GSM::customSmscFocusRequested, this,
            [this] { m_deviceSettings.customSmsc->setFocus(); });
    refresh();
}

void SelectedDeviceDetailsView::refresh() {
    const bool testing = m_controller.testing();
    m_settings->setEnabled(!testing && m_controller.shownRow() >= 0);
    m_devices->setEnabled(!testing);
    m_ok->setEnabled(!testing);
    m_busy->setVisible(testing);
    m_deviceSettings.refresh(m_controller);
    if (!m_testNumber->hasFocus())
        m_testNumber->setText(m_controller.testNumberText());
    const int shown = m_controller.shownRow();
    if (shown >= 0 && m_devices->currentIndex().row() != shown) {
        const QSignalBlocker block(m_devices->selectionModel());
        m_devices->selectRow(shown);
    }
}

void SelectedDeviceDetailsView::reject() { m_controller.OK_Button_Presses(); }
