#include "sim/VirtualModem.h"
#include "sim/MessageLog.h"
#include "sim/PtyClient.h"

#include "TestEnvironment.h"
#include "core/Clock.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

using sim::ModemBehaviour;
using sim::ModemIdentity;
using sim::PtyClient;
using sim::VirtualModem;

ModemBehaviour quietBehaviour() {
    ModemBehaviour b;
    b.echo = false;
    return b;
}

// A started modem with a raw client on its line; what the network received goes to logPath.
class VirtualModemLine : public ::testing::Test {
protected:
    void plugIn(const ModemBehaviour& behaviour = quietBehaviour()) {
        modem = std::make_unique<VirtualModem>(sim::ModemIdentity{}, behaviour, logPath);
        ASSERT_TRUE(modem->start());
        client = std::make_unique<PtyClient>(modem->devicePath());
    }
    QTemporaryDir dir;
    const QString logPath = dir.filePath("received.jsonl");
    std::unique_ptr<VirtualModem> modem;
    std::unique_ptr<PtyClient> client;
};

TEST_F(VirtualModemLine, EchoesCommandsAndFramesAnswers) {
    plugIn(ModemBehaviour{});
    ASSERT_TRUE(modem->devicePath().startsWith(u"/dev/pts/"));
    ASSERT_TRUE(client->isOpen());
    EXPECT_EQ(client->command("AT\r"), QByteArray("AT\r\r\nOK\r\n"));
    EXPECT_EQ(client->command("AT\r\n"), QByteArray("AT\r\n\r\nOK\r\n")); // echo, blank line, OK
    EXPECT_EQ(client->command("ATE0\r"), QByteArray("ATE0\r\r\nOK\r\n"));
    EXPECT_EQ(client->command("AT\r"), QByteArray("\r\nOK\r\n"));
    EXPECT_EQ(modem->commandLog(), (QStringList{"AT", "AT", "ATE0", "AT"}));
}

TEST_F(VirtualModemLine, SubmitsAPduAndRecordsWhatTheNetworkReceived) {
    plugIn();
    EXPECT_EQ(client->command("AT+CMGS=12\r"), QByteArray("\r\n> "));
    EXPECT_EQ(client->command(QByteArray("00110005912143F50000FF0141\x1a\r\n")),
              QByteArray("\r\n+CMGS: 1\r\n\r\nOK\r\n"));
    const QList<sim::ReceivedMessage> received = modem->received();
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received.at(0).number, QStringLiteral("+12345"));
    EXPECT_EQ(received.at(0).text, QStringLiteral("A"));
    EXPECT_EQ(received.at(0).mode, QStringLiteral("PDU"));
    EXPECT_EQ(received.at(0).smsc, QStringLiteral("+447700900123")); // the modem's own
    EXPECT_EQ(received.at(0).device, modem->devicePath());
    EXPECT_EQ(received.at(0).pduHex, QStringList{"00110005912143F50000FF0141"});
    const QList<sim::ReceivedMessage> logged = sim::MessageLog::read(logPath);
    ASSERT_EQ(logged.size(), 1);
    EXPECT_EQ(logged.at(0).text, QStringLiteral("A"));
    EXPECT_EQ(logged.at(0).pduHex, received.at(0).pduHex);
}

