#include "GsmBulkSmsView.h"

#include "RecipientPanel.h"
#include "sending/Gsm_Bulk_Sms_Wnd.h"

#include <QVBoxLayout>

GsmBulkSmsView::GsmBulkSmsView(Gsm_Bulk_Sms_Wnd& controller, QWidget* parent)
    : MainWindowView(controller, parent) {
    setObjectName(QStringLiteral("Gsm_Bulk_Sms_Wnd"));
    contentArea()->addWidget(new RecipientPanel(controller, this));
}
