#pragma once
// Bringing the application up, in the order the system prescribes.
class DataFolder;
class MainWindows;
class Operator;

// What every command does first: gives the process the data folder (its log and link rule:
// DataFolder::adoptForProcess) and lays it out. An inaccessible resource folder is reported:
// returns false.
bool openDataFolder(Operator& op, const DataFolder& folder);

// Gives the process the data folder (its log and link rule: DataFolder::adoptForProcess),
// loads both windows, lays out the data folder and leaves the GSM window in front with the
// Android window hidden. An inaccessible resource folder is reported and ends the
// application: returns false.
bool Launch_Application(Operator& op, const DataFolder& folder, MainWindows& windows);

// Shows the device-kind dialog over the front window; returns its end code.
int Show_Device_Kind_Selection(Operator& op, MainWindows& windows);
