// The line set-up pair: proves that a device can be opened and configured (8 data bits,
// even parity, RTS/CTS, 19200 baud, DTR pulsed), then releases it with the attributes it had.
#include "MFCSMS.h"

#include "PortHolders.h"

#include "core/Clock.h"
#include "core/Log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace {

void logFailure(const char* format, const QByteArray& path) {
    const int savedErrno = errno;
    Show_NSLog_Message(QString::asprintf(format, path.constData(), std::strerror(savedErrno), savedErrno));
}

// The four handshake lines the set-up raises together (mask 294).
constexpr int kHandshakeLines = TIOCM_DTR | TIOCM_RTS | TIOCM_CTS | TIOCM_DSR;
static_assert(kHandshakeLines == 294);

constexpr std::chrono::milliseconds kDrainPoll{5};

// Lets the line send what it holds before its attributes change, as tcdrain() would, but
// only for as long as a write may wait: output held back by flow control or a device that
// stopped taking bytes must not hold the close for ever (tcdrain() has no time-out).
void drainOutput(int fd) {
    const auto deadline = std::chrono::steady_clock::now() + Clock::scaled(AMSerialPort::kWriteWait);
    int queued = 0;
    while (::ioctl(fd, TIOCOUTQ, &queued) == 0 && queued > 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(kDrainPoll);
}

} // namespace

int MFCSMS::OpenSerialPort(const QString& bsdPath) {
    m_port_name = bsdPath;
    const QByteArray path = bsdPath.toUtf8();
    int fd = -1;
    const auto fail = [&]() {
        if (fd >= 0) {
            ::ioctl(fd, TIOCNXCL);
            ::close(fd);
        }
        return -1;
    };

    // The session's own port may hold this device exclusively: the set-up is ours too, so
    // that claim steps aside for it and is taken again when the set-up closes.
    const bool ours = m_port && m_port->isOpen() && m_port->bsdPath() == bsdPath;
    // Another process on the line: not even opened, since the set-up pulses DTR under it.
    if (!ours) {
        m_holders = PortHolders::find(bsdPath);
        if (m_holders.holder) {
            Show_NSLog_Message(QStringLiteral("Error opening serial port %1 - %2.\n")
                                   .arg(bsdPath, PortHolders::words(m_holders)));
            return -1;
        }
    }
    if (ours)
        ::ioctl(m_port->fileDescriptor(), TIOCNXCL);
    fd = ::open(path.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) {
        logFailure("Error opening serial port %s - %s(%d).\n", path);
        return fail();
    }
    if (::ioctl(fd, TIOCEXCL) != 0) {
        logFailure("Error setting TIOCEXCL on %s - %s(%d).\n", path);
        return fail();
    }
    // The descriptor stays non-blocking: nothing here reads or writes, and no call on it may
    // wait for a line that does not answer.
    termios original{};
    if (::tcgetattr(fd, &original) != 0) {
        logFailure("Error getting tty attributes %s - %s(%d).\n", path);
        return fail();
    }
    {
        std::lock_guard lock(m_closeLock);
        m_lineSetupOriginals[fd] = original;
    }

    termios options = original;
    ::cfmakeraw(&options);
    options.c_cc[VMIN] = 1;
    options.c_cc[VTIME] = 10;
    ::cfsetspeed(&options, B19200);
    // CS7 lies inside the CS8 that raw mode set: the line stays at 8 data bits, even parity.
    options.c_cflag |= CS7 | PARENB | CRTSCTS;
    // Linux has no request for an arbitrary speed: the attributes' 19200 baud is the speed.
    if (::tcsetattr(fd, TCSANOW, &options) != 0) {
        logFailure("Error setting tty attributes %s - %s(%d).\n", path);
        std::lock_guard lock(m_closeLock);
        m_lineSetupOriginals.erase(fd);
        return fail();
    }

    int dtr = TIOCM_DTR;
    if (::ioctl(fd, TIOCMBIS, &dtr) != 0)
        logFailure("Error asserting DTR %s - %s(%d).\n", path);
    if (::ioctl(fd, TIOCMBIC, &dtr) != 0)
        logFailure("Error clearing DTR %s - %s(%d).\n", path);
    int handshake = kHandshakeLines;
    if (::ioctl(fd, TIOCMSET, &handshake) != 0)
        logFailure("Error setting handshake lines %s - %s(%d).\n", path);
    if (::ioctl(fd, TIOCMGET, &handshake) != 0)
        logFailure("Error getting handshake lines %s - %s(%d).\n", path);
    // Linux has no receive-latency request either; the raw line already hands every byte over.
    return fd;
}

void MFCSMS::CloseSerialPort(int fileDescriptor) {
    if (fileDescriptor < 0)
        return;
    std::lock_guard lock(m_closeLock);
    drainOutput(fileDescriptor);
    if (const auto saved = m_lineSetupOriginals.find(fileDescriptor); saved != m_lineSetupOriginals.end()) {
        ::tcsetattr(fileDescriptor, TCSANOW, &saved->second);
        m_lineSetupOriginals.erase(saved);
    }
    // The exclusive claim would outlive this descriptor on Linux while the line stays open
    // elsewhere, and keep the session's own port from opening the device next.
    ::ioctl(fileDescriptor, TIOCNXCL);
    ::close(fileDescriptor);
    if (m_port && m_port->isOpen())
        ::ioctl(m_port->fileDescriptor(), TIOCEXCL); // the session's port claims its device again
}
