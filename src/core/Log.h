#pragma once
// The system log: every failure is written here as "NSLOG : <reason>".
#include <QString>
#include <QStringList>

// Writes "NSLOG : text" (trimmed) to syslog and stderr; a blank text writes nothing.
void Show_NSLog_Message(const QString& text);

// Whether log lines are copied to stderr (on by default; the command-line tool keeps its
// terminal for the operator unless asked to be verbose).
void setLogToStandardError(bool on);

// Collects every line written through Show_NSLog_Message while it lives (for tests and
// diagnostics). Captures may nest and may be read from any thread.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines() const;
    bool contains(const QString& fragment) const;

private:
    friend void Show_NSLog_Message(const QString&);
    void append(const QString& line);
    QStringList m_lines;
};
