#include "DataFileLock.h"

#include "DataFolder.h"
#include "FileUtils.h"
#include "NoFollowPaths.h"

#include <QHash>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace {
// A holder keeps the lock for one read and rewrite of a file: one still holding it after this
// is stuck, and the write is refused rather than the device thread kept waiting.
constexpr std::chrono::seconds kLongestWait{10};
} // namespace

QString DataFileLock::path(const DataFolder& folder) {
    return folder.Bulk_SMS_Data_Folder_Path() + QStringLiteral("/Data.lock");
}

DataFileLock::DataFileLock(const DataFolder& folder) {
    Create_Folder(folder.Bulk_SMS_Data_Folder_Path());
    const QString file = path(folder);
    const int fd = openNoFollow(file, O_RDWR | O_CREAT | O_CLOEXEC, 0600, &m_error);
    if (fd < 0)
        return;
    // Each lock is an open file of its own, so two threads of one process exclude each other too.
    const auto giveUp = std::chrono::steady_clock::now() + kLongestWait;
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int code = errno;
        if ((code != EWOULDBLOCK && code != EINTR) || std::chrono::steady_clock::now() > giveUp) {
            m_error = QStringLiteral("%1: %2").arg(
                file, code == EWOULDBLOCK ? QStringLiteral("held by another process for too long")
                                          : QString::fromLocal8Bit(std::strerror(code)));
            ::close(fd);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    m_fd = fd;
}

DataFileLock::~DataFileLock() {
    if (m_fd >= 0)
        ::close(m_fd); // lets the lock go; the file stays for the next holder
}

namespace {
// The lines of `now` that `before` does not hold (as many times as they appear), in order.
QByteArray linesAddedSince(const QByteArray& before, const QByteArray& now) {
    QHash<QByteArray, int> had;
    for (const QByteArray& line : before.split('\n'))
        if (!line.isEmpty())
            ++had[line];
    QByteArray added;
    for (const QByteArray& line : now.split('\n')) {
        if (line.isEmpty())
            continue;
        if (int& count = had[line]; count > 0)
            --count;
        else
            added += line + '\n';
    }
    return added;
}
} // namespace

bool rewriteDataFile(const DataFolder& folder, const QString& path, const QByteArray& loaded,
                     const QByteArray& rewritten, QString* error) {
    const DataFileLock lock(folder);
    if (!lock.held()) {
        if (error)
            *error = lock.error();
        return false;
    }
    QByteArray now;
    if (!readPrivateFile(path, &now, error))
        return false;
    return writeFileAtomically(path, rewritten + linesAddedSince(loaded, now), error);
}
