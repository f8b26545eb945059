#include "QStringPrinting.h"

#include "core/Clock.h"
#include "core/Log.h"
#include "gsm/AMSerialPort.h"
#include "gsm/MFCSMS.h"
#include "sim/LineSnooper.h"
#include "sim/PtyPair.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

// Prescribed seconds that last long enough in real time, under the tests' shrunken clock,
// for a pseudo-terminal to pass data across: reads end only after this much quiet.
constexpr double kQuietSeconds = 300.0;

bool sameAttributes(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && std::memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0 &&
           cfgetispeed(&a) == cfgetispeed(&b) && cfgetospeed(&a) == cfgetospeed(&b);
}

class SerialPortTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(pty.open());
        // A second slave descriptor lets the test read the line's attributes independently.
        observer = ::open(pty.devicePath().toUtf8().constData(), O_RDWR | O_NOCTTY);
        ASSERT_GE(observer, 0);
        ASSERT_EQ(::tcgetattr(observer, &before), 0);
    }
    void TearDown() override {
        if (observer >= 0)
            ::close(observer);
    }
    termios currentAttributes() const {
        termios now{};
        ::tcgetattr(observer, &now);
        return now;
    }
    std::unique_ptr<AMSerialPort> openPort(double timeout = kQuietSeconds) {
        auto port = std::make_unique<AMSerialPort>(pty.devicePath(), pty.devicePath(), "IOModemSerialStream");
        EXPECT_TRUE(port->open());
        port->setReadTimeout(timeout);
        return port;
    }

    sim::PtyPair pty;
    int observer = -1;
    termios before{};
};

TEST_F(SerialPortTest, ReadsEndByTheirRules) {
    const QByteArray full(5000, 'x');
    const struct {
        const char* name;
        QByteArray modemSends;
        qint64 byteCount; // 0: no byte-count condition
        char stopChar;    // 0: no stop character
        QByteArray expected;
        int code;
        std::optional<int> endCode;
    } cases[] = {
        {"quiet line ends with a time-out", "OK\r\n", 0, 0, "OK\r\n", AMSerialPort::kReadTimeout,
         std::nullopt},
        {"stop character", "\r\n> ", 0, ' ', "\r\n> ", 0, AMSerialPort::kEndStopChar},
        {"byte count reached", "abcdef", 3, 0, "abc", 0, AMSerialPort::kEndByteCountReached},
        {"buffer full", full, 0, 0, full.left(AMSerialPort::kBufferSize), AMSerialPort::kBufferFull,
         std::nullopt},
    };
    for (const auto& c : cases) {
        auto port = openPort();
        pty.write(c.modemSends);
        SerialError error;
        const std::optional<QByteArray> got =
            port->readAndStopAfterBytes(c.byteCount > 0, c.byteCount, c.stopChar != 0, c.stopChar, &error);
        ASSERT_TRUE(got.has_value()) << c.name;
        EXPECT_EQ(*got, c.expected) << c.name;
        EXPECT_EQ(error.code, c.code) << c.name;
        EXPECT_EQ(error.endCode, c.endCode) << c.name;
        EXPECT_EQ(error.bytesRead, c.expected.size()) << c.name;
        port->close();
        pty.drain();
        ::tcflush(observer, TCIOFLUSH);
    }
}

TEST_F(SerialPortTest, ZeroTimeoutReturnsNothingAtOnce) {
    auto port = openPort(0.0);
    pty.write("OK\r\n");
    SerialError error;
    EXPECT_FALSE(port->readAndReturnError(&error).has_value());
    EXPECT_EQ(error.code, AMSerialPort::kReadTimeout);
}

TEST_F(SerialPortTest, AnswerInTwoBurstsComesBackFromOneRead) {
    auto port = openPort();
    std::thread modem([this] {
        pty.write("AT\r\r\n");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        pty.write("OK\r\n");
    });
    const std::optional<QString> got = port->readStringUsingEncoding();
    modem.join();
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(*got, "AT\r\r\nOK\r\n");
}

