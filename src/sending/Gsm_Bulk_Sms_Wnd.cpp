#include "Gsm_Bulk_Sms_Wnd.h"

#include "core/AppState.h"
#include "core/Operator.h"
#include "gsm/GSM_DEV_Conn_Step_Wnd.h"
#include "gsm/GSM_Device_List_Wnd.h"

Gsm_Bulk_Sms_Wnd::Gsm_Bulk_Sms_Wnd(Operator& op, QObject* parent) : BulkSmsWindow(Kind::Gsm, op, parent) {}

QString Gsm_Bulk_Sms_Wnd::title() const { return kApplicationName + QStringLiteral(" - GSM Modem"); }

int Gsm_Bulk_Sms_Wnd::runConnectionSteps() {
    GSM_DEV_Conn_Step_Wnd steps;
    return op().runModal(steps);
}

bool Gsm_Bulk_Sms_Wnd::openDeviceSearchWindow() {
    GSM_Device_List_Wnd& devices = GSM_Device_List_Wnd::defaultInstance(op());
    devices.Search_dev_Pressed();
    // Selecting devices (1) and going on without one (0) both end the choice; closing the
    // window otherwise lets the operator choose again.
    const int code = op().runModal(devices);
    return code == 1 || code == 0;
}
