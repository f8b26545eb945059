#pragma once
// File helpers. Data files are rewritten through the durable writer and appended with one
// write each, so neither a crash, a full disk nor two writers at once leave a half-written
// line behind.
#include "DurableFile.h"

#include <QByteArray>
#include <QString>

// Creates path with every missing parent, each new folder private to the user (0700).
// An existing path is success. Failures are logged and give false.
bool Create_Folder(const QString& path);

// Removes the file when it can be removed; errors are ignored.
void Delete_File(const QString& path);

// Replaces the file's content through the durable writer (DurableFile.h): the old file stays
// exactly as it was unless all of the new content reached the disk. The result is private to
// the user (0600). error gets "<path>: <reason>" on failure, "" on success.
bool writeFileAtomically(const QString& path, const QByteArray& content, QString* error = nullptr);

// The same, written piece by piece: nothing reaches path until commit() succeeds. A failed
// write, or a writer dropped without commit(), leaves the old file exactly as it was;
// errorText() says why.
using AtomicFileWriter = DurableFile;

// Appends bytes to an existing file (never through a symbolic link) in a single write under
// O_APPEND, so lines of parallel writers never mix. A write the disk takes only in part is
// continued; when the rest is refused, the part already written is taken back (if nothing
// was appended after it) and the result is false with error "<path>: <reason>".
bool appendToFile(const QString& path, const QByteArray& bytes, QString* error = nullptr);

// Creates an empty file private to the user (0600); fails when anything already stands there.
bool createEmptyFile(const QString& path, QString* error = nullptr);

// The system's message for a file that could not be read or written.
inline const QString kErrorInFileAccessing = QStringLiteral("Error in file accessing.");
// That message with the file and the reason ("<path>: <reason>") on the line below, when known.
QString errorInFileAccessing(const QString& error);

// Narrows an existing file to 0600 or folder to 0700 (links are left alone).
void makePrivate(const QString& path);
