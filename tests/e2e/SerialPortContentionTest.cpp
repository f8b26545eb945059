// The sender against a modem whose device another program also reads (a terminal left open
// on it, a modem manager): that program takes some of the modem's answers before the sender
// sees them. The run must still come to an end, by itself or on SIGTERM, print a result for
// every recipient, and report sent only what the network received.
#include "SenderFixture.h"
#include "sim/LineSnooper.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <memory>

namespace {

class SerialPortContention : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 100;
        startModems(2, behaviour, QStringLiteral("35800000000009"));
    }

    // Sends to a few recipients while another reader, opened before the sender (whose
    // exclusive claim cannot keep it out), takes bytes of the first modem's line from the
    // moment `begin` holds.
    void sendWhileAnotherReads(const std::function<bool()>& begin, const QStringList& options,
                               int recipients) {
        sim::LineSnooper other(modems.at(0)->devicePath(), begin);
        ASSERT_TRUE(other.isOpen());

        QStringList numbers;
        QStringList arguments =
            QStringList{"send", "--message", "Hello through a busy line", "--yes"} + options;
        for (int i = 0; i < recipients; ++i) {
            numbers << QStringLiteral("+4477009002%1").arg(i, 2, 10, QLatin1Char('0'));
            arguments << "--to" << numbers.last();
        }
        const std::unique_ptr<QProcess> sender = start(arguments);
        QProcess& process = *sender;

        // Generous bounds: a run that needs more than these is stuck in a read or a write.
        if (!process.waitForFinished(60000)) {
            ::kill(pid_t(process.processId()), SIGTERM);
            ASSERT_TRUE(process.waitForFinished(30000)) << "still running 30 s after SIGTERM";
        }
        EXPECT_GT(other.taken(), 0) << "the other reader took none of the modem's bytes";
        ASSERT_EQ(process.exitStatus(), QProcess::NormalExit);
        const QString errors = QString::fromUtf8(process.readAllStandardError());
        const QStringList lines =
            QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        ASSERT_EQ(lines.size(), numbers.size() + 1) << lines.join('\n').toStdString() << errors.toStdString();

        QMap<QString, int> received;
        for (const auto& modem : modems)
            for (const sim::ReceivedMessage& message : modem->received())
                ++received[message.number];
        for (const QString& line : lines.mid(0, numbers.size())) {
            if (line.endsWith("\tMessage sent successfully.")) {
                EXPECT_EQ(received.value(line.section('\t', 0, 0)), 1) << line.toStdString();
            }
        }
        for (const QString& number : numbers)
            EXPECT_LE(received.value(number), 1) << number.toStdString() << " texted twice";
    }
};

// The modem's answers to the search go astray too: it may not be found, the other one sends.
TEST_F(SerialPortContention, AnotherReaderFromTheStart) {
    sendWhileAnotherReads([] { return true; }, {}, 6);
}

// The search found the modem; the other reader starts with the first message, and every
// message goes through that modem.
TEST_F(SerialPortContention, AnotherReaderOnceSendingBegan) {
    sim::VirtualModem& modem = *modems.at(0);
    sendWhileAnotherReads(
        [&modem] {
            for (const QString& line : modem.commandLog())
                if (line.startsWith("AT+CMGS=") && line != "AT+CMGS=?")
                    return true;
            return false;
        },
        {"--device", modem.devicePath()}, 16);
}

} // namespace
