#pragma once
// Running a program once, from any thread: an argument vector (never a shell), standard input
// from /dev/null, standard output and error read together, and killed promptly on a stop. It is
// started with posix_spawn rather than fork, so a process full of threads never copies itself
// (and a thread sanitizer follows what happens).
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

struct ChildResult {
    bool started = false; // false: it could not be started (`error` says why)
    bool stopped = false; // stop() turned true and the child was killed
    int exitCode = -1;    // when it exited by itself
    QByteArray output;    // everything it printed, output and error interleaved
    QString error;
};

// Runs program with arguments until it exits, or until stop() (asked every 50 ms) turns true.
ChildResult runChild(const QString& program, const QStringList& arguments,
                     const std::function<bool()>& stop = {});
