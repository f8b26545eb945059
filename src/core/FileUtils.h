#pragma once
// File helpers. Data files are rewritten atomically and appended with one write each,
// so neither a crash nor two writers at once leave a half-written line behind.
#include <QByteArray>
#include <QString>

// Creates path with every missing parent, each new folder with permissions 0777.
// An existing path is success. Failures are logged and give false.
bool Create_Folder(const QString& path);

// Removes the file when it can be removed; errors are ignored.
void Delete_File(const QString& path);

// Replaces the file's content: writes a temporary file beside it, flushes, renames.
bool writeFileAtomically(const QString& path, const QByteArray& content);

// Appends bytes in a single write on a descriptor opened with O_APPEND.
bool appendToFile(const QString& path, const QByteArray& bytes);

// Creates an empty file with permissions 0777; fails when anything already stands there.
bool createEmptyFile(const QString& path);
