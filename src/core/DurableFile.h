#pragma once
// The one way this program replaces a file. The new content goes to a temporary file beside
// the target (a unique name, created 0600, never through a symbolic link), every write is
// checked, the data is flushed to the disk, one rename puts it in place, and the folder is
// flushed so that the rename survives a crash too. In the data tree nothing is reached through
// a symbolic link (NoFollowPaths.h) and a link in the target's place is refused, not replaced;
// elsewhere such a link is replaced. Until the rename the old file is untouched; after a
// failure the temporary file is gone, the old file is exactly as it was, and the reason reads
// "<target>: <the system's error>", e.g. "/data/SentItem.OSTREL: File too large".
#include <QByteArray>
#include <QString>

#include <functional>

class DurableFile {
public:
    // Creates the temporary file; a failure there shows in ok() and errorText().
    explicit DurableFile(const QString& path);
    // Dropped without commit() (or after a failure): the temporary file is removed.
    ~DurableFile();
    DurableFile(const DurableFile&) = delete;
    DurableFile& operator=(const DurableFile&) = delete;

    bool ok() const { return m_error.isEmpty(); }
    // Writes all of the bytes; false from the first failure on.
    bool write(const char* data, qsizetype size);
    bool write(const QByteArray& bytes) { return write(bytes.constData(), bytes.size()); }
    // Flushes, closes and renames over the target, then flushes the folder. False when any
    // step failed; a failure of the last step leaves the new content in place, not yet safe.
    bool commit();
    // The same, with errorText() copied to error (when not null).
    bool commit(QString* error) {
        const bool committed = commit();
        if (error)
            *error = m_error;
        return committed;
    }

    const QString& path() const { return m_path; }
    // "<target>: <reason>" after a failure, "" while everything worked.
    const QString& errorText() const { return m_error; }

private:
    friend bool replaceFileDurably(const QString&, const std::function<bool(const QString&, QString&)>&,
                                   QString*);
    bool fail(const QString& reason);   // "<target>: <reason>"
    bool failWith(const QString& text); // the whole text
    bool failWithErrno();
    void discard();

    QString m_path;
    int m_folder = -1;      // the target's folder, opened once: every step happens in it
    QByteArray m_name;      // the target's name in it
    QByteArray m_temporary; // the temporary file's name in it, empty once renamed or removed
    int m_fd = -1;
    QString m_error;
};

// For producers that must write to a path themselves (minizip makes a zip by name):
// produce(temporaryPath, reason) writes the whole new content at temporaryPath, and returns
// false, with the reason in words when it knows one, when it could not. The file is then
// flushed, renamed over path and the folder flushed, as above. error gets the reason.
bool replaceFileDurably(const QString& path,
                        const std::function<bool(const QString& temporaryPath, QString& reason)>& produce,
                        QString* error = nullptr);
