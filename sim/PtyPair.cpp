#include "PtyPair.h"

#include "core/Log.h"

#include <QFile>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace sim {
namespace {
QString errnoText() { return QString::fromLocal8Bit(std::strerror(errno)); }
} // namespace

bool PtyPair::open() {
    if (isOpen())
        return true;
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    char name[128] = {};
    if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0 ||
        ::ptsname_r(m_master, name, sizeof name) != 0) {
        Show_NSLog_Message(QStringLiteral("virtual modem: no pseudo-terminal: %1").arg(errnoText()));
        close();
        return false;
    }
    m_path = QString::fromLocal8Bit(name);
    // Opened before the watch starts, so the modem's own descriptor is never counted.
    m_keeper = ::open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    m_watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_keeper < 0 || m_watch < 0 ||
        ::inotify_add_watch(m_watch, name, IN_OPEN | IN_CLOSE_WRITE | IN_CLOSE_NOWRITE) < 0) {
        Show_NSLog_Message(QStringLiteral("virtual modem: cannot watch %1: %2").arg(m_path, errnoText()));
        close();
        return false;
    }
    return true;
}

void PtyPair::close() {
    for (int* fd : {&m_watch, &m_keeper, &m_master}) {
        if (*fd >= 0)
            ::close(*fd);
        *fd = -1;
    }
    m_clients = 0;
}

int PtyPair::updateClients() {
    alignas(inotify_event) char buffer[4096];
    bool changed = false;
    while (m_watch >= 0 && ::read(m_watch, buffer, sizeof buffer) > 0)
        changed = true;
    // The notifications only say that something opened or closed the node: identical
    // ones are merged, so the holders are counted afresh rather than added up.
    if (changed) {
        m_clients = countHolders();
        if (m_clients == 0)
            release();
    }
    return m_clients;
}

int PtyPair::countHolders() const {
    const QByteArray target = QFile::encodeName(m_path);
    const pid_t self = ::getpid();
    int holders = 0;
    DIR* processes = ::opendir("/proc");
    if (!processes)
        return 1; // cannot tell: assume someone is there rather than drop their answers
    while (const dirent* process = ::readdir(processes)) {
        char* end = nullptr;
        const long pid = std::strtol(process->d_name, &end, 10);
        if (*end != '\0' || pid <= 0)
            continue;
        const QByteArray fdFolder = "/proc/" + QByteArray(process->d_name) + "/fd";
        DIR* descriptors = ::opendir(fdFolder.constData());
        if (!descriptors)
            continue; // gone, or another user's: that user could not open our terminal anyway
        while (const dirent* fd = ::readdir(descriptors)) {
            if (fd->d_name[0] == '.')
                continue;
            if (pid == self && std::atoi(fd->d_name) == m_keeper)
                continue;
            char link[256];
            const QByteArray entry = fdFolder + '/' + fd->d_name;
            const ssize_t length = ::readlink(entry.constData(), link, sizeof link);
            if (length == target.size() && std::memcmp(link, target.constData(), size_t(length)) == 0)
                ++holders;
        }
        ::closedir(descriptors);
    }
    ::closedir(processes);
    return holders;
}

void PtyPair::release() {
    if (m_keeper < 0)
        return;
    ::ioctl(m_keeper, TIOCNXCL);
    discardUnread();
}

int PtyPair::unreadByClient() const {
    if (m_keeper < 0)
        return 0;
    // Bytes just written to the master wait in the kernel's flip buffer, which the count
    // below leaves out; polling the slave pushes them into its read queue first.
    pollfd pushed = {m_keeper, POLLIN, 0};
    ::poll(&pushed, 1, 0);
    int count = 0;
    if (::ioctl(m_keeper, FIONREAD, &count) != 0)
        return 0;
    return count;
}

void PtyPair::discardUnread() {
    if (m_keeper >= 0)
        ::tcflush(m_keeper, TCIFLUSH);
}

void PtyPair::write(const QByteArray& bytes) {
    constexpr int kFullLineWaitMs = 1000;
    qsizetype sent = 0;
    while (m_master >= 0 && sent < bytes.size()) {
        const ssize_t n = ::write(m_master, bytes.constData() + sent, size_t(bytes.size() - sent));
        if (n > 0) {
            sent += n;
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            return;
        pollfd out{m_master, POLLOUT, 0};
        if (::poll(&out, 1, kFullLineWaitMs) <= 0)
            return;
    }
}

QByteArray PtyPair::drain(std::chrono::milliseconds wait) {
    QByteArray got;
    pollfd in{m_master, POLLIN, 0};
    while (m_master >= 0 && ::poll(&in, 1, int(wait.count())) > 0 && (in.revents & POLLIN)) {
        char chunk[4096];
        const ssize_t n = ::read(m_master, chunk, sizeof chunk);
        if (n <= 0)
            break;
        got.append(chunk, n);
    }
    return got;
}

} // namespace sim
