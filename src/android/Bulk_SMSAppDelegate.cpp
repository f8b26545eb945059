#include "Bulk_SMSAppDelegate.h"

#include "Connection_Info.h"
#include "core/AppState.h"
#include "core/Operator.h"

Bulk_SMSAppDelegate::Bulk_SMSAppDelegate(Operator& op, QObject* parent)
    : BulkSmsWindow(Kind::Android, op, parent) {}

QString Bulk_SMSAppDelegate::title() const { return kApplicationName + QStringLiteral(" - Android Phone"); }

int Bulk_SMSAppDelegate::runConnectionSteps() {
    Connection_Info steps;
    return op().runModal(steps);
}
