#pragma once
// The phones adb sees, each with its state and, for a phone ready for use, its properties:
// what "bulksms devices --android" prints.
#include "core/Record.h"

#include <QList>
#include <QString>

class DataFolder;

struct ListedPhone {
    QString serial;
    QString state;         // adb's word: "device", "unauthorized", "offline", ...
    RecordList properties; // read only from a phone in the "device" state
};

// On the calling (worker) thread; serial narrows the list to that phone ("" = every phone).
// The properties pass through the scratch file in folder.
QList<ListedPhone> listPhones(const DataFolder& folder, const QString& serial);
