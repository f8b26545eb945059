#pragma once
// The Android main window's controller, which is also the application delegate.
#include "list/BulkSmsWindow.h"

class Bulk_SMSAppDelegate : public BulkSmsWindow {
    Q_OBJECT
public:
    explicit Bulk_SMSAppDelegate(Operator& op, QObject* parent = nullptr);

    QString title() const override;
    int runConnectionSteps() override;
};
