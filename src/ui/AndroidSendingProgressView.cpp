#include "AndroidSendingProgressView.h"

#include "RecordTableModel.h"
#include "android/windows/AndroidSendingProgress.h"
#include "core/AppState.h"
#include "sending/SendingItems.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <iterator>

AndroidSendingProgressView::AndroidSendingProgressView(AndroidSendingProgress& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    setObjectName(QStringLiteral("AndroidSendingProgress"));
    setWindowTitle(kApplicationName + QStringLiteral(" - Sending"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    m_status = new QLabel(this);
    QFont bold = m_status->font();
    bold.setBold(true);
    m_status->setFont(bold);
    layout->addWidget(m_status);
    auto* form = new QFormLayout();
    m_total = new QLabel(this);
    m_counter = new QLabel(this);
    m_current = new QLabel(this);
    form->addRow(QStringLiteral("Total messages:"), m_total);
    form->addRow(QStringLiteral("Progress:"), m_counter);
    form->addRow(QStringLiteral("Sending to:"), m_current);
    layout->addLayout(form);
    m_phones = new QLabel(this);
    m_phones->setWordWrap(true);
    layout->addWidget(m_phones);
    m_totalBar = new QProgressBar(this);
    m_busy = new QProgressBar(this);
    m_busy->setRange(0, 100);
    m_busy->setTextVisible(false);
    m_busy->setMaximumHeight(8);
    m_pause = new QLabel(this);
    layout->addWidget(m_totalBar);
    layout->addWidget(m_busy);
    layout->addWidget(m_pause);

    auto* model = new RecordTableModel(controller.rows(), this);
    model->setColumnTitle(kItemPortKey, QStringLiteral("Phone"));
    m_table = new QTableView(this);
    m_table->setModel(model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 6);
    // Number, Message, Current Status, Status, Phone, Retry: the message takes what is left.
    const int widths[] = {115, 0, 230, 230, 230, 45};
    for (int column = 0; column < int(std::size(widths)); ++column)
        m_table->setColumnWidth(column, widths[column]);
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    layout->addWidget(m_table, 1);

    auto* buttons = new QHBoxLayout();
    m_pleaseWait = new QLabel(QStringLiteral("Please wait while the report is written..."), this);
    m_stop = new QPushButton(QStringLiteral("Stop"), this);
    m_export = new QPushButton(QStringLiteral("Export..."), this);
    m_export->setObjectName(QStringLiteral("_export_btn"));
    m_close = new QPushButton(QStringLiteral("Close"), this);
    m_close->setObjectName(QStringLiteral("_close_btn"));
    m_sendRest = new QPushButton(this);
    m_sendRest->setObjectName(QStringLiteral("_send_rest_btn"));
    buttons->addWidget(m_pleaseWait);
    buttons->addStretch();
    buttons->addWidget(m_sendRest);
    buttons->addWidget(m_export);
    buttons->addWidget(m_stop);
    buttons->addWidget(m_close);
    layout->addLayout(buttons);
    resize(1060, 560);
    connect(m_stop, &QPushButton::clicked, this, [this] { m_controller.Stop_Btn(); });
    connect(m_export, &QPushButton::clicked, this, [this] { m_controller.Export_Btn(); });
    connect(m_close, &QPushButton::clicked, this, [this] { m_controller.Close_Btn(); });
    connect(m_sendRest, &QPushButton::clicked, this, [this] { m_controller.Send_Rest_Btn(); });
    connect(&controller, &AndroidSendingProgress::changed, this, &AndroidSendingProgressView::refresh);
    refresh();
}

void AndroidSendingProgressView::reject() {
    if (m_controller.state().finished)
        m_controller.Close_Btn();
}

void AndroidSendingProgressView::refresh() {
    const AndroidSendingProgress::State& s = m_controller.state();
    m_status->setText(s.statusText);
    m_total->setText(s.totalText);
    m_counter->setText(s.counterText);
    m_current->setText(s.currentText);
    QStringList phones;
    for (auto it = s.phones.cbegin(); it != s.phones.cend(); ++it)
        phones << it.key() + QStringLiteral(": ") + it.value();
    phones << s.notices;
    if (!s.waiting.isEmpty())
        phones << QStringLiteral("Some recipients wait for their hours: %1").arg(s.waiting);
    m_phones->setText(phones.join(QLatin1Char('\n')));
    m_phones->setVisible(!phones.isEmpty());
    m_pause->setText(s.pauseText);
    m_pause->setVisible(!s.pauseText.isEmpty());
    m_totalBar->setVisible(!s.singleShot);
    m_totalBar->setRange(0, qMax(1, s.total));
    m_totalBar->setValue(s.done);
    m_busy->setValue(s.busy);
    m_busy->setVisible(!s.finished);
    m_stop->setEnabled(s.stopEnabled);
    m_stop->setVisible(!s.singleShot && !s.finished);
    m_export->setVisible(s.finished);
    m_close->setVisible(s.finished);
    m_sendRest->setText(s.sendRestText);
    m_sendRest->setVisible(s.finished && !s.sendRestText.isEmpty());
    m_pleaseWait->setVisible(s.pleaseWait);
    if (s.visible && !isVisible())
        show();
    else if (!s.visible && isVisible())
        hide();
}
