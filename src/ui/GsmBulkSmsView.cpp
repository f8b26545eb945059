#include "GsmBulkSmsView.h"

#include "RecipientPanel.h"
#include "SendLaterButton.h"
#include "WindowMemory.h"
#include "list/NumberLoader.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

GsmBulkSmsView::GsmBulkSmsView(Gsm_Bulk_Sms_Wnd& controller, StoreWindows& stores, QWidget* parent)
    : MainWindowView(controller, parent) {
    setObjectName(QStringLiteral("Gsm_Bulk_Sms_Wnd"));
    contentArea()->addWidget(new RecipientPanel(controller, controller.carriedRun(), stores, this));
    auto* search = new QPushButton(QStringLiteral("Search Device"), this);
    deviceBar()->addWidget(search);
    connect(search, &QPushButton::clicked, this, [&controller] { controller.connectDevice(); });
    auto* details = new QPushButton(QStringLiteral("Device Settings..."), this);
    details->setObjectName(QStringLiteral("Device_Details_Btn"));
    deviceBar()->addWidget(details);
    connect(details, &QPushButton::clicked, this, [&controller] { controller.Device_Details_Pressed(); });
    auto* send = new QPushButton(QStringLiteral("Send"), this);
    send->setObjectName(QStringLiteral("Send_SMS_Btn"));
    send->setMinimumWidth(120);
    bottomBar()->insertWidget(0, send);
    connect(send, &QPushButton::clicked, this, [&controller] { controller.Send_SMS_Btn(); });
    // A file load fills the list from a worker: no sending until it is done.
    connect(&NumberLoader::of(controller), &NumberLoader::loadingChanged, send, &QPushButton::setDisabled);
    addSendLater(bottomBar(), 1, this, controller, controller.scheduledSend(),
                 [&controller] { controller.Send_Later_Btn(); });

    // The ports verified for the last run; the job reads the choice, so it is shown, not edited.
    auto* ports = new QComboBox(this);
    ports->setObjectName(QStringLiteral("_cb_ports_ComboBox_Sending"));
    ports->setEnabled(false);
    ports->setMinimumWidth(180);
    bottomBar()->insertWidget(3, new QLabel(QStringLiteral("Sending through:"), this));
    bottomBar()->insertWidget(4, ports);
    auto* retries = new QSpinBox(this);
    retries->setObjectName(QStringLiteral("retries"));
    retries->setRange(0, RunSettings::kMaxRetries);
    retries->setToolTip(QStringLiteral("Further attempts for a message the network refused, on another "
                                       "device where there is one."));
    bottomBar()->insertWidget(5, new QLabel(QStringLiteral("Retries:"), this));
    bottomBar()->insertWidget(6, retries);
    connect(retries, &QSpinBox::valueChanged, this,
            [&controller](int value) { controller.setRetries(value); });
    auto* reports = new QCheckBox(QStringLiteral("Request delivery reports"), this);
    reports->setObjectName(QStringLiteral("deliveryReports"));
    reports->setToolTip(QStringLiteral("Ask the network to report whether each message reached its "
                                       "recipient; the sending window shows it as the reports come."));
    bottomBar()->insertWidget(7, reports);
    connect(reports, &QCheckBox::toggled, this,
            [&controller](bool on) { controller.setDeliveryReports(on); });
    auto* takeNew = new QCheckBox(QStringLiteral("Take in modems plugged in while sending"), this);
    takeNew->setObjectName(QStringLiteral("takeNewModems"));
    takeNew->setToolTip(QStringLiteral("A modem plugged in while the run sends joins it and shares what is "
                                       "left; the sending window says what became of each."));
    bottomBar()->insertWidget(8, takeNew);
    connect(takeNew, &QCheckBox::toggled, this, [&controller](bool on) { controller.setTakeNewModems(on); });
    auto* wait = new QLabel(QStringLiteral("Checking the devices, please wait..."), this);
    bottomBar()->insertWidget(9, wait);
    const auto refresh = [ports, wait, retries, reports, takeNew, &controller] {
        if (takeNew->isChecked() != controller.takeNewModems()) {
            const QSignalBlocker block(takeNew);
            takeNew->setChecked(controller.takeNewModems());
        }
        if (retries->value() != controller.retries()) {
            const QSignalBlocker block(retries);
            retries->setValue(controller.retries());
        }
        if (reports->isChecked() != controller.deliveryReports()) {
            const QSignalBlocker block(reports);
            reports->setChecked(controller.deliveryReports());
        }
        if (ports->count() != controller.sendingPorts().size()) {
            ports->clear();
            ports->addItems(controller.sendingPorts());
        }
        ports->setCurrentIndex(int(controller.sendingPorts().indexOf(controller.sendingPortChoice())));
        wait->setVisible(controller.pleaseWaitShown());
    };
    connect(&controller, &MainWindowController::changed, this, refresh);
    refresh();
    WindowMemory::follow(*this, controller.dataFolder(), QStringLiteral("gsmWindow"),
                         WindowMemory::Kept::SizeAndPlace);
}
