#pragma once
// The GSM main window's controller.
#include "core/MainWindowController.h"

class Gsm_Bulk_Sms_Wnd : public MainWindowController {
    Q_OBJECT
public:
    explicit Gsm_Bulk_Sms_Wnd(Operator& op, QObject* parent = nullptr);

    QString title() const override;
    int runConnectionSteps() override;
};
