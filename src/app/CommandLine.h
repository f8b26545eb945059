#pragma once
// The command-line tool: "bulksms send" and "bulksms devices" run the GSM flow without
// windows, for scripts and for checking the product on a server.
#include <QStringList>

// Runs the command in arguments (arguments.at(0) is the program, at(1) the command);
// returns the process exit status.
int runCommandLine(const QStringList& arguments);

// Whether the arguments ask for a command rather than the desktop application.
bool isCommandLine(const QStringList& arguments);
