#include "GsmDeviceListView.h"

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
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QVBoxLayout>

GsmDeviceListView::GsmDeviceListView(GSM_Device_List_Wnd& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - GSM Devices"));
    auto* layout = new QVBoxLayout(this);
    auto* body = new QHBoxLayout();
    body->addWidget(buildDeviceList(), 2);
    body->addWidget(buildSettings(), 3);
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
    resize(900, 560);

    connect(offline, &QPushButton::clicked, this, [this] { m_controller.ContinueOfflinePressed(); });
    connect(m_select, &QPushButton::clicked, this, [this] { m_controller.Sel_Device_Pressed(); });
    connect(&controller, &DialogController::changed, this, &GsmDeviceListView::refresh);
    connect(&controller, &GSM_Device_List_Wnd::customSmscFocusRequested, this,
            [this] { m_customSmsc->setFocus(); });
    refresh();
}

QWidget* GsmDeviceListView::buildDeviceList() {
    auto* group = new QGroupBox(QStringLiteral("Devices"), this);
    auto* layout = new QVBoxLayout(group);
    auto* model = new RecordTableModel(m_controller.nsPortListData(), this);
    model->setColumnTitle(QStringLiteral("State"), QString());
    model->setColumnTitle(QStringLiteral("COM_PORT"), QStringLiteral("Device"));
    model->setColumnText(QStringLiteral("COM_PORT"), &GSM_Device_List_Wnd::deviceName);
    model->setCheckColumn(QStringLiteral("State"),
                          [this](int row, bool ticked) { m_controller.setRowTicked(row, ticked); });
    m_list = new QTableView(group);
    m_list->setModel(model);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->verticalHeader()->hide();
    m_list->horizontalHeader()->setStretchLastSection(true);
    m_list->setColumnWidth(0, 28);
    layout->addWidget(m_list, 1);

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
    layout->addWidget(m_details, 1);

    auto* mode = new QGroupBox(QStringLiteral("SMS Mode"), m_settings);
    auto* modeLayout = new QHBoxLayout(mode);
    m_pdu = new QRadioButton(QStringLiteral("PDU Mode"), mode);
    m_text = new QRadioButton(QStringLiteral("Text Mode"), mode);
    modeLayout->addWidget(m_pdu);
    modeLayout->addWidget(m_text);
    modeLayout->addStretch();
    layout->addWidget(mode);

    auto* smsc = new QGroupBox(QStringLiteral("SMS Service Centre"), m_settings);
    auto* smscLayout = new QFormLayout(smsc);
    m_defaultSmsc = new QLineEdit(smsc);
    m_defaultSmsc->setReadOnly(true);
    m_useCustomSmsc = new QCheckBox(QStringLiteral("Custom SMSC no."), smsc);
    m_customSmsc = new QLineEdit(smsc);
    smscLayout->addRow(QStringLiteral("Default SMSC no.:"), m_defaultSmsc);
    smscLayout->addRow(m_useCustomSmsc, m_customSmsc);
    layout->addWidget(smsc);

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
    return m_settings;
}

void GsmDeviceListView::refresh() {
    const bool busy = m_controller.searching() || m_controller.progressSheetShown();
    m_search->setEnabled(!busy && m_controller.controlsEnabled());
    m_stop->setEnabled(m_controller.searching());
    m_select->setEnabled(!busy);
    m_busy->setVisible(busy);
    m_progress->setMaximum(qMax(1, m_controller.progressMaximum()));
    m_progress->setValue(qMin(m_controller.progressValue(), m_progress->maximum()));
    m_progress->setVisible(m_controller.searching());
    m_heading->setText(m_controller.heading());
    m_comPort->setText(m_controller.comPortField());
    m_path->setText(m_controller.pathField());
    if (m_details->toPlainText() != m_controller.detailsText())
        m_details->setPlainText(QString(m_controller.detailsText()).remove(QLatin1Char('\r')));
    m_settings->setEnabled(m_controller.settingsEnabled() && !busy);
    m_pdu->setChecked(m_controller.PDU_TEXT_MODE_SEL() == 1);
    m_text->setChecked(m_controller.PDU_TEXT_MODE_SEL() == 2);
    m_defaultSmsc->setText(m_controller.defaultSmscField());
    m_useCustomSmsc->setChecked(m_controller.customSmscChecked());
    m_customSmsc->setEnabled(m_controller.customSmscChecked());
    m_defaultSmsc->setEnabled(!m_controller.customSmscChecked());
    if (!m_customSmsc->hasFocus())
        m_customSmsc->setText(m_controller.customSmscText());
    const int shown = m_controller.Prev_Index();
    if (shown >= 0 && m_list->currentIndex().row() != shown) {
        const QSignalBlocker block(m_list->selectionModel());
        m_list->selectRow(shown);
    }
}

void GsmDeviceListView::reject() { m_controller.ContinueOfflinePressed(); }