TEST_F(SerialPortTest, LineIsRawWhileOpen) {
    auto port = openPort();
    // A prompt without a line end arrives, CR LF arrive untranslated, nothing is echoed back.
    pty.write("\r\n> ");
    EXPECT_EQ(port->readStringUsingEncoding().value_or("<nothing>"), "\r\n> ");
    pty.write("OK\r\n");
    EXPECT_EQ(port->readStringUsingEncoding().value_or("<nothing>"), "OK\r\n");
    EXPECT_TRUE(pty.drain().isEmpty());
    const termios open = currentAttributes();
    EXPECT_EQ(open.c_lflag & (ECHO | ICANON), 0u);
    EXPECT_EQ(open.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
    EXPECT_EQ(cfgetospeed(&open), cfgetospeed(&before));
}

TEST_F(SerialPortTest, CloseRestoresAttributesAndMayReopen) {
    auto port = openPort();
    port->close();
    EXPECT_FALSE(port->isOpen());
    EXPECT_TRUE(sameAttributes(currentAttributes(), before));
    port->close(); // closing twice does nothing
    EXPECT_TRUE(port->open());
    EXPECT_TRUE(port->isOpen());
}

TEST_F(SerialPortTest, WritesGoOutWholeOrReportWhy) {
    auto port = openPort();
    SerialError error;
    EXPECT_TRUE(port->writeString("AT\r\n", QStringConverter::Utf8, &error));
    EXPECT_EQ(error.bytesWritten, 4);
    EXPECT_EQ(pty.drain(), "AT\r\n");

    EXPECT_FALSE(port->writeString("", QStringConverter::Utf8, &error));
    EXPECT_EQ(error.code, AMSerialPort::kNothingToWrite);
    EXPECT_FALSE(error.bytesWritten.has_value());
    EXPECT_TRUE(pty.drain().isEmpty());

    EXPECT_TRUE(port->writeString(QString::fromUtf8("\xC3\xA9"), QStringConverter::Utf8, &error));
    EXPECT_EQ(pty.drain(), "\xC3\xA9"); // UTF-8 on the wire

    port->close();
    EXPECT_FALSE(port->writeString("AT\r\n", QStringConverter::Utf8, &error));
    EXPECT_EQ(error.code, AMSerialPort::kReadFailed);
}

// Another program holding the same device (a terminal left open on it, a modem manager) may
// take the bytes poll() announced to us: every read still ends by its deadline, none waits in
// read() for bytes that are gone.
TEST_F(SerialPortTest, ReadsEndByTheirDeadlineWhenAnotherReaderTakesTheBytes) {
    auto port = openPort(20.0);
    EXPECT_NE(::fcntl(port->fileDescriptor(), F_GETFL) & O_NONBLOCK, 0);
    sim::LineSnooper other(pty.devicePath());
    ASSERT_TRUE(other.isOpen());
    // The reads run apart, so that one stuck for ever fails the test instead of hanging it.
    constexpr int kRounds = 150;
    std::atomic<int> rounds{0};
    std::thread reads([&] {
        for (int round = 0; round < kRounds; ++round, ++rounds) {
            pty.write("\r\nOK\r\n");
            switch (round % 3) {
            case 0: port->readAvailable(std::chrono::milliseconds(20)); break;
            case 1: port->readAndReturnError(); break;
            default: port->readBytes(8); break;
            }
        }
    });
    const auto bound = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (rounds < kRounds && std::chrono::steady_clock::now() < bound)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(rounds, kRounds) << "a read never returned";
    pty.close(); // frees a read stuck in the kernel
    reads.join();
    EXPECT_GT(other.taken(), 0) << "the other reader never got ahead of ours";
}

// A body longer than the line holds goes out whole as the modem reads it; a modem that stops
// reading fails the write by its deadline with what went out, instead of holding it for ever.
TEST_F(SerialPortTest, LongWritesGoOutWholeOrEndByTheirDeadline) {
    QByteArray body;
    for (int i = 0; body.size() < 512 * 1024; ++i)
        body += QByteArray::number(i) + ',';
    const struct {
        const char* name;
        bool modemReads;
        double clockScale; // while the modem reads, the deadline outlasts any pause of a busy machine
        int code;
    } cases[] = {
        {"modem reads", true, 1.0, 0},
        {"modem stopped reading", false, 0.001, AMSerialPort::kShortWrite},
    };
    for (const auto& c : cases) {
        Clock::setScale(c.clockScale);
        auto port = openPort();
        QByteArray arrived;
        std::thread modem([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the line fills up first
            const auto bound = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            char buffer[4096];
            while (c.modemReads && arrived.size() < body.size() && std::chrono::steady_clock::now() < bound) {
                pollfd entry{pty.master(), POLLIN, 0};
                if (::poll(&entry, 1, 5) > 0)
                    arrived.append(buffer, std::max<ssize_t>(::read(pty.master(), buffer, sizeof buffer), 0));
            }
        });
        SerialError error;
        EXPECT_EQ(port->writeData(body, &error), c.code == 0) << c.name;
        Clock::setScale(0.001);
        modem.join(); // with all the bytes
        EXPECT_EQ(error.code, c.code) << c.name;
        ASSERT_TRUE(error.bytesWritten.has_value()) << c.name;
        if (c.modemReads) {
            EXPECT_EQ(*error.bytesWritten, body.size()) << c.name;
            EXPECT_TRUE(arrived == body) << c.name << ": " << arrived.size() << " bytes arrived";
        } else {
            EXPECT_GT(*error.bytesWritten, 0) << c.name;
            EXPECT_LT(*error.bytesWritten, body.size()) << c.name;
            EXPECT_EQ(error.posixError, ETIMEDOUT) << c.name;
        }
        port->close();
        pty.close(); // a fresh line for the next case
        ASSERT_TRUE(pty.open());
    }
}

TEST_F(SerialPortTest, UnpluggedLineFailsReadsAndWrites) {
    auto port = openPort();
    ::close(observer);
    observer = -1;
    pty.close();
    SerialError error;
    EXPECT_FALSE(port->readAndReturnError(&error).has_value());
    EXPECT_EQ(error.code, AMSerialPort::kReadFailed);
    EXPECT_FALSE(port->writeString("AT\r\n", QStringConverter::Utf8, &error));
    EXPECT_EQ(error.code, AMSerialPort::kReadFailed);
}

TEST_F(SerialPortTest, LineSetupLeavesTheDeviceAsItWas) {
    MFCSMS session;
    const int fd = session.OpenSerialPort(pty.devicePath());
    ASSERT_GE(fd, 0);
    const termios during = currentAttributes();
    // A pseudo-terminal keeps 8 bits without parity whatever it is told; hardware flow
    // control, speed and the read timer do stick.
    EXPECT_NE(during.c_cflag & CRTSCTS, 0u);
    EXPECT_EQ(during.c_lflag & (ECHO | ICANON), 0u);
    EXPECT_EQ(cfgetospeed(&during), static_cast<speed_t>(B19200));
    EXPECT_EQ(during.c_cc[VTIME], 10);
    EXPECT_NE(::fcntl(fd, F_GETFL) & O_NONBLOCK, 0); // nothing done on it may wait on the line
    session.CloseSerialPort(fd);
    EXPECT_TRUE(sameAttributes(currentAttributes(), before));
    EXPECT_EQ(session.portName(), pty.devicePath());
    // The session's own port can take the device next.
    auto port = openPort();
    EXPECT_TRUE(port->isOpen());
}

TEST(SerialLineSetup, UnusableDevicesGiveMinusOneWithTheReason) {
    const struct {
        QString path;
        QString logged;
    } cases[] = {
        {"/nonexistent/tty", "Error opening serial port /nonexistent/tty - No such file or directory(2)."},
        {"/dev/null", "Error setting TIOCEXCL on /dev/null - Inappropriate ioctl for device(25)."},
    };
    for (const auto& c : cases) {
        LogCapture log;
        MFCSMS session;
        EXPECT_EQ(session.OpenSerialPort(c.path), -1) << c.path.toStdString();
        EXPECT_TRUE(log.contains(c.logged)) << log.lines().join('\n').toStdString();
    }
    MFCSMS session;
    session.CloseSerialPort(-1); // nothing to do, nothing to crash
}

TEST(SerialLineSetup, DeviceHeldExclusivelyIsRefused) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "the superuser may open a tty held exclusively";
    sim::PtyPair pty;
    ASSERT_TRUE(pty.open());
    AMSerialPort holder(pty.devicePath(), pty.devicePath(), "IOModemSerialStream");
    ASSERT_TRUE(holder.openExclusively());
    LogCapture log;
    MFCSMS session;
    EXPECT_EQ(session.OpenSerialPort(pty.devicePath()), -1);
    EXPECT_TRUE(log.contains("Error opening serial port"));
}

} // namespace
