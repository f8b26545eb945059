#pragma once
// The Android side of the command-line tool: the phones adb sees, choosing the one to send
// through, and trying its sending modes.
#include "services/PhoneSearch.h"

#include <QString>

#include <optional>

class DataFolder;
class Operator;

// "bulksms devices --android": one line per phone with its state and properties.
int listAndroidDevices(const DataFolder& folder, const QString& serial);
// The serials of the phones adb lists as ready ("device").
QStringList attachedPhoneSerials();

// Finds the phone (serial: "" = the one phone attached) and checks it as Select does, saying
// why when there is none; prints "Phone: <caption>" for the phone it chose.
std::optional<ChosenPhone> choosePhone(Operator& op, const DataFolder& folder, const QString& serial);

// Finds and chooses the phone and runs the automated mode test with messages to number;
// prints one line per case. 0 when a mode worked, 1 when none did, 2 without a phone.
int testAndroidPhone(Operator& op, const DataFolder& folder, const QString& serial, const QString& number);
