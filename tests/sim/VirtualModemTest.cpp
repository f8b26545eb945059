#include "PtyClient.h"
#include "sim/MessageLog.h"
#include "sim/VirtualModem.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using sim::ModemBehaviour;
using sim::ModemIdentity;
using sim::VirtualModem;

ModemBehaviour quietBehaviour() {
    ModemBehaviour b;
    b.echo = false;
    return b;
}

TEST(VirtualModemLine, EchoesCommandsAndFramesAnswers) {
    VirtualModem modem;
    ASSERT_TRUE(modem.start());
    ASSERT_TRUE(modem.devicePath().startsWith(u"/dev/pts/"));
    PtyClient client(modem.devicePath());
    ASSERT_TRUE(client.isOpen());
    EXPECT_EQ(client.command("AT\r"), QByteArray("AT\r\r\nOK\r\n"));
    EXPECT_EQ(client.command("AT\r\n"), QByteArray("AT\r\n\r\nOK\r\n")); // echo, blank line, OK
    EXPECT_EQ(client.command("ATE0\r"), QByteArray("ATE0\r\r\nOK\r\n"));
    EXPECT_EQ(client.command("AT\r"), QByteArray("\r\nOK\r\n"));
    EXPECT_EQ(modem.commandLog(), (QStringList{"AT", "AT", "ATE0", "AT"}));
}

TEST(VirtualModemLine, SubmitsAPduAndRecordsWhatTheNetworkReceived) {
    QTemporaryDir dir;
    const QString logPath = dir.filePath("received.jsonl");
    VirtualModem modem({}, quietBehaviour(), logPath);
    ASSERT_TRUE(modem.start());
    PtyClient client(modem.devicePath());
    EXPECT_EQ(client.command("AT+CMGS=12\r"), QByteArray("\r\n> "));
    EXPECT_EQ(client.command(QByteArray("00110005912143F50000FF0141\x1a\r\n")),
              QByteArray("\r\n+CMGS: 1\r\n\r\nOK\r\n"));
    const QList<sim::ReceivedMessage> received = modem.received();
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received.at(0).number, QStringLiteral("+12345"));
    EXPECT_EQ(received.at(0).text, QStringLiteral("A"));
    EXPECT_EQ(received.at(0).mode, QStringLiteral("PDU"));
    EXPECT_EQ(received.at(0).smsc, QStringLiteral("+447700900123")); // the modem's own
    EXPECT_EQ(received.at(0).device, modem.devicePath());
    EXPECT_EQ(received.at(0).pduHex, QStringList{"00110005912143F50000FF0141"});
    const QList<sim::ReceivedMessage> logged = sim::MessageLog::read(logPath);
    ASSERT_EQ(logged.size(), 1);
    EXPECT_EQ(logged.at(0).text, QStringLiteral("A"));
    EXPECT_EQ(logged.at(0).pduHex, received.at(0).pduHex);
}

} // namespace
