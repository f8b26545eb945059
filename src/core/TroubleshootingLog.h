#pragma once
// The troubleshooting log, Troubleshooting_Log_Path (DataFolder.h): "Troubleshooting_Log.txt"
// beside the data folder. The process has one log and one thread writing it, which any thread
// reaches; the program's start gives it its path (setTroubleshootingLogPath). Every log line (Log.h: each AT
// command and answer, each adb command line) and the Android troubleshooting window's entries go here and
// nowhere else outside the user's data, since they hold phone numbers and message texts.
//
// The file is private to the user (created 0600, narrowed to 0600 when found looser) and is
// never opened through a symbolic link. Data-file operations leave it as it is; it is bounded
// instead: when an entry would take it past the cap (8 MiB), the oldest half is dropped first
// (the newest half is kept, from the start of a line) and the rest, with the entry, is
// rewritten durably (DurableFile.h). The log's own thread writes the entries handed to it, so
// no caller waits on the disk; processes sharing the data folder append under an exclusive
// flock of the file, so entries never mix and no trim loses another writer's entry. Entries
// still waiting when the process ends normally are written before it ends.
#include <QByteArray>
#include <QString>

inline constexpr qint64 kTroubleshootingLogCap = qint64(8) << 20;

// Appends text (UTF-8, no line break added) to the troubleshooting log, after every entry
// handed over before it, and returns once it is written; a log that cannot be opened or
// written (no data folder yet, a symbolic link in its place) is skipped silently.
void Write_In_Troubleshoot_File(const QString& text);

// Names the process's log file (Troubleshooting_Log_Path of its data folder); entries handed
// over before it, or while the path is empty, are dropped.
void setTroubleshootingLogPath(const QString& path);

// Hands bytes (as given) to the log's thread for the process's log, bounded by
// kTroubleshootingLogCap, and returns at once. Silent on failure.
void appendToTroubleshootingLog(const QByteArray& bytes);

// Hands a log line (with its line break) to the log's thread, which writes it after the local
// time it was handed over ("2026-11-25T23:58:01.123 ").
void postLogLine(const QByteArray& line);

// Returns once every entry handed over so far is in the file.
void flushTroubleshootingLog();

// Writes bytes to the log at path bounded by cap bytes (tests shrink it), on the calling thread. An entry
// longer than half the cap keeps only its newest half-cap bytes (from a line start where there is one), so
// the file never passes the cap. True when the entry was written; on a failure the file is as
// it was.
bool appendToTroubleshootingLog(const QString& path, const QByteArray& bytes, qint64 cap);

// Creates the log at path when it is missing, and narrows it to 0600; nothing is removed
// from it. A symbolic link there is left alone.
void ensureTroubleshootingLog(const QString& path);
