#pragma once
// The GSM main window.
#include "MainWindowView.h"

class Gsm_Bulk_Sms_Wnd;
class StoreWindows;

class GsmBulkSmsView : public MainWindowView {
    Q_OBJECT
public:
    // stores: the stored-list windows the recipient panel opens.
    GsmBulkSmsView(Gsm_Bulk_Sms_Wnd& controller, StoreWindows& stores, QWidget* parent = nullptr);
};
