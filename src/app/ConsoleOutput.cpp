#include "ConsoleOutput.h"

#include <QCommandLineParser>

#include <cstdio>

namespace {
void printLine(FILE* stream, const QString& line) {
    std::fprintf(stream, "%s\n", line.toUtf8().constData());
    std::fflush(stream);
}
} // namespace

void printOut(const QString& line) { printLine(stdout, line); }
void printErr(const QString& line) { printLine(stderr, line); }

std::optional<int> parseCommandLine(QCommandLineParser& parser, const QStringList& arguments) {
    if (!parser.parse(arguments)) {
        printErr(parser.errorText());
        return kExitUsage;
    }
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all"))) {
        printOut(parser.helpText());
        return 0;
    }
    return std::nullopt;
}
