#include "AMSerialPort.h"

#include "core/Clock.h"
#include "core/Log.h"

#include <QStringDecoder>
#include <QStringEncoder>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using SteadyClock = std::chrono::steady_clock;

std::chrono::microseconds realDuration(double prescribedSeconds) {
    if (!(prescribedSeconds > 0))
        return std::chrono::microseconds(0);
    return Clock::scaled(Clock::Duration(std::llround(prescribedSeconds * 1000.0)));
}

// Waits until the descriptor is ready for `events`: 1 ready, 0 time-out, -1 failure (errno set).
int waitFor(int fd, short events, std::chrono::microseconds timeout) {
    pollfd entry{fd, events, 0};
    const auto deadline = SteadyClock::now() + timeout;
    while (true) {
        const auto left =
            std::max<SteadyClock::duration>(deadline - SteadyClock::now(), SteadyClock::duration(0));
        const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(left).count();
        timespec ts{static_cast<time_t>(micros / 1000000), static_cast<long>((micros % 1000000) * 1000)};
        const int ready = ::ppoll(&entry, 1, &ts, nullptr);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready > 0)
            return 1; // ready, hung up or failed: the read or write that follows tells which
        return ready;
    }
}

int waitReadable(int fd, std::chrono::microseconds timeout) { return waitFor(fd, POLLIN, timeout); }

// One read of what the line holds: the byte count; 0 when nothing is there, because another
// reader of the device took what poll announced; -1 when the line failed (errno set, 0 at
// the end of the line).
ssize_t readWaiting(int fd, char* into, size_t room) {
    while (true) {
        const ssize_t got = ::read(fd, into, room);
        if (got > 0)
            return got;
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return 0;
        if (got == 0)
            errno = 0;
        return -1;
    }
}

} // namespace

AMSerialPort::AMSerialPort(const QString& path, const QString& name, const QString& type)
    : m_bsdPath(path), m_serviceName(name), m_serviceType(type) {}

AMSerialPort::~AMSerialPort() { close(); }

QString AMSerialPort::description() const {
    return QStringLiteral("AMSerialPort %1: name: %2, path: %3, type: %4, fileHandle: %5, fileDescriptor: %6")
        .arg(QStringLiteral("0x%1").arg(reinterpret_cast<quintptr>(this), 0, 16), m_serviceName, m_bsdPath,
             m_serviceType, isOpen() ? QStringLiteral("open") : QStringLiteral("(null)"))
        .arg(fileDescriptor());
}

bool AMSerialPort::open() { return openWithMode(false); }

bool AMSerialPort::openExclusively() { return openWithMode(true); }

bool AMSerialPort::openWithMode(bool exclusive) {
    std::lock_guard lock(m_closeLock);
    if (isOpen())
        return true;
    // Before any open: opening a tty can already disturb its holder (DTR, a hang-up on close).
    const PortHolders::Roots roots = PortHolders::Roots::system();
    m_holders = PortHolders::find(m_bsdPath, roots);
    m_openError = 0;
    const auto refuse = [&] {
        Show_NSLog_Message(
            QStringLiteral("Port ( %1 ) not opened: %2").arg(m_bsdPath, PortHolders::words(m_holders)));
        m_openError = EBUSY;
        return false;
    };
    if (m_holders.holder)
        return refuse();
    auto portLock = std::make_unique<PortLock>(m_bsdPath, roots);
    if (portLock->held()) {
        m_holders.holder = portLock->owner();
        return refuse();
    }
    const QByteArray path = m_bsdPath.toUtf8();
    // Non-blocking for good: a line without carrier cannot hold the open, and a read cannot
    // wait for ever on bytes that another process holding the device took first. Every read
    // and write waits in poll() up to its own deadline instead.
    const int fd = ::open(path.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) {
        m_openError = errno;
        if (m_openError != EBUSY)
            m_holders.suspect.reset(); // refused for another reason than a holder's claim
        return false;
    }
    termios original{};
    if (::tcgetattr(fd, &original) != 0) {
        ::close(fd);
        return false;
    }
    if (exclusive && ::ioctl(fd, TIOCEXCL) != 0) {
        ::close(fd);
        return false;
    }
    // A tty opened by a new process starts canonical with echo: the modem's answers would be
    // echoed back to it and a "> " prompt held until a line end. Raw mode, speed unchanged.
    termios raw = original;
    ::cfmakeraw(&raw);
    raw.c_cflag |= CLOCAL | CREAD;
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    if (::tcsetattr(fd, TCSANOW, &raw) != 0) {
        ::close(fd);
        return false;
    }
    m_originalOptions = original;
    m_options = raw;
    m_lock = std::move(portLock);
    m_fileDescriptor.store(fd);
    return true;
}

