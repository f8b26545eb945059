#pragma once
// "bulksms test-device": the automated send-mode test of one device, without windows.
#include <QStringList>

// Runs the test and prints the case table; 0 when at least one case worked, 1 when none
// did, 2 on bad input.
int runTestDevice(const QStringList& arguments);