TEST_F(VirtualModemLine, StatusReportsFollowMessagesThatAskForThemWhenRoutedHere) {
    sim::ModemBehaviour behaviour = quietBehaviour();
    behaviour.statusReportDelayMs = 50;
    behaviour.deliveryStatusForNumber.insert("+12345", 0x41); // failed: the number is unknown
    behaviour.noStatusReportFor << "999";
    plugIn(behaviour);
    // Without the routing no report comes.
    client->command("AT+CMGS=12\r");
    client->command(QByteArray("00310005912143F50000FF0141\x1a\r\n"));
    EXPECT_FALSE(client->readFor(std::chrono::milliseconds(300)).contains("+CDS"));
    EXPECT_EQ(client->command("AT+CNMI=2,1,0,1,0\r"), QByteArray("\r\nOK\r\n"));
    // PDU mode: "+CDS: <length>" and the report, with TP-MR 2 and TP-ST 41.
    client->command("AT+CMGS=12\r");
    client->command(QByteArray("00310005912143F50000FF0141\x1a\r\n"));
    QByteArray pduReport; // "+CDS: 22" and the report's line, however late the line comes
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    qsizetype at = -1;
    while (std::chrono::steady_clock::now() < until &&
           ((at = pduReport.indexOf("+CDS: 22\r\n")) < 0 || pduReport.indexOf("\r\n", at + 10) < 0))
        pduReport += client->readFor(std::chrono::milliseconds(20));
    ASSERT_TRUE(pduReport.contains("+CDS: 22\r\n000602")) << pduReport.constData();
    EXPECT_TRUE(pduReport.trimmed().endsWith("41")) << pduReport.constData();
    // A message without the request (first octet 11) gets none; nor does a number whose report is lost.
    client->command("AT+CMGS=12\r");
    client->command(QByteArray("00110005912143F50000FF0141\x1a\r\n"));
    client->command("AT+CMGS=11\r");
    client->command(QByteArray("0031000381"
                               "99F9"
                               "0000FF0141\x1a\r\n"));
    EXPECT_FALSE(client->readFor(std::chrono::milliseconds(300)).contains("+CDS"));
    // Text mode: the report's fields on one line.
    client->command("AT+CMGF=1\r");
    client->command("AT+CSMP=49,167,0,0\r");
    client->command("AT+CMGS=\"+12345\"\r");
    client->command(QByteArray("A\x1a"));
    const QByteArray textReport = client->readUntil(",65\r\n", std::chrono::seconds(5));
    EXPECT_TRUE(textReport.contains("+CDS: 6,5,\"+12345\",145,")) << textReport.constData();
}

// Two parts of one message to +12345, "Hi" each, joined by a 16-bit reference header.
const QByteArray kPart1 = "00510005912143F50000FF0A06080400000201C834";
const QByteArray kPart2 = "00510005912143F50000FF0A06080400000202C834";

