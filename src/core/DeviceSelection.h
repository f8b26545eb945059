#pragma once
// The devices a main window sends with, as its device search window chose them. The window
// owns it and hands it to its device windows; read and written on the main thread only.
#include "Record.h"

#include <QString>
#include <QStringList>

struct DeviceSelection {
    QString sel_port_name_str;      // the last device's name ("ttyUSB0", or the phone's name)
    QString sel_port_bsd_str;       // the last device's path ("/dev/ttyUSB0", or the phone's name)
    QStringList port_val_str_array; // every selected device's path, in selection order
    RecordList port_det_str_array;  // every selected device's record (GSM), in the same order

    void clear() { *this = DeviceSelection(); }
};
