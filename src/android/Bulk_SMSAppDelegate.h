#pragma once
// The Android main window's controller, which is also the application delegate.
#include "core/MainWindowController.h"

class Bulk_SMSAppDelegate : public MainWindowController {
    Q_OBJECT
public:
    explicit Bulk_SMSAppDelegate(Operator& op, QObject* parent = nullptr);

    QString title() const override;
    int runConnectionSteps() override;
};
