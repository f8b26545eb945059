#include "ConsoleOutput.h"

#include <QCommandLineParser>

#include <cstdio>

namespace {
void printLine(FILE* stream, const QString& line) {
    std::fprintf(stream, "%s\n", line.toUtf8().constData());
    std::fflush(stream);
}

// The parser's help, its usage line naming "bulksms COMMAND" rather than the program's path.
QString helpOf(const QCommandLineParser& parser, const QString& command) {
    QString help = parser.helpText();
    const qsizetype to = help.indexOf(QLatin1String(" [options]"));
    if (help.startsWith(QLatin1String("Usage: ")) && to > 7)
        help.replace(7, to - 7, QStringLiteral("bulksms ") + command);
    return help;
}

} // namespace

void printOut(const QString& line) { printLine(stdout, line); }
void printErr(const QString& line) { printLine(stderr, line); }

std::optional<int> readActionWords(const QStringList& arguments, const QString& usage, QStringList& words,
                                   bool& json) {
    words = arguments.mid(2);
    json = words.removeAll(QStringLiteral("--json")) > 0;
    if (words.contains(QStringLiteral("--help")) || words.contains(QStringLiteral("-h"))) {
        printOut(usage);
        return 0;
    }
    return std::nullopt;
}

std::optional<int> parseCommandLine(QCommandLineParser& parser, const QStringList& arguments) {
    const QString command = arguments.value(0);
    if (!parser.parse(arguments)) {
        const QString help = helpOf(parser, command);
        printErr(parser.errorText() + QLatin1Char('\n') + help.left(help.indexOf(QLatin1Char('\n'))) +
                 QStringLiteral("\n(\"bulksms %1 --help\" lists the options.)").arg(command));
        return kExitUsage;
    }
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all"))) {
        printOut(helpOf(parser, command));
        return 0;
    }
    return std::nullopt;
}
