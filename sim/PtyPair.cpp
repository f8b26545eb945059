#include "PtyPair.h"

#include "core/Log.h"

#include <QFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
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
    if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0
        || ::ptsname_r(m_master, name, sizeof name) != 0) {
        Show_NSLog_Message(QStringLiteral("virtual modem: no pseudo-terminal: %1").arg(errnoText()));
        close();
        return false;
    }
    m_path = QString::fromLocal8Bit(name);
    // Opened before the watch starts, so the modem's own descriptor is never counted.
    m_keeper = ::open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    m_watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_keeper < 0 || m_watch < 0
        || ::inotify_add_watch(m_watch, name, IN_OPEN | IN_CLOSE_WRITE | IN_CLOSE_NOWRITE) < 0) {
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
    while (m_watch >= 0) {
        const ssize_t n = ::read(m_watch, buffer, sizeof buffer);
        if (n <= 0)
            break;
        for (ssize_t offset = 0; offset < n;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
            if (event->mask & IN_OPEN)
                ++m_clients;
            if (event->mask & (IN_CLOSE_WRITE | IN_CLOSE_NOWRITE))
                m_clients = std::max(0, m_clients - 1);
            if (event->mask & IN_Q_OVERFLOW)
                m_clients = 0; // lost count: assume the line is free rather than stuck busy
            offset += ssize_t(sizeof(inotify_event)) + event->len;
        }
    }
    if (m_clients == 0)
        release();
    return m_clients;
}

void PtyPair::release() {
    if (m_keeper < 0)
        return;
    ::ioctl(m_keeper, TIOCNXCL);
    discardUnread();
}

int PtyPair::unreadByClient() const {
    int count = 0;
    if (m_keeper < 0 || ::ioctl(m_keeper, FIONREAD, &count) != 0)
        return 0;
    return count;
}

void PtyPair::discardUnread() {
    if (m_keeper >= 0)
        ::tcflush(m_keeper, TCIFLUSH);
}

} // namespace sim
