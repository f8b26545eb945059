#include "GsmBulkSmsView.h"

#include "RecipientPanel.h"
#include "sending/Gsm_Bulk_Sms_Wnd.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

GsmBulkSmsView::GsmBulkSmsView(Gsm_Bulk_Sms_Wnd& controller, QWidget* parent)
    : MainWindowView(controller, parent) {
    setObjectName(QStringLiteral("Gsm_Bulk_Sms_Wnd"));
    contentArea()->addWidget(new RecipientPanel(controller, this));
    auto* search = new QPushButton(QStringLiteral("Search Device"), this);
    deviceBar()->addWidget(search);
    connect(search, &QPushButton::clicked, this, [&controller] { controller.connectDevice(); });
    auto* send = new QPushButton(QStringLiteral("Send"), this);
    send->setObjectName(QStringLiteral("Send_SMS_Btn"));
    send->setMinimumWidth(120);
    bottomBar()->insertWidget(0, send);
    connect(send, &QPushButton::clicked, this, [&controller] { controller.Send_SMS_Btn(); });
}