void AMSerialPort::close() {
    std::lock_guard lock(m_closeLock);
    const int fd = m_fileDescriptor.load();
    if (fd < 0)
        return;
    ::tcsetattr(fd, TCSANOW, &m_originalOptions);
    ::ioctl(fd, TIOCNXCL);
    ::close(fd);
    m_fileDescriptor.store(-1);
    m_lock.reset();
}

void AMSerialPort::fillError(SerialError* error, const SerialError& value) const {
    if (error)
        *error = value;
}

bool AMSerialPort::writeString(const QString& text, QStringConverter::Encoding encoding, SerialError* error) {
    QStringEncoder encoder(encoding);
    const QByteArray data = encoder.encode(text);
    return writeData(data, error);
}

bool AMSerialPort::writeBytes(const char* bytes, qint64 length, SerialError* error) {
    if (!bytes || length <= 0)
        return writeData(QByteArray(), error);
    return writeData(QByteArray(bytes, length), error);
}

bool AMSerialPort::writeData(const QByteArray& data, SerialError* error) {
    std::lock_guard lock(m_writeLock);
    SerialError result;
    if (data.isEmpty()) {
        result.code = kNothingToWrite;
        fillError(error, result);
        return false;
    }
    const int fd = fileDescriptor();
    if (fd < 0) {
        result.code = kReadFailed;
        result.posixError = EBADF;
        fillError(error, result);
        return false;
    }
    // The line takes what fits; the rest goes as room frees, so that a long PDU leaves whole.
    // The deadline starts again with every byte taken: only a line that stopped taking
    // bytes fails the write.
    const auto stall = Clock::scaled(kWriteWait);
    auto deadline = SteadyClock::now() + stall;
    qint64 written = 0;
    while (written < data.size()) {
        const ssize_t n = ::write(fd, data.constData() + written, static_cast<size_t>(data.size() - written));
        if (n > 0) {
            written += n;
            deadline = SteadyClock::now() + stall;
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
            result.posixError = errno;
            break;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(deadline - SteadyClock::now());
        const int ready = left.count() > 0 ? waitFor(fd, POLLOUT, left) : 0;
        if (ready < 0) {
            result.posixError = errno;
            break;
        }
        if (ready == 0) {
            result.posixError = ETIMEDOUT;
            break;
        }
    }
    if (written == 0) {
        result.code = kReadFailed;
    } else {
        result.bytesWritten = written;
        if (written < data.size())
            result.code = kShortWrite;
    }
    fillError(error, result);
    return result.code == 0;
}

std::optional<QString> AMSerialPort::readStringUsingEncoding(QStringConverter::Encoding encoding,
                                                             SerialError* error) {
    const std::optional<QByteArray> data = readAndReturnError(error);
    if (!data)
        return std::nullopt;
    QStringDecoder decoder(encoding, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(*data);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

std::optional<QByteArray> AMSerialPort::readAndReturnError(SerialError* error) {
    return readAndStopAfterBytes(false, 0, false, 0, error);
}

std::optional<QByteArray> AMSerialPort::readBytes(qint64 count, SerialError* error) {
    return readAndStopAfterBytes(true, count, false, 0, error);
}

std::optional<QByteArray> AMSerialPort::readUpToChar(char stopChar, SerialError* error) {
    return readAndStopAfterBytes(false, 0, true, stopChar, error);
}

std::optional<QByteArray> AMSerialPort::readBytesUpToChar(qint64 count, char stopChar, SerialError* error) {
    return readAndStopAfterBytes(true, count, true, stopChar, error);
}

std::optional<QByteArray> AMSerialPort::readAndStopAfterBytes(bool stopAfterBytes, qint64 bytes,
                                                              bool stopAtChar, char stopChar,
                                                              SerialError* error) {
    std::lock_guard lock(m_readLock);
    const auto timeout = realDuration(readTimeout());
    const auto start = SteadyClock::now();
    auto remaining = std::chrono::duration_cast<SteadyClock::duration>(timeout);
    const qint64 limit =
        stopAfterBytes ? std::min<qint64>(std::max<qint64>(bytes, 0), kBufferSize) : kBufferSize;
    qint64 held = 0;
    SerialError result;
    const int fd = fileDescriptor();

    while (true) {
        if (remaining <= SteadyClock::duration::zero()) {
            result.code = kReadTimeout;
            break;
        }
        if (fd < 0) {
            result.code = kReadFailed;
            result.posixError = EBADF;
            break;
        }
        // Each wait is a whole time-out, so a read ends once the line has been quiet that long.
        const int ready = waitReadable(fd, timeout);
        if (ready < 0) {
            result.code = kReadFailed;
            result.posixError = errno;
            break;
        }
        if (ready == 0) {
            result.code = kReadTimeout;
            break;
        }
        const qint64 room = limit - held;
        if (room <= 0) {
            result.code = kReadFailed;
            break;
        }
        const ssize_t got = readWaiting(fd, m_buffer.data() + held, static_cast<size_t>(room));
        if (got < 0) {
            result.code = kReadFailed;
            result.posixError = errno;
            break;
        }
        remaining = timeout - (SteadyClock::now() - start);
        if (got == 0)
            continue; // taken by another reader of the device: wait on, within the deadline
        held += got;
        if (stopAfterBytes && held >= bytes) {
            result.endCode = held == bytes ? kEndByteCountReached : kEndByteCountPassed;
            break;
        }
        if (stopAtChar && m_buffer[static_cast<size_t>(held - 1)] == stopChar) {
            result.endCode = kEndStopChar;
            break;
        }
        if (held >= kBufferSize) {
            result.code = kBufferFull;
            break;
        }
    }

    result.bytesRead = held;
    if (result.code != 0)
        result.endCode.reset();
    fillError(error, result);
    if (held == 0 || result.code == kReadFailed)
        return std::nullopt;
    return QByteArray(m_buffer.data(), held);
}

QByteArray AMSerialPort::readAvailable(std::chrono::microseconds wait, SerialError* error) {
    std::lock_guard lock(m_readLock);
    SerialError result;
    const int fd = fileDescriptor();
    QByteArray data;
    const auto deadline = SteadyClock::now() + wait;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
            std::max<SteadyClock::duration>(deadline - SteadyClock::now(), SteadyClock::duration(0)));
        const int ready = fd < 0 ? -1 : waitReadable(fd, left);
        if (ready < 0) {
            result.code = kReadFailed;
            result.posixError = fd < 0 ? EBADF : errno;
            break;
        }
        if (ready == 0) {
            result.code = kReadTimeout;
            break;
        }
        const ssize_t got = readWaiting(fd, m_buffer.data(), m_buffer.size());
        if (got < 0) {
            result.code = kReadFailed;
            result.posixError = errno;
            break;
        }
        if (got > 0) {
            data = QByteArray(m_buffer.data(), got);
            break;
        }
        // Another reader of the device took the bytes: wait on for the rest of the time.
        if (SteadyClock::now() >= deadline) {
            result.code = kReadTimeout;
            break;
        }
    }
    result.bytesRead = data.size();
    fillError(error, result);
    return data;
}
