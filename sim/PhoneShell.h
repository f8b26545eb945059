#pragma once
// The virtual phone's shell: a command line is split into words as the phone's POSIX sh would
// split it (quotes, backslashes, $VAR and ${VAR} from the phone's environment, field splitting
// of unquoted expansions), and nothing in it is ever executed. Control and redirection
// operators, command substitution and subshells that reach the shell unquoted are reported:
// on a real phone they would have run something else than the words the sender meant.
#include <QHash>
#include <QString>
#include <QStringList>

namespace sim {

struct ShellParse {
    QStringList words;         // the first simple command's words
    QStringList injections;    // every unquoted operator met: ";", "&", "|", "<", ">", "`", "$(", "(", ")"
    bool unterminated = false; // a quote left open (sh would report a syntax error)
};

// Splits line as sh -c would. The client's own " </dev/null" after its file removals is a
// redirection it adds itself and is not reported.
ShellParse parseShellLine(const QString& line, const QHash<QString, QString>& environment);

// Quotes a word so that parseShellLine gives it back unchanged (single quotes, ' as '\'').
QString shellQuote(const QString& word);

} // namespace sim
