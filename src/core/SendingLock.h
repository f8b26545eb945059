#pragma once
// Only one process sends from a data folder at a time: a run's record and the data files it
// appends to belong to one sender. The lock is flock() on "Sending.lock" in the data folder,
// so the kernel lets it go when its holder dies, however it dies; the file names the holder's
// process for the one who is refused. Within a process the lock is shared: the command line
// takes it before it looks at an unfinished run, and the run it starts keeps it.
#include <QString>

#include <memory>

class DataFolder;

class SendingLock {
public:
    ~SendingLock();
    SendingLock(const SendingLock&) = delete;
    SendingLock& operator=(const SendingLock&) = delete;

    // The lock, or nothing when another process holds it (`holder`: its pid, 0 when unknown)
    // or the lock file cannot be opened (`holder` -1, `why` the reason).
    static std::shared_ptr<SendingLock> acquire(const DataFolder& folder, qint64* holder = nullptr,
                                                QString* why = nullptr);

    static QString path(const DataFolder& folder); // "Sending.lock" in the data folder

    // What the operator is told when another process sends from this data folder.
    static QString refusal(qint64 holder, const QString& why = {});

private:
    explicit SendingLock(int fd) : m_fd(fd) {}
    int m_fd;
};
