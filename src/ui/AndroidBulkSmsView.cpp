#include "AndroidBulkSmsView.h"

#include "AndroidSendingProgressView.h"
#include "RecipientPanel.h"
#include "SendLaterButton.h"
#include "WindowMemory.h"
#include "list/NumberLoader.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"

#include <QButtonGroup>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QVBoxLayout>

AndroidBulkSmsView::AndroidBulkSmsView(Bulk_SMSAppDelegate& controller, StoreWindows& stores, QWidget* parent)
    : MainWindowView(controller, parent) {
    setObjectName(QStringLiteral("Bulk_SMSAppDelegate"));
    auto* panel = new RecipientPanel(controller, controller.carriedRun(), stores, this);
    contentArea()->addWidget(panel);
    // The row being sent is shown in the list as the run goes through it.
    connect(&controller, &Bulk_SMSAppDelegate::sendingRowShown, panel, [panel](int row) {
        QTableView* table = panel->table();
        if (row < 0 || row >= table->model()->rowCount())
            return;
        table->selectRow(row);
        table->scrollTo(table->model()->index(row, 0));
    });
    auto* connectButton = new QPushButton(QStringLiteral("Connect Phone"), this);
    auto* details = new QPushButton(QStringLiteral("Device Details"), this);
    auto* status = new QPushButton(QStringLiteral("Device Status"), this);
    deviceBar()->addWidget(connectButton);
    deviceBar()->addWidget(details);
    deviceBar()->addWidget(status);
    auto* test = new QPushButton(QStringLiteral("Test Sending Modes..."), this);
    test->setObjectName(QStringLiteral("Test_Btn"));
    deviceBar()->addWidget(test);
    connect(test, &QPushButton::clicked, this, [&controller] { controller.Test_Btn(); });
    connect(connectButton, &QPushButton::clicked, this, [&controller] { controller.connectDevice(); });
    connect(details, &QPushButton::clicked, this, [&controller] { controller.Device_Details_Btn(); });
    connect(status, &QPushButton::clicked, this, [&controller] { controller.Check_Device_Status_Btn(); });

    // The sending mode: single-shot or one-by-one, and under one-by-one standard or classic.
    auto* modes = new QGroupBox(QStringLiteral("Sending mode"), this);
    auto* modeLayout = new QHBoxLayout(modes);
    auto* singleShot = new QRadioButton(QStringLiteral("Single-shot"), modes);
    auto* oneByOne = new QRadioButton(QStringLiteral("One-by-one"), modes);
    auto* standard = new QRadioButton(QStringLiteral("Standard"), modes);
    auto* classic = new QRadioButton(QStringLiteral("Classic"), modes);
    singleShot->setObjectName(QStringLiteral("Single_Shot_Radio"));
    oneByOne->setObjectName(QStringLiteral("One_By_One_Radio"));
    classic->setObjectName(QStringLiteral("Classic_Radio"));
    auto* outer = new QButtonGroup(modes);
    outer->addButton(singleShot);
    outer->addButton(oneByOne);
    auto* inner = new QButtonGroup(modes);
    inner->addButton(standard);
    inner->addButton(classic);
    modeLayout->addWidget(singleShot);
    modeLayout->addWidget(oneByOne);
    modeLayout->addSpacing(16);
    modeLayout->addWidget(standard);
    modeLayout->addWidget(classic);
    modeLayout->addStretch();
    contentArea()->addWidget(modes);
    connect(singleShot, &QRadioButton::clicked, this, [&controller] { controller.Single_Shot_Radio(); });
    connect(oneByOne, &QRadioButton::clicked, this, [&controller] { controller.One_By_One_Radio(); });
    connect(standard, &QRadioButton::clicked, this, [&controller] { controller.Standard_Radio(); });
    connect(classic, &QRadioButton::clicked, this, [&controller] { controller.Classic_Radio(); });

    auto* send = new QPushButton(QStringLiteral("Send"), this);
    send->setObjectName(QStringLiteral("Send_SMS_Btn"));
    send->setMinimumWidth(120);
    bottomBar()->insertWidget(0, send);
    connect(send, &QPushButton::clicked, this, [&controller] { controller.Send_SMS_Btn(); });
    connect(&NumberLoader::of(controller), &NumberLoader::loadingChanged, send, &QPushButton::setDisabled);
    addSendLater(bottomBar(), 1, this, controller, controller.scheduledSend(),
                 [&controller] { controller.Send_Later_Btn(); });

    const auto refresh = [=, &controller] {
        const QSignalBlocker a(singleShot), b(oneByOne), c(standard), d(classic);
        singleShot->setChecked(controller.singleShotOn());
        oneByOne->setChecked(!controller.singleShotOn());
        standard->setChecked(!controller.classicOn());
        classic->setChecked(controller.classicOn());
        standard->setEnabled(!controller.singleShotOn());
        classic->setEnabled(!controller.singleShotOn());
    };
    connect(&controller, &MainWindowController::changed, this, refresh);
    refresh();

    auto* progress = new AndroidSendingProgressView(controller.progress(), this);
    WindowMemory::follow(*progress, controller.dataFolder(), QStringLiteral("androidProgressWindow"),
                         WindowMemory::Kept::Size);
    WindowMemory::follow(*this, controller.dataFolder(), QStringLiteral("androidWindow"),
                         WindowMemory::Kept::SizeAndPlace);
}
