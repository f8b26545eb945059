#pragma once
// The GSM main window's controller.
#include "list/BulkSmsWindow.h"

class Gsm_Bulk_Sms_Wnd : public BulkSmsWindow {
    Q_OBJECT
public:
    explicit Gsm_Bulk_Sms_Wnd(Operator& op, QObject* parent = nullptr);

    QString title() const override;
    int runConnectionSteps() override;

protected:
    bool openDeviceSearchWindow() override;
};