TEST_F(VirtualModemLine, AnswersSplitIntoBurstsArriveWhole) {
    const struct {
        QByteArray answer;
        int bursts;
        QList<QByteArray> pieces;
    } cases[] = {
        {"\r\nOK\r\n", 1, {"\r\nOK\r\n"}},
        {"\r\nOK\r\n", 2, {"\r\nO", "K\r\n"}},
        {"\r\nOK\r\n", 3, {"\r\n", "OK", "\r\n"}},
        {"OK", 5, {"O", "K"}}, // never an empty write
        {"OK", 0, {"OK"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(VirtualModem::splitIntoBursts(c.answer, c.bursts), c.pieces) << c.bursts;

    ModemBehaviour b = quietBehaviour();
    b.answerBursts = 4;
    plugIn(b);
    EXPECT_EQ(client->command("AT+CSQ;+CBC\r"),
              QByteArray("\r\n+CSQ: 20,99\r\n\r\n+CBC: 0,80\r\n\r\nOK\r\n"));
}

TEST_F(VirtualModemLine, ConcatenatedPartsBecomeOneLoggedMessage) {
    plugIn();
    client->command("AT+CMGS=20\r");
    EXPECT_TRUE(client->command(kPart1 + "\x1a").contains("+CMGS: 1"));
    ASSERT_EQ(modem->received().size(), 1);
    EXPECT_FALSE(modem->received().at(0).complete);        // visible while waiting for part 2
    EXPECT_TRUE(sim::MessageLog::read(logPath).isEmpty()); // but not logged yet
    client->command("AT+CMGS=20\r");
    EXPECT_TRUE(client->command(kPart2 + "\x1a").contains("+CMGS: 2"));
    const QList<sim::ReceivedMessage> logged = sim::MessageLog::read(logPath);
    ASSERT_EQ(logged.size(), 1);
    EXPECT_EQ(logged.at(0).text, QStringLiteral("HiHi"));
    EXPECT_EQ(logged.at(0).parts, 2);
    EXPECT_TRUE(logged.at(0).complete);
    EXPECT_EQ(logged.at(0).pduHex, (QStringList{kPart1, kPart2}));
    EXPECT_EQ(modem->received().size(), 1);
}

TEST_F(VirtualModemLine, UnpluggingMidMessageClosesTheLineAndLogsWhatArrived) {
    ModemBehaviour b = quietBehaviour();
    b.unplugAfterParts = 1;
    plugIn(b);
    client->command("AT+CMGS=20\r");
    // the client still gets the answer of the part that went through
    const QByteArray lastAnswer = client->command(kPart1 + "\x1a");
    EXPECT_TRUE(lastAnswer.contains("\r\n+CMGS: 1\r\n\r\nOK\r\n")) << lastAnswer.toStdString();
    ASSERT_TRUE(spinUntil([&] { return !modem->isPlugged(); }));
    EXPECT_TRUE(client->readFor(std::chrono::milliseconds(100)).isEmpty());
    EXPECT_FALSE(client->send("AT+CMGS=20\r"));
    client.reset();
    EXPECT_FALSE(QFile::exists(modem->devicePath())); // once let go, the device node is gone for good
    const QList<sim::ReceivedMessage> logged = sim::MessageLog::read(logPath);
    ASSERT_EQ(logged.size(), 1);
    EXPECT_FALSE(logged.at(0).complete);
    EXPECT_EQ(logged.at(0).parts, 1);
    EXPECT_EQ(logged.at(0).totalParts, 2);
    EXPECT_EQ(logged.at(0).text, QStringLiteral("Hi"));
}

TEST_F(VirtualModemLine, UnplugInterruptsTheNetworkWait) {
    ModemBehaviour b = quietBehaviour();
    b.networkDelayMs = 3600 * 1000; // an hour, scaled: long enough to be inside it when unplugged
    plugIn(b);
    client->command("AT+CMGS=12\r");
    client->send("00110005912143F50000FF0141\x1a");
    client->readFor(std::chrono::milliseconds(50));
    modem->unplug();
    EXPECT_FALSE(modem->isPlugged());
    EXPECT_TRUE(modem->received().isEmpty()); // never accepted: the network did not answer
}

// The answer trails the echo: with a latency no test outlives, the echo is there and the
// answer is not, and unplugging does not wait the latency out.
TEST_F(VirtualModemLine, AnswerLatencyHoldsTheAnswerButNotTheEcho) {
    ModemBehaviour b;
    b.answerLatencyMs = 3600 * 1000;
    plugIn(b);
    client->send("AT\r");
    EXPECT_EQ(client->readUntil("AT\r"), QByteArray("AT\r"));
    EXPECT_TRUE(client->readFor(std::chrono::milliseconds(50)).isEmpty());
    modem->unplug();
    EXPECT_FALSE(modem->isPlugged());
}

// Under lateCmgsAnswers the network's answer to a message, accepted or refused, comes out
// only after the next command line, ahead of that command's own answer: a sender that
// stopped waiting reads it as the start of the next exchange.
TEST_F(VirtualModemLine, LateCmgsAnswersComeAheadOfTheNextCommandsAnswer) {
    ModemBehaviour b = quietBehaviour();
    b.lateCmgsAnswers = true;
    plugIn(b);
    EXPECT_EQ(client->command("AT+CMGS=12\r"), QByteArray("\r\n> "));
    client->send("00110005912143F50000FF0141\x1a");
    ASSERT_TRUE(spinUntil([&] { return modem->received().size() == 1; }));
    EXPECT_TRUE(client->readFor(std::chrono::milliseconds(50)).isEmpty()); // accepted, answer held

    client->send("AT+CMGS=12\r");
    EXPECT_EQ(client->readUntil("> "), QByteArray("\r\n+CMGS: 1\r\n\r\nOK\r\n\r\n> "));

    b.cmsErrorForNumber.insert("+12345", 38);
    modem->setBehaviour(b);
    client->send("00110005912143F50000FF0141\x1a");
    EXPECT_TRUE(client->readFor(std::chrono::milliseconds(50)).isEmpty()); // refused, answer held
    client->send("AT\r");
    EXPECT_EQ(client->readUntil("OK\r\n"), QByteArray("\r\n+CMS ERROR: 38\r\n\r\nOK\r\n"));
    EXPECT_EQ(modem->received().size(), 1);
}

TEST_F(VirtualModemLine, RefusesChosenNumbersAndHonoursBehaviourChanges) {
    ModemBehaviour b = quietBehaviour();
    b.cmsErrorForNumber.insert("+12345", 38);
    plugIn(b);
    client->command("AT+CMGS=12\r");
    EXPECT_EQ(client->command("00110005912143F50000FF0141\x1a"), QByteArray("\r\n+CMS ERROR: 38\r\n"));
    EXPECT_EQ(client->command("AT+CMGS=?\r"), QByteArray("\r\nOK\r\n"));
    b.cmgsTestAnswersError = true;
    b.cmsErrorForNumber.clear();
    modem->setBehaviour(b);
    EXPECT_EQ(client->command("AT+CMGS=?\r"), QByteArray("\r\nERROR\r\n"));
    client->command("AT+CMGS=12\r");
    EXPECT_TRUE(client->command("00110005912143F50000FF0141\x1a").contains("+CMGS: 1"));
    EXPECT_EQ(modem->received().size(), 1);
}

TEST_F(VirtualModemLine, SilentModemHearsButNeverAnswers) {
    ModemBehaviour b;
    b.silent = true;
    plugIn(b);
    client->send("AT\r\n");
    EXPECT_TRUE(client->readFor(std::chrono::milliseconds(100)).isEmpty());
    ASSERT_TRUE(spinUntil([&] { return modem->commandLog() == QStringList{"AT"}; }));
}

TEST_F(VirtualModemLine, ModemFallenSilentStillPassedItsLastMessageOn) {
    ModemBehaviour b = quietBehaviour();
    b.silentAfterMessages = 1;
    plugIn(b);
    client->command("AT+CMGS=12\r");
    EXPECT_TRUE(client->command("00110005912143F50000FF0141\x1a").contains("+CMGS: 1"));
    client->command("AT+CMGS=12\r");
    client->send("00110005912143F50000FF0142\x1a");
    ASSERT_TRUE(spinUntil([&] { return modem->received().size() == 2; }));
    client->send("AT\r");
    EXPECT_TRUE(client->readFor(std::chrono::milliseconds(100)).isEmpty());
    const QList<sim::ReceivedMessage> logged = sim::MessageLog::read(logPath);
    ASSERT_EQ(logged.size(), 2);
    EXPECT_EQ(logged.at(1).text, QStringLiteral("B"));
    EXPECT_EQ(modem->received().at(1).text, QStringLiteral("B"));
}

// A terminal nobody put in raw mode echoes whatever the modem sends straight back to it and
// keeps the "> " prompt from the program until a line end arrives.
TEST(VirtualModemTerminal, ClientThatForgetsRawModeSeesTheLineFault) {
    VirtualModem modem;
    ASSERT_TRUE(modem.start());
    {
        PtyClient canonical(modem.devicePath(), false);
        ASSERT_TRUE(canonical.isOpen());
        termios options{};
        ASSERT_EQ(::tcgetattr(canonical.fd(), &options), 0);
        ASSERT_TRUE(options.c_lflag & ICANON) << "a fresh terminal starts canonical";
        canonical.send("ATE0\r");
        // the modem's own echo and answer come back to it as if typed
        ASSERT_TRUE(spinUntil([&] { return modem.commandLog().contains(QStringLiteral("OK")); }))
            << modem.commandLog().join('|').toStdString();
        EXPECT_GE(modem.commandLog().count(QStringLiteral("ATE0")), 2);
        canonical.send("AT+CMGS=12\r");
        EXPECT_FALSE(canonical.readFor(std::chrono::milliseconds(300)).contains("> "));
    }
    VirtualModem clean;
    ASSERT_TRUE(clean.start());
    PtyClient raw(clean.devicePath());
    raw.command("ATE0\r");
    EXPECT_TRUE(raw.command("AT+CMGS=12\r").endsWith("> "));
    EXPECT_EQ(clean.commandLog(), (QStringList{"ATE0", "AT+CMGS=12"}));
}

TEST_F(VirtualModemLine, ReopeningTheDeviceFindsTheSameModem) {
    plugIn();
    EXPECT_EQ(client->command("AT+CMGF=1\r"), QByteArray("\r\nOK\r\n"));
    client.reset();
    PtyClient second(modem->devicePath());
    EXPECT_EQ(second.command("AT+CMGF?\r"), QByteArray("\r\n+CMGF: 1\r\n\r\nOK\r\n"));
}

// A real serial device forgets its exclusive-use flag when its last user closes it; a bare
// pty would keep it for as long as the modem lives and lock every later non-root open out.
TEST_F(VirtualModemLine, ExclusiveUseEndsWithTheLastClose) {
    plugIn();
    ASSERT_EQ(::ioctl(client->fd(), TIOCEXCL), 0);
    int exclusive = 0;
    ASSERT_EQ(::ioctl(client->fd(), TIOCGEXCL, &exclusive), 0);
    EXPECT_EQ(exclusive, 1);
    client.reset();
    EXPECT_TRUE(spinUntil([&] {
        PtyClient next(modem->devicePath());
        exclusive = 1;
        return next.isOpen() && ::ioctl(next.fd(), TIOCGEXCL, &exclusive) == 0 && exclusive == 0;
    }));
}

} // namespace

namespace {

TEST_F(VirtualModemLine, DeliveredMessagesAreAnnouncedOnTheLineAndLogged) {
    plugIn();
    EXPECT_EQ(client->command("AT+CNMI=2,1,0,0,0\r"), QByteArray("\r\nOK\r\n"));
    modem->deliver("+447700900001", "STOP");
    EXPECT_EQ(client->readUntil("\r\n+CMTI: \"SM\",1\r\n"), QByteArray("\r\n+CMTI: \"SM\",1\r\n"));
    sim::IncomingMessage elsewhere; // for another modem: not this one's
    elsewhere.from = "+447700900002";
    elsewhere.text = "not mine";
    elsewhere.to = "000000000000000";
    modem->deliver(elsewhere);
    EXPECT_TRUE(client->readFor(std::chrono::milliseconds(200)).isEmpty());
    EXPECT_EQ(client->command("AT+CMGF=1;+CSCS=\"UTF-8\";+CMGL=\"ALL\"\r").split('\n').value(2).trimmed(),
              QByteArray("STOP"));
    EXPECT_EQ(client->command("AT+CMGD=1\r"), QByteArray("\r\nOK\r\n"));
    QList<QJsonObject> events;
    // The log line may follow the answer by a moment.
    EXPECT_TRUE(spinUntil([&] { return (events = sim::MessageLog::readEvents(logPath)).size() >= 2; }));
    ASSERT_EQ(events.size(), 2);
    EXPECT_EQ(events.at(0).value("event").toString(), "delivered");
    EXPECT_EQ(events.at(0).value("from").toString(), "+447700900001");
    EXPECT_EQ(events.at(0).value("device").toString(), modem->devicePath());
    EXPECT_EQ(events.at(1).value("event").toString(), "deleted");
    EXPECT_EQ(events.at(1).value("text").toString(), "STOP");
    EXPECT_TRUE(sim::MessageLog::read(logPath).isEmpty()); // events are no messages the network received
}

TEST_F(VirtualModemLine, FollowsAFileOfIncomingMessagesAsItGrows) {
    const QString incoming = dir.filePath("incoming.jsonl");
    QFile file(incoming);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    file.write("{\"from\": \"+447700900001\", \"text\": \"first\"}\nthis line is no message\n");
    modem = std::make_unique<VirtualModem>(sim::ModemIdentity{}, quietBehaviour(), logPath);
    modem->followIncoming(incoming);
    ASSERT_TRUE(modem->start());
    client = std::make_unique<PtyClient>(modem->devicePath());
    EXPECT_EQ(client->command("AT+CNMI=2,1,0,0,0\r"), QByteArray("\r\nOK\r\n"));
    file.write("{\"from\": \"+447700900002\", \"text\": \"second\"}\n"); // appended while it runs
    EXPECT_TRUE(client->readUntil("+CMTI: \"SM\",2\r\n").endsWith("+CMTI: \"SM\",2\r\n"));
    EXPECT_EQ(client->command("AT+CPMS?\r"),
              QByteArray("\r\n+CPMS: \"SM\",2,30,\"SM\",2,30,\"SM\",2,30\r\n\r\nOK\r\n"));
}

// The sender's side of a sending in which a reply arrives: the indication comes between the
// PDU's echo and the network's answer, and the message still goes.
TEST_F(VirtualModemLine, AReplyArrivingMidSendingComesBetweenThePduAndItsAnswer) {
    sim::ModemBehaviour behaviour; // echo on, as a sender meets it
    sim::IncomingMessage reply;
    reply.from = "+12345";
    reply.text = "STOP";
    behaviour.arrivalsDuringSubmission.insert(1, reply);
    plugIn(behaviour);
    client->command("AT+CNMI=2,1,0,0,0\r");
    EXPECT_EQ(client->command("AT+CMGS=12\r"), QByteArray("AT+CMGS=12\r\r\n> "));
    const QByteArray answer = client->command(QByteArray("00110005912143F50000FF0141\x1a"));
    EXPECT_EQ(answer,
              QByteArray("00110005912143F50000FF0141\r\n+CMTI: \"SM\",1\r\n\r\n+CMGS: 1\r\n\r\nOK\r\n"));
    EXPECT_EQ(modem->received().size(), 1);
}

} // namespace
