#include "PtyPair.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

PtyPair::PtyPair() {
    const int fd = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (fd < 0)
        return;
    if (::grantpt(fd) != 0 || ::unlockpt(fd) != 0) {
        ::close(fd);
        return;
    }
    m_slavePath = QString::fromUtf8(::ptsname(fd));
    m_master = fd;
}

PtyPair::~PtyPair() { unplug(); }

void PtyPair::write(const QByteArray& bytes) {
    qsizetype done = 0;
    while (m_master >= 0 && done < bytes.size()) {
        const ssize_t n =
            ::write(m_master, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (n <= 0)
            return;
        done += n;
    }
}

QByteArray PtyPair::drain(std::chrono::milliseconds wait) {
    QByteArray got;
    pollfd entry{m_master, POLLIN, 0};
    while (m_master >= 0 && ::poll(&entry, 1, static_cast<int>(wait.count())) > 0) {
        char chunk[4096];
        const ssize_t n = ::read(m_master, chunk, sizeof chunk);
        if (n <= 0)
            break;
        got.append(chunk, n);
    }
    return got;
}

void PtyPair::unplug() {
    if (m_master >= 0)
        ::close(m_master);
    m_master = -1;
}
