#pragma once
// Lines for the terminal and for the scripts that read it: each is written whole and flushed
// at once, so that a reader (or a kill) never meets half a line, and a result printed before
// a crash is not lost in a buffer.
#include <QString>

#include <optional>

class QCommandLineParser;

void printOut(const QString& line); // standard output: what scripts parse
void printErr(const QString& line); // standard error: questions, progress and reasons

// Exit status of a command that stopped because data could not be written (a full disk, a
// folder it may not write in), or a file of the data folder it needs could not be read (a
// symbolic link there, which is never followed).
constexpr int kExitDataNotWritten = 4;

// Exit status of bad usage: an unknown option, a missing value.
constexpr int kExitUsage = 2;

// Parses a command's arguments (the command word first). An exit status when the command
// ends here: 0 after --help (printed on standard output), 2 after a usage error (told on
// standard error).
std::optional<int> parseCommandLine(QCommandLineParser& parser, const QStringList& arguments);
// The words of a command with actions ("bulksms token create NAME --json"): those after the
// action's command word, with --json taken out (json set). 0 after --help or -h (the usage
// printed on standard output): the command ends there.
std::optional<int> readActionWords(const QStringList& arguments, const QString& usage, QStringList& words,
                                   bool& json);
