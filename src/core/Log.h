#pragma once
// The program's log: every failure, and the traffic with the devices (each AT command and answer,
// each adb command line, so phone numbers and message texts), is written as "NSLOG : <line>".
// It goes to the troubleshooting log (TroubleshootingLog.h, private to the user) and, when
// asked, to standard error; never to syslog or the journal.
#include <QString>
#include <QStringList>

// Appends "<local time> NSLOG : text" (trimmed) as a line to the troubleshooting log, and writes
// "NSLOG : text" to stderr when setLogToStandardError(true); a blank text writes nothing.
void Show_NSLog_Message(const QString& text);

// Whether log lines are copied to stderr: off unless asked (--verbose, of the desktop and of the
// command-line tool); a desktop session may keep a program's stderr in its journal.
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
