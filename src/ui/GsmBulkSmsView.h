#pragma once
// The GSM main window.
#include "MainWindowView.h"

class Gsm_Bulk_Sms_Wnd;

class GsmBulkSmsView : public MainWindowView {
    Q_OBJECT
public:
    explicit GsmBulkSmsView(Gsm_Bulk_Sms_Wnd& controller, QWidget* parent = nullptr);
};
