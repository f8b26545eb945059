#include "PtyClient.h"

#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace sim {

PtyClient::PtyClient(const QString& path, bool raw) {
    m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_fd >= 0 && raw) {
        termios options{};
        ::tcgetattr(m_fd, &options);
        ::cfmakeraw(&options);
        ::tcsetattr(m_fd, TCSANOW, &options);
    }
}

PtyClient::~PtyClient() {
    if (m_fd >= 0)
        ::close(m_fd);
}

bool PtyClient::send(const QByteArray& bytes) {
    return m_fd >= 0 && ::write(m_fd, bytes.constData(), size_t(bytes.size())) == bytes.size();
}

QByteArray PtyClient::readUntil(const QByteArray& needle, std::chrono::milliseconds limit) {
    QByteArray got;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (m_fd >= 0 && !got.contains(needle)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            break;
        pollfd in = {m_fd, POLLIN, 0};
        if (::poll(&in, 1, int(left.count())) <= 0)
            break;
        char buffer[4096];
        const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
        if (n <= 0)
            break;
        got.append(buffer, n);
    }
    return got;
}

QByteArray PtyClient::command(const QByteArray& line) {
    if (!send(line))
        return {};
    QByteArray got;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < deadline) {
        got += readUntil("\n", std::chrono::milliseconds(200));
        if (got.endsWith("OK\r\n") || (got.contains("ERROR") && got.endsWith("\r\n")) || got.endsWith("> "))
            break;
    }
    return got;
}

QByteArray PtyClient::readFor(std::chrono::milliseconds quiet) {
    return readUntil(QByteArray("\xff\xfe never"), quiet);
}

} // namespace sim
