#include "SendingLock.h"

#include "DataFolder.h"
#include "FileUtils.h"
#include "NoFollowPaths.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>

namespace {
// flock() belongs to the open file, so a second open in this process would be refused by the
// first: the process holds the lock once, and every holder in it shares that.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): guards g_held
std::mutex g_mutex;
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one per process
std::weak_ptr<SendingLock> g_held; // this process's lock, while anything holds it

qint64 pidIn(int fd) {
    char text[32] = {};
    const ssize_t got = ::pread(fd, text, sizeof text - 1, 0);
    return got > 0 ? QByteArray(text, int(got)).trimmed().toLongLong() : 0;
}
} // namespace

SendingLock::~SendingLock() {
    // Closing the descriptor lets the lock go; the file stays for the next holder.
    ::close(m_fd);
}

QString SendingLock::path(const DataFolder& folder) {
    return folder.Bulk_SMS_Data_Folder_Path() + QStringLiteral("/Sending.lock");
}

std::shared_ptr<SendingLock> SendingLock::acquire(const DataFolder& folder, qint64* holder, QString* why) {
    std::lock_guard lock(g_mutex);
    if (auto held = g_held.lock())
        return held;
    Create_Folder(folder.Bulk_SMS_Data_Folder_Path());
    QString refused;
    const int fd = openNoFollow(path(folder), O_RDWR | O_CREAT, 0600, &refused);
    if (fd < 0) {
        if (holder)
            *holder = -1;
        if (why)
            *why = refused;
        return nullptr;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (holder)
            *holder = error == EWOULDBLOCK ? pidIn(fd) : -1;
        if (why && error != EWOULDBLOCK)
            *why = QStringLiteral("%1: %2").arg(path(folder), QString::fromLocal8Bit(std::strerror(error)));
        ::close(fd);
        return nullptr;
    }
    // Who holds it, for the process that is refused; a failure here only loses that name.
    const QByteArray pid = QByteArray::number(qint64(::getpid())) + '\n';
    if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, pid.constData(), size_t(pid.size()), 0) != pid.size()) {
        const int cleared = ::ftruncate(fd, 0); // no half-written name; an empty one names nobody
        Q_UNUSED(cleared);
    }
    auto acquired = std::shared_ptr<SendingLock>(new SendingLock(fd));
    g_held = acquired;
    return acquired;
}

QString SendingLock::refusal(qint64 holder, const QString& why) {
    if (holder < 0)
        return QStringLiteral("Sending cannot start: the data folder cannot be locked (%1).").arg(why);
    const QString who =
        holder > 0 ? QStringLiteral("process %1").arg(holder) : QStringLiteral("another process");
    return QStringLiteral("Another copy of the program (%1) is sending from this data folder. Wait until it "
                          "ends, or stop it, before sending.")
        .arg(who);
}
