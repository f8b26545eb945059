#pragma once
// File helpers. Data files are rewritten through the durable writer and appended with one
// write each, so neither a crash, a full disk nor two writers at once leave a half-written
// line behind.
#include "DurableFile.h"

#include <QByteArray>
#include <QString>

#include <utility>

// Creates path with every missing parent, each new folder private to the user (0700).
// An existing path is success. Failures are logged and give false.
bool Create_Folder(const QString& path);

// Removes the file when it can be removed (a symbolic link itself, never what it points to;
// nothing beneath a link in the data tree); errors are logged only.
void Delete_File(const QString& path);

// Reads the whole of a regular file without following symbolic links (NoFollowPaths.h): the
// data files are read this way. A missing file reads as empty. On failure (a link, a folder
// or device in its place, a read error) out is empty and error gets "<path>: <reason>".
bool readPrivateFile(const QString& path, QByteArray* out, QString* error = nullptr);

// The same, for readers written as they would be against a QFile: open() reads it whole.
class PrivateFile {
public:
    explicit PrivateFile(QString path) : m_path(std::move(path)) {}
    bool open(QString* error = nullptr) { return readPrivateFile(m_path, &m_content, error); }
    const QByteArray& readAll() const { return m_content; }

private:
    QString m_path;
    QByteArray m_content;
};

// Replaces the file's content through the durable writer (DurableFile.h): the old file stays
// exactly as it was unless all of the new content reached the disk. The result is private to
// the user (0600). error gets "<path>: <reason>" on failure, "" on success.
bool writeFileAtomically(const QString& path, const QByteArray& content, QString* error = nullptr);

// The same, written piece by piece: nothing reaches path until commit() succeeds. A failed
// write, or a writer dropped without commit(), leaves the old file exactly as it was;
// errorText() says why.
using AtomicFileWriter = DurableFile;

// Renames a file, never over one that is there; in the data tree neither a symbolic link nor
// anything reached through one. error gets "<from>: <reason>" on failure.
bool renameFile(const QString& from, const QString& to, QString* error = nullptr);

// Appends bytes to an existing file (never through a symbolic link, see NoFollowPaths.h) in a
// single write under O_APPEND, so lines of parallel writers never mix. A write the disk takes only in part is
// continued; when the rest is refused, the part already written is taken back (if nothing
// was appended after it) and the result is false with error "<path>: <reason>".
bool appendToFile(const QString& path, const QByteArray& bytes, QString* error = nullptr);

// Creates an empty file private to the user (0600); fails when anything already stands there
// (a symbolic link included).
bool createEmptyFile(const QString& path, QString* error = nullptr);

// The system's message for a file that could not be read or written.
inline const QString kErrorInFileAccessing = QStringLiteral("Error in file accessing.");
// That message with the file and the reason ("<path>: <reason>") on the line below, when known.
QString errorInFileAccessing(const QString& error);

// Makes sure a folder or file private to the user stands at path: a missing one is created
// (a file empty), one that is there narrowed (makePrivate). A symbolic link in its place, or
// above it in the data tree, is refused. Failures are logged and give false.
enum class PrivateItem { Folder, EmptyFile };
bool ensurePrivateItem(const QString& path, PrivateItem kind);

// Narrows an existing file to 0600 or folder to 0700; a symbolic link is left alone, and
// nothing is reached through one.
void makePrivate(const QString& path);
