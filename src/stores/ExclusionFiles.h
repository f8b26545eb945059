#pragma once
// The files behind the exclusion lists: the index of list names, the applied names, and
// one file of numbers per list. One entry per line; every rewrite is atomic.
#include <QString>
#include <QStringList>

class DataFolder;

// A name that can be a list's file name: 1 to 50 characters, not blank, no control
// characters, none from 128 to 255, none of / \ ? % * | " < > :.
bool IsValidFileName(const QString& name);

// The file of the list called name in the data folder.
QString exclusionListPath(const DataFolder& folder, const QString& name);

// The lines of a file, trimmed, blank ones skipped (none for a missing file). A file that
// cannot be read (readPrivateFile: a symbolic link, say) has none, and error (may be null)
// gets "<path>: <reason>"; "" otherwise.
QStringList readTrimmedLines(const QString& path, QString* error = nullptr);

// The names in the index or applied file that can be list names (others are logged).
QStringList readListNames(const QString& path, QString* error = nullptr);

// Replaces the file by these lines, each ended by "\n", through the durable writer; error
// (may be null) gets "<path>: <reason>" when it could not.
bool writeLines(const QString& path, const QStringList& lines, QString* error = nullptr);
