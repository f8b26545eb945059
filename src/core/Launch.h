#pragma once
// Bringing the application up, in the order the system prescribes.
class DataFolder;
class MainWindows;
class Operator;

// Gives the process the data folder (its log and link rule: DataFolder::adoptForProcess),
// loads both windows, lays out the data folder and leaves the GSM window in front with the
// Android window hidden. An inaccessible resource folder is reported and ends the
// application: returns false.
bool Launch_Application(Operator& op, const DataFolder& folder, MainWindows& windows);

// The same for a command that opens no main window: the process gets the data folder, laid
// out as above; false when it cannot be.
bool Launch_Without_Windows(Operator& op, const DataFolder& folder);

// Shows the device-kind dialog over the front window; returns its end code.
int Show_Device_Kind_Selection(Operator& op, MainWindows& windows);
