#include "ConsoleOutput.h"

#include <cstdio>

namespace {
void printLine(FILE* stream, const QString& line) {
    std::fprintf(stream, "%s\n", line.toUtf8().constData());
    std::fflush(stream);
}
} // namespace

void printOut(const QString& line) { printLine(stdout, line); }
void printErr(const QString& line) { printLine(stderr, line); }
