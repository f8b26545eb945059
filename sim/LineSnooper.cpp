#include "LineSnooper.h"

#include <QFile>

#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace sim {

LineSnooper::LineSnooper(const QString& path, std::function<bool()> begin)
    : m_fd(::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
    if (m_fd >= 0)
        m_thread = std::jthread([this, begin = std::move(begin)](std::stop_token stop) { run(stop, begin); });
}

LineSnooper::~LineSnooper() {
    m_thread = {}; // asks it to stop and joins
    if (m_fd >= 0)
        ::close(m_fd);
}

void LineSnooper::run(const std::stop_token& stop, const std::function<bool()>& begin) {
    while (begin && !begin() && !stop.stop_requested())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    char buffer[256];
    while (!stop.stop_requested()) {
        pollfd entry{m_fd, POLLIN, 0};
        if (::poll(&entry, 1, 5) <= 0)
            continue;
        const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
        if (got > 0)
            m_taken += got;
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            return; // the line is gone
    }
}

} // namespace sim
