#pragma once
// The attached phones as adb lists them: the device list text, the first phone's display
// line, the more-than-one rule, the status text of the status buttons, and the phone's
// properties (read through the scratch "build.prop") with the names built from them.
#include "core/Record.h"

#include <QString>

#include <functional>

class DataFolder;

// How one search or check reaches the phones: the serial the device list is narrowed to
// ("" = every phone) and when to give up its adb commands (none: never).
struct PhoneQuery {
    QString serialFilter;
    std::function<bool()> stop;
    // The caller offers the attached phones to tick: several at once is not told as a fault.
    bool severalAreAChoice = false;
};

// adb's device list without anything up to its header, trimmed ("" = no phone).
QString Get_Android_Device_List(const PhoneQuery& query = {});
// The list text narrowed to the serial filter (a pure step of the above, for tests).
QString deviceListFromOutput(const QString& adbOutput, const QString& serialFilter = {});

// "Android Device " and the first line without "device", trimmed and upper-cased; "" when none.
QString Get_Android_Device(const PhoneQuery& query = {});
QString androidDeviceFromList(const QString& list);

bool Check_More_Than_One_Android_Device(const QString& list);

// The status text shown by the check-device-status buttons.
QString Get_Android_Device_Status(const PhoneQuery& query = {});

// The property rows of the search window ("COM_PORT" label, "PORT_DETAL" value), after the
// "Device" row: Manufacturer ... Sim Operator read through getprop, then the serial number.
RecordList readDeviceProperties(const DataFolder& folder, const std::function<bool()>& stop = {});
Record propertyRow(const QString& label, const QString& value);

// The display name from the rows: the manufacturer, and the model unless the maker holds it.
QString Get_Device_name_Detail(const RecordList& rows);
// "Model Details:" and one line per row but the last.
QString Sel_Dev_Detail_String_Creation(const RecordList& rows);

inline const QString kNoPhoneSelectedMessage = QStringLiteral(
    "Either Mobile Device is not connected properly or No Mobile Phone Device is selected.\n\nPlease use "
    "Mobile Phone Connection Wizard for finding device or establishing connection.");
inline const QString kMoreThanOnePhoneMessage =
    QStringLiteral("More than one android device detected, please use only one android device at a time.");
