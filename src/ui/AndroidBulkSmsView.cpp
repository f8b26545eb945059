#include "AndroidBulkSmsView.h"

#include "RecipientPanel.h"
#include "android/Bulk_SMSAppDelegate.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

AndroidBulkSmsView::AndroidBulkSmsView(Bulk_SMSAppDelegate& controller, QWidget* parent)
    : MainWindowView(controller, parent) {
    setObjectName(QStringLiteral("Bulk_SMSAppDelegate"));
    contentArea()->addWidget(new RecipientPanel(controller, this));
    auto* connectButton = new QPushButton(QStringLiteral("Connect Phone"), this);
    deviceBar()->addWidget(connectButton);
    connect(connectButton, &QPushButton::clicked, this, [&controller] { controller.connectDevice(); });
}
