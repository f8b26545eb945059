#pragma once
// Bringing the application up, in the order the system prescribes.
class MainWindows;
class Operator;

// Loads both windows, fixes the resource and data paths, lays out the data folder and
// leaves the GSM window in front with the Android window hidden.
// An inaccessible resource folder is reported and ends the application: returns false.
bool Launch_Application(Operator& op, MainWindows& windows);

// Shows the device-kind dialog over the front window; returns its end code.
int Show_Device_Kind_Selection(Operator& op, MainWindows& windows);
