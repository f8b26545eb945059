#pragma once
// The Android main window.
#include "MainWindowView.h"

class Bulk_SMSAppDelegate;

class AndroidBulkSmsView : public MainWindowView {
    Q_OBJECT
public:
    explicit AndroidBulkSmsView(Bulk_SMSAppDelegate& controller, QWidget* parent = nullptr);
};
