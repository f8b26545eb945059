#pragma once
// Several senders (windows, commands, workers) may share a data folder: the campaign store keeps
// them apart. What the store does not hold are the data files a run appends to and a window
// rewrites (sent items, templates, exclusion lists): a rewrite reads the file, and a line
// appended before its rename would be lost. So each append and each read-and-rewrite holds
// this lock, flock() on "Data.lock" in the data folder, for as long as that takes and no
// longer; the kernel lets it go when its holder dies. Never take it twice in one thread.
#include <QString>

class DataFolder;

class DataFileLock {
public:
    // Waits (a few seconds at most) for the lock.
    explicit DataFileLock(const DataFolder& folder);
    ~DataFileLock();
    DataFileLock(const DataFileLock&) = delete;
    DataFileLock& operator=(const DataFileLock&) = delete;

    bool held() const { return m_fd >= 0; }
    // Why it is not held: "<path>: <reason>".
    const QString& error() const { return m_error; }

    static QString path(const DataFolder& folder); // "Data.lock" in the data folder

private:
    int m_fd = -1;
    QString m_error;
};

// A window's rewrite of a data file it loaded (`loaded`, the bytes it read or last wrote) as
// `rewritten`, under the lock: the lines others appended since (a run's sent items, its new
// templates) are kept after it. False, with "<path>: <reason>" in error, when the file could not
// be locked, read or written; it then stays as it was.
bool rewriteDataFile(const DataFolder& folder, const QString& path, const QByteArray& loaded,
                     const QByteArray& rewritten, QString* error = nullptr);
