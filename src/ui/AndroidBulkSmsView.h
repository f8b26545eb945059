#pragma once
// The Android main window.
#include "MainWindowView.h"

class Bulk_SMSAppDelegate;
class StoreWindows;

class AndroidBulkSmsView : public MainWindowView {
    Q_OBJECT
public:
    // stores: the stored-list windows the recipient panel opens.
    AndroidBulkSmsView(Bulk_SMSAppDelegate& controller, StoreWindows& stores, QWidget* parent = nullptr);
};
