#include "AndroidTroubleShootingView.h"

#include "RecordTableModel.h"
#include "core/AppState.h"
#include "device/TestCaseRecord.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QVBoxLayout>

AndroidTroubleShootingView::AndroidTroubleShootingView(Android_TroubleShooting& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setWindowTitle(kApplicationName + QStringLiteral(" - Test Sending Modes"));
    auto* layout = new QVBoxLayout(this);
    m_device = new QLabel(this);
    QFont bold = m_device->font();
    bold.setBold(true);
    m_device->setFont(bold);
    layout->addWidget(m_device);

    auto* numberRow = new QHBoxLayout();
    m_testNumber = new QLineEdit(this);
    m_testNumber->setPlaceholderText(QStringLiteral("+447700900001"));
    m_start = new QPushButton(QStringLiteral("Start Test"), this);
    numberRow->addWidget(new QLabel(QStringLiteral("Phone number to receive test SMS:"), this));
    numberRow->addWidget(m_testNumber, 1);
    m_stop = new QPushButton(QStringLiteral("Stop"), this);
    numberRow->addWidget(m_start);
    numberRow->addWidget(m_stop);
    layout->addLayout(numberRow);

    auto* model = new RecordTableModel(controller.cases(), this);
    model->setColumnTitle(kPhoneCaseLabelKey, QStringLiteral("Case")); // a title, not a record key
    model->setColumnTitle(kCaseDescriptionKey, QStringLiteral("Sending mode"));
    model->setColumnTitle(kCaseStatusKey, QStringLiteral("Status")); // a title, not a record key
    auto* table = new QTableView(this);
    table->setModel(model);
    table->setSelectionMode(QAbstractItemView::NoSelection);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    table->setColumnWidth(0, 70);
    table->setColumnWidth(1, 330);
    layout->addWidget(table, 1);

    auto* progressRow = new QHBoxLayout();
    m_information = new QLabel(this);
    m_busy = new QProgressBar(this);
    m_busy->setRange(0, 0);
    progressRow->addWidget(m_information, 1);
    progressRow->addWidget(m_busy, 1);
    layout->addLayout(progressRow);

    auto* modes = new QGroupBox(QStringLiteral("Sending mode to use"), this);
    auto* modeLayout = new QHBoxLayout(modes);
    m_singleShot = new QRadioButton(QStringLiteral("Single-shot"), modes);
    m_standard = new QRadioButton(QStringLiteral("One-by-one, Standard"), modes);
    m_classic = new QRadioButton(QStringLiteral("One-by-one, Classic"), modes);
    modeLayout->addWidget(m_singleShot);
    modeLayout->addWidget(m_standard);
    modeLayout->addWidget(m_classic);
    modeLayout->addStretch();
    layout->addWidget(modes);

    auto* buttons = new QHBoxLayout();
    m_ok = new QPushButton(QStringLiteral("OK"), this);
    m_close = new QPushButton(QStringLiteral("Close"), this);
    m_ok->setDefault(true);
    buttons->addStretch();
    buttons->addWidget(m_ok);
    buttons->addWidget(m_close);
    layout->addLayout(buttons);
    resize(720, 420);

    connect(m_testNumber, &QLineEdit::textEdited, this,
            [this](const QString& t) { m_controller.setTestNumberText(t); });
    connect(m_start, &QPushButton::clicked, this, [this] { m_controller.Start_Btn(); });
    connect(m_stop, &QPushButton::clicked, this, [this] { m_controller.Stop_Btn(); });
    connect(m_singleShot, &QRadioButton::clicked, this, [this] { m_controller.Single_Shot_Radio(); });
    connect(m_standard, &QRadioButton::clicked, this, [this] { m_controller.Standard_Radio(); });
    connect(m_classic, &QRadioButton::clicked, this, [this] { m_controller.Classic_Radio(); });
    connect(m_ok, &QPushButton::clicked, this, [this] { m_controller.OK_Btn(); });
    connect(m_close, &QPushButton::clicked, this, [this] { m_controller.Close_Btn(); });
    connect(&controller, &DialogController::changed, this, &AndroidTroubleShootingView::refresh);
    refresh();
}

void AndroidTroubleShootingView::refresh() {
    const bool testing = m_controller.testing();
    m_device->setText(m_controller.deviceLabel());
    m_information->setText(m_controller.information());
    m_busy->setVisible(testing);
    if (!m_testNumber->hasFocus())
        m_testNumber->setText(m_controller.testNumberText());
    for (QWidget* w : std::initializer_list<QWidget*>{m_testNumber, m_start, m_singleShot, m_standard,
                                                      m_classic, m_ok, m_close})
        w->setEnabled(!testing);
    m_stop->setEnabled(testing);
    m_singleShot->setChecked(m_controller.modeChoice() == 0);
    m_standard->setChecked(m_controller.modeChoice() == 1);
    m_classic->setChecked(m_controller.modeChoice() == 3);
}

void AndroidTroubleShootingView::reject() { m_controller.Close_Btn(); }
