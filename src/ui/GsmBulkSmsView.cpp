#include "GsmBulkSmsView.h"

#include "sending/Gsm_Bulk_Sms_Wnd.h"

GsmBulkSmsView::GsmBulkSmsView(Gsm_Bulk_Sms_Wnd& controller, QWidget* parent)
    : MainWindowView(controller, parent) {
    setObjectName(QStringLiteral("Gsm_Bulk_Sms_Wnd"));
}
