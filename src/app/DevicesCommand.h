#pragma once
// "bulksms devices": the GSM modems attached, or with --android the phones adb sees.
#include <QStringList>

// Prints one line per device; 0 when one was found, 1 when none was, 2 on bad input.
int runDevices(const QStringList& arguments);
