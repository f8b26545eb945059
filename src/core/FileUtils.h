#pragma once
// File helpers. Data files are rewritten atomically and appended with one write each,
// so neither a crash nor two writers at once leave a half-written line behind.
#include <QByteArray>
#include <QString>

#include <memory>

class QSaveFile;

// Creates path with every missing parent, each new folder private to the user (0700).
// An existing path is success. Failures are logged and give false.
bool Create_Folder(const QString& path);

// Removes the file when it can be removed; errors are ignored.
void Delete_File(const QString& path);

// Replaces the file's content: writes a temporary file beside it, flushes, renames.
// The result is private to the user (0600).
bool writeFileAtomically(const QString& path, const QByteArray& content);

// The same, written piece by piece: nothing reaches path until commit() succeeds. A failed
// write, or a writer dropped without commit(), leaves the old file exactly as it was.
class AtomicFileWriter {
public:
    explicit AtomicFileWriter(const QString& path);
    ~AtomicFileWriter();
    AtomicFileWriter(const AtomicFileWriter&) = delete;
    AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

    bool ok() const { return m_ok; }
    bool write(const QByteArray& bytes); // false from the first failure on
    bool commit();

private:
    std::unique_ptr<QSaveFile> m_file;
    bool m_ok = false;
};

// Appends bytes in a single write on a descriptor opened with O_APPEND.
bool appendToFile(const QString& path, const QByteArray& bytes);

// Creates an empty file private to the user (0600); fails when anything already stands there.
bool createEmptyFile(const QString& path);

// Narrows an existing file to 0600 or folder to 0700 (links are left alone).
void makePrivate(const QString& path);
