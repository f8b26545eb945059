#include "SelectedDeviceDetailsView.h"

#include "RecordTableModel.h"
#include "core/AppState.h"

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
    model->setColumnTitle(QStringLiteral("COM_PORT"), QStringLiteral("Port"));
    model->setColumnTitle(QStringLiteral("Model"), QStringLiteral("Model"));
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
    auto* mode = new QGroupBox(QStringLiteral("SMS Mode"), m_settings);
    auto* modeLayout = new QHBoxLayout(mode);
    m_pdu = new QRadioButton(QStringLiteral("PDU Mode"), mode);
    m_text = new QRadioButton(QStringLiteral("Text Mode"), mode);
    modeLayout->addWidget(m_pdu);
    modeLayout->addWidget(m_text);
    modeLayout->addStretch();
    right->addWidget(mode);

    auto* smsc = new QGroupBox(QStringLiteral("SMS Service Centre"), m_settings);
    auto* smscLayout = new QFormLayout(smsc);
    m_defaultSmsc = new QLineEdit(smsc);
    m_defaultSmsc->setReadOnly(true);
    m_useCustomSmsc = new QCheckBox(QStringLiteral("Custom SMSC No."), smsc);
    m_customSmsc = new QLineEdit(smsc);
    smscLayout->addRow(QStringLiteral("Default SMSC No.:"), m_defaultSmsc);
    smscLayout->addRow(m_useCustomSmsc, m_customSmsc);
    right->addWidget(smsc);

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
    connect(m_pdu, &QRadioButton::clicked, this, [this] { m_controller.PDU_Mode_Radio(); });
    connect(m_text, &QRadioButton::clicked, this, [this] { m_controller.Text_Mode_Radio(); });
    connect(m_useCustomSmsc, &QCheckBox::clicked, this,
            [this](bool on) { m_controller.Custom_SMSC_Pressed(on); });
    connect(m_customSmsc, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setCustomSmscText(t); });
    connect(m_customSmsc, &QLineEdit::editingFinished, this, [this] {
        if (m_useCustomSmsc->isChecked() && m_customSmsc->isModified()) {
            m_customSmsc->setModified(false);
            m_controller.update_custom_smsc();
        }
    });
    connect(m_testNumber, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setTestNumberText(t); });
    connect(send, &QPushButton::clicked, this, [this] { m_controller.Send_Test_SMS_Pressed(); });
    connect(automate, &QPushButton::clicked, this, [this] { m_controller.Automate_Button_Presses(); });
    connect(m_ok, &QPushButton::clicked, this, [this] { m_controller.OK_Button_Presses(); });
    connect(&controller, &DialogController::changed, this, &SelectedDeviceDetailsView::refresh);
    connect(&controller, &Selected_Device_Details_GSM::customSmscFocusRequested, this,
            [this] { m_customSmsc->setFocus(); });
    refresh();
}

void SelectedDeviceDetailsView::refresh() {
    const bool testing = m_controller.testing();
    m_settings->setEnabled(!testing && m_controller.shownRow() >= 0);
    m_devices->setEnabled(!testing);
    m_ok->setEnabled(!testing);
    m_busy->setVisible(testing);
    m_pdu->setChecked(m_controller.PDU_TEXT_MODE_SEL() == 1);
    m_text->setChecked(m_controller.PDU_TEXT_MODE_SEL() == 2);
    m_defaultSmsc->setText(m_controller.defaultSmscField());
    m_useCustomSmsc->setChecked(m_controller.customSmscChecked());
    m_customSmsc->setEnabled(m_controller.customSmscChecked());
    if (!m_customSmsc->hasFocus())
        m_customSmsc->setText(m_controller.customSmscText());
    if (!m_testNumber->hasFocus())
        m_testNumber->setText(m_controller.testNumberText());
    const int shown = m_controller.shownRow();
    if (shown >= 0 && m_devices->currentIndex().row() != shown) {
        const QSignalBlocker block(m_devices->selectionModel());
        m_devices->selectRow(shown);
    }
}

void SelectedDeviceDetailsView::reject() { m_controller.OK_Button_Presses(); }
