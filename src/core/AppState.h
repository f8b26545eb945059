#pragma once
// Process-wide state of start-up and device selection, under the system's own names.
// gsm_and_none is read from worker threads and is atomic; the selection is written and
// read on the main thread only; the paths are fixed at launch, before any thread starts.
#include "Record.h"

#include <QString>
#include <QStringList>

#include <atomic>

class MainWindowController;

inline const QString kApplicationName = QStringLiteral("Ostrel Bulk SMS");

// The two main windows: the Android one (also the application delegate) and the GSM one.
extern MainWindowController* Main_App_wnd;
extern MainWindowController* GSM_App_wnd;

// Active device kind: 1 = GSM window, 2 = Android window.
extern std::atomic<int> gsm_and_none;

// The devices chosen by the device search windows.
extern QString sel_port_name_str;
extern QString sel_port_bsd_str;
extern QStringList port_val_str_array;
extern RecordList port_det_str_array;

// True while the number field and the composer report their text changes. Exit_App
// answered with No turns it off until the Android window's Reset turns it on again.
extern std::atomic<bool> text_change_notifications_on;

// Clears the device selection (name, path, names and records).
void clearDeviceSelection();
