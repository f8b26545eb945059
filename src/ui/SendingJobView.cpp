#include "SendingJobView.h"

#include "RecordTableModel.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <iterator>

SendingJobView::SendingJobView(SMS_Sending& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    auto* layout = new QVBoxLayout(this);
    m_status = new QLabel(this);
    QFont bold = m_status->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.2);
    m_status->setFont(bold);
    m_notice = new QLabel(this);
    m_notice->setWordWrap(true);
    m_ports = new QLabel(this);
    m_ports->setWordWrap(true);
    m_ports->setStyleSheet(QStringLiteral("color: #a33;"));
    m_waiting = new QLabel(this);
    m_waiting->setObjectName(QStringLiteral("waitingNote"));
    m_waiting->setWordWrap(true);
    layout->addWidget(m_status);
    layout->addWidget(m_notice);
    layout->addWidget(m_waiting);
    layout->addWidget(m_ports);

    auto* counts = new QHBoxLayout();
    m_total = new QLabel(this);
    m_progressText = new QLabel(this);
    m_pause = new QLabel(this);
    m_pause->setStyleSheet(QStringLiteral("color: #a05000; font-weight: bold;"));
    counts->addWidget(new QLabel(QStringLiteral("Total:"), this));
    counts->addWidget(m_total);
    counts->addStretch();
    counts->addWidget(m_pause);
    counts->addStretch();
    counts->addWidget(m_progressText);
    layout->addLayout(counts);

    m_overall = new QProgressBar(this);
    m_activity = new QProgressBar(this);
    m_activity->setRange(0, 100);
    m_activity->setTextVisible(false);
    m_activity->setMaximumHeight(8);
    layout->addWidget(m_overall);
    layout->addWidget(m_activity);

    auto* model = new RecordTableModel(controller.itemTable(), this);
    model->setColumnTitle(kItemPortKey, QStringLiteral("Port"));
    m_table = new QTableView(this);
    m_table->setModel(model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 6);
    m_table->horizontalHeader()->setStretchLastSection(true);
    // Number, Message, Current Status, Status, Port, Retry; Delivery (when asked for) takes the rest.
    const int widths[] = {130, 220, 150, 190, 90, 45};
    for (int column = 0; column < int(std::size(widths)); ++column)
        m_table->setColumnWidth(column, widths[column]);
    layout->addWidget(m_table, 1);

    auto* buttons = new QHBoxLayout();
    m_pleaseWait = new QLabel(QStringLiteral("Please wait while the last messages finish..."), this);
    m_stop = new QPushButton(QStringLiteral("Stop"), this);
    m_close = new QPushButton(QStringLiteral("Close"), this);
    m_export = new QPushButton(QStringLiteral("Export..."), this);
    m_export->setObjectName(QStringLiteral("_export_btn"));
    m_sendRest = new QPushButton(this);
    m_sendRest->setObjectName(QStringLiteral("_send_rest_btn"));
    buttons->addWidget(m_pleaseWait);
    buttons->addStretch();
    buttons->addWidget(m_sendRest);
    buttons->addWidget(m_export);
    buttons->addWidget(m_stop);
    buttons->addWidget(m_close);
    layout->addLayout(buttons);
    resize(1060, 600);

    connect(m_stop, &QPushButton::clicked, this, [this] { m_controller.Stop_Btn(); });
    connect(m_close, &QPushButton::clicked, this, [this] { m_controller.CancelPressed(); });
    connect(m_export, &QPushButton::clicked, this, [this] { m_controller.Export_Btn(); });
    connect(m_sendRest, &QPushButton::clicked, this, [this] { m_controller.Send_Not_Yet_Sent_Btn(); });
    connect(&controller, &DialogController::changed, this, &SendingJobView::refresh);
    refresh();
}

void SendingJobView::refresh() {
    setWindowTitle(m_controller.title());
    m_status->setText(m_controller.statusLine());
    m_notice->setText(m_controller.notice());
    m_waiting->setText(
        m_controller.waitingNote().isEmpty()
            ? QString()
            : QStringLiteral("Some recipients wait for their hours: %1").arg(m_controller.waitingNote()));
    m_waiting->setVisible(!m_waiting->text().isEmpty());
    QStringList ports;
    const QMap<QString, QString> statuses = m_controller.portStatuses();
    for (auto it = statuses.cbegin(); it != statuses.cend(); ++it)
        ports << it.key() + QStringLiteral(": ") + it.value();
    m_ports->setText(ports.join(QLatin1Char('\n')));
    m_ports->setVisible(!ports.isEmpty());
    m_total->setText(m_controller.totalLabel());
    m_progressText->setText(m_controller.progressText());
    m_progressText->setVisible(m_controller.progressTextVisible());
    m_pause->setText(m_controller.pauseLabel());
    m_overall->setRange(0, qMax(1, m_controller.overallMaximum()));
    m_overall->setValue(m_controller.overallValue());
    m_activity->setValue(m_controller.activityValue());
    m_activity->setVisible(m_controller.activityVisible());
    m_stop->setEnabled(m_controller.stopEnabled());
    m_stop->setVisible(m_controller.stopVisible());
    m_close->setEnabled(m_controller.closeEnabled());
    m_export->setVisible(m_controller.exportVisible());
    m_sendRest->setText(m_controller.notYetSentOffer());
    m_sendRest->setVisible(!m_controller.notYetSentOffer().isEmpty());
    m_pleaseWait->setVisible(m_controller.pleaseWaitShown());
    const int delivery = int(m_controller.itemTable().columns().indexOf(kItemDeliveryKey));
    m_table->setColumnHidden(delivery, !m_controller.deliveryReportsRequested());
}
