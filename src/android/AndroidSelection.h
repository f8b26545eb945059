#pragma once
// What the Android window has chosen besides the phone's name (its DeviceSelection): the
// phone's model details, the sending mode, and the serial the device list is narrowed to.
// The window owns it and hands it to its device windows; read and written on the main thread
// (the serial filter is set before any search and only read by the searches).
#include <QString>

#include <QList>

enum class AndroidSendingMode { SingleShot = 0, Standard = 1, Classic = 3 };

// One of several phones ticked to send through together.
struct TickedPhone {
    QString serial;  // as adb names it
    QString caption; // its name in the window, the rows and the store
};

struct AndroidSelection {
    // The model details of the chosen phone ("Model Details:\n..."; "" until one is chosen).
    QString AND_Sel_Dev_Details;
    // 0 single-shot, 1 (or 2) standard one-by-one, 3 classic one-by-one.
    int AND_SMS_sending_mode = int(AndroidSendingMode::Standard);
    // The command line's --serial ("" = every phone).
    QString serialFilter;
    // The phones a run sends through when several were ticked (each addressed by its serial);
    // empty: the one phone found.
    QList<TickedPhone> phones;
};
