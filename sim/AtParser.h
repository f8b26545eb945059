#pragma once
// Splits one AT command line, as a modem reads it up to the carriage return, into its
// commands: basic ones ("E0", "&F", "Z", "I3", "S0=1") and extended ones ("+CMGF=1"),
// several of which may share a line ("AT+CMGF=1;+CSCS=\"GSM\"").
#include <QList>
#include <QString>
#include <QStringList>

namespace sim {

struct AtCommand {
    enum class Kind { Action, Read, Test, Set }; // "+X", "+X?", "+X=?", "+X=..."
    QString name;                                // upper case: "+CMGF", "E", "&F", "S7"
    Kind kind = Kind::Action;
    QString argument;           // raw text after "=" (Set), or the number of a basic command
    QStringList values() const; // argument split at commas outside quotes, quotes removed
    QString value(int index) const { return values().value(index); }
    bool quoted(int index) const; // whether that value was written between quotes
};

struct AtLine {
    bool isCommand = false; // the line begins with "AT" (any case)
    bool syntaxOk = true;
    QList<AtCommand> commands; // empty for a bare "AT"
};

namespace AtParser {

AtLine parse(const QString& line);

// Splits at commas outside double quotes; each piece trimmed, quotes kept.
QStringList splitParameters(const QString& argument);

} // namespace AtParser
} // namespace sim
