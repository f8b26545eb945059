#include "Gsm_Bulk_Sms_Wnd.h"

#include "core/AppState.h"
#include "core/Operator.h"
#include "gsm/GSM_DEV_Conn_Step_Wnd.h"

Gsm_Bulk_Sms_Wnd::Gsm_Bulk_Sms_Wnd(Operator& op, QObject* parent) : BulkSmsWindow(Kind::Gsm, op, parent) {}

QString Gsm_Bulk_Sms_Wnd::title() const { return kApplicationName + QStringLiteral(" - GSM Modem"); }

int Gsm_Bulk_Sms_Wnd::runConnectionSteps() {
    GSM_DEV_Conn_Step_Wnd steps;
    return op().runModal(steps);
}
