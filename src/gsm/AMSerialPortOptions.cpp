// Line options of AMSerialPort: the working copy of the attributes, applied by commitChanges,
// and the modem control lines. The modem stack itself changes none of them.
#include "AMSerialPort.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

struct BaudEntry {
    long baud;
    speed_t code;
};

// clang-format off
constexpr BaudEntry kBaudRates[] = {
    {300, B300},       {1200, B1200},     {2400, B2400},     {4800, B4800},     {9600, B9600},
    {19200, B19200},   {38400, B38400},   {57600, B57600},   {115200, B115200}, {230400, B230400},
    {460800, B460800}, {921600, B921600},
};
// clang-format on

void setFlag(tcflag_t& flags, tcflag_t bit, bool on) {
    if (on)
        flags |= bit;
    else
        flags &= ~bit;
}

} // namespace

long AMSerialPort::speed() const {
    const speed_t code = ::cfgetospeed(&m_options);
    for (const BaudEntry& entry : kBaudRates)
        if (entry.code == code)
            return entry.baud;
    return 0;
}

bool AMSerialPort::setSpeed(long baud) {
    for (const BaudEntry& entry : kBaudRates)
        if (entry.baud == baud) {
            if (::cfsetspeed(&m_options, entry.code) == 0) {
                m_gotError = false;
                return true;
            }
            break;
        }
    // Linux offers no arbitrary rates through termios: an unlisted rate is refused.
    m_lastError = errno != 0 ? errno : EINVAL;
    m_gotError = true;
    return false;
}

int AMSerialPort::dataBits() const {
    switch (m_options.c_cflag & CSIZE) {
    case CS5: return 5;
    case CS6: return 6;
    case CS7: return 7;
    default: return 8;
    }
}

void AMSerialPort::setDataBits(int bits) {
    const tcflag_t sizes[] = {CS5, CS6, CS7, CS8};
    if (bits < 5 || bits > 8)
        return;
    m_options.c_cflag = (m_options.c_cflag & ~CSIZE) | sizes[bits - 5];
}

int AMSerialPort::parity() const {
    if (!(m_options.c_cflag & PARENB))
        return 0;
    return (m_options.c_cflag & PARODD) ? 1 : 2;
}

void AMSerialPort::setParity(int parity) {
    setFlag(m_options.c_cflag, PARENB, parity == 1 || parity == 2);
    setFlag(m_options.c_cflag, PARODD, parity == 1);
}

int AMSerialPort::stopBits() const { return (m_options.c_cflag & CSTOPB) ? 2 : 1; }

void AMSerialPort::setStopBits(int bits) { setFlag(m_options.c_cflag, CSTOPB, bits == 2); }

bool AMSerialPort::echoEnabled() const { return m_options.c_lflag & ECHO; }

void AMSerialPort::setEchoEnabled(bool on) { setFlag(m_options.c_lflag, ECHO, on); }

// Linux couples RTS input and CTS output flow control in one flag.
bool AMSerialPort::RTSInputFlowControl() const { return m_options.c_cflag & CRTSCTS; }

void AMSerialPort::setRTSInputFlowControl(bool on) { setFlag(m_options.c_cflag, CRTSCTS, on); }

bool AMSerialPort::CTSOutputFlowControl() const { return m_options.c_cflag & CRTSCTS; }

void AMSerialPort::setCTSOutputFlowControl(bool on) { setFlag(m_options.c_cflag, CRTSCTS, on); }

bool AMSerialPort::hangupOnClose() const { return m_options.c_cflag & HUPCL; }

void AMSerialPort::setHangupOnClose(bool on) { setFlag(m_options.c_cflag, HUPCL, on); }

bool AMSerialPort::localMode() const { return m_options.c_cflag & CLOCAL; }

void AMSerialPort::setLocalMode(bool on) { setFlag(m_options.c_cflag, CLOCAL, on); }

bool AMSerialPort::canonicalMode() const { return m_options.c_lflag & ICANON; }

void AMSerialPort::setCanonicalMode(bool on) { setFlag(m_options.c_lflag, ICANON, on); }

char AMSerialPort::endOfLineCharacter() const { return static_cast<char>(m_options.c_cc[VEOL]); }

void AMSerialPort::setEndOfLineCharacter(char c) { m_options.c_cc[VEOL] = static_cast<cc_t>(c); }

bool AMSerialPort::commitChanges() {
    const int fd = fileDescriptor();
    if (fd < 0 || ::tcsetattr(fd, TCSANOW, &m_options) != 0) {
        m_lastError = fd < 0 ? EBADF : errno;
        m_gotError = true;
        return false;
    }
    return true;
}

bool AMSerialPort::setDTR() {
    int bits = TIOCM_DTR;
    return isOpen() && ::ioctl(fileDescriptor(), TIOCMBIS, &bits) == 0;
}

bool AMSerialPort::clearDTR() {
    int bits = TIOCM_DTR;
    return isOpen() && ::ioctl(fileDescriptor(), TIOCMBIC, &bits) == 0;
}

bool AMSerialPort::sendBreak() { return isOpen() && ::tcsendbreak(fileDescriptor(), 0) == 0; }

bool AMSerialPort::drainInput() { return isOpen() && ::tcdrain(fileDescriptor()) == 0; }

bool AMSerialPort::flushInput(bool input, bool output) {
    if (!isOpen() || (!input && !output))
        return false;
    const int queue = input && output ? TCIOFLUSH : (input ? TCIFLUSH : TCOFLUSH);
    return ::tcflush(fileDescriptor(), queue) == 0;
}
