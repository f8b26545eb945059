// Replies and opt-outs from the command line, as a script uses them: a recipient answers STOP
// while `bulksms send` runs, one answers with the operator's own stop word, another just
// answers; `bulksms inbox` shows them under the campaign, `bulksms opt-out` lists the ones who
// stopped, and the next send leaves them out (and carries the footer it was given).
#include "SenderFixture.h"

#include "core/FileUtils.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <QThread>

#include <atomic>
#include <csignal>

namespace {

class RepliesCommandLineTest : public SenderFixture {
protected:
    QStringList run(const QStringList& arguments, int& exitCode) {
        return runToEnd(environment(), arguments, exitCode, errors);
    }
    QString errors;
};

TEST_F(RepliesCommandLineTest, AStopDuringASendHoldsForTheNextAndTheInboxShowsTheReplies) {
    std::atomic<int> accepted{0};
    sim::ModemBehaviour behaviour;
    behaviour.networkDelayMs = 0;
    behaviour.afterAccepting = [&] {
        // Both answer once the network took the last message, as the run ends.
        if (accepted++ == 2) {
            modems.front()->deliver("+447400123457", " stop! ");
            modems.front()->deliver("+447400123458", "Arr\u00EAt.");
            modems.front()->deliver("+447400123456", "Thanks, see you Tuesday");
        }
    };
    startModems(1, behaviour, "35800000000007");
    // The operator's own stop word, as the Inbox options keep it.
    const QString data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA";
    ASSERT_TRUE(QDir().mkpath(data));
    ASSERT_TRUE(writeFileAtomically(
        data + "/Settings.json",
        QJsonDocument(QJsonObject{{"replies", QJsonObject{{"stopWords", QJsonArray{"ARRET"}}}}}).toJson()));

    int exitCode = -1;
    const QStringList to{"--to", "+447400123456", "--to", "+447400123457", "--to", "+447400123458"};
    run(QStringList{"send", "--message", "Your table is ready."} + to, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();

    const QStringList inbox = run({"inbox", "--json"}, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    ASSERT_EQ(inbox.size(), 3) << inbox.join('\n').toStdString();
    QStringList seen;
    for (const QString& line : inbox) {
        const QJsonObject reply = QJsonDocument::fromJson(line.toUtf8()).object();
        EXPECT_FALSE(reply.value("campaign").isNull()) << line.toStdString();
        // Filed under the SIM that received it, wherever the modem is plugged in next time.
        EXPECT_TRUE(reply.value("device").toString().startsWith("iccid:89")) << line.toStdString();
        seen << reply.value("sender").toString() + "|" + reply.value("text").toString() + "|" +
                    reply.value("change").toString();
    }
    seen.sort();
    EXPECT_EQ(seen, (QStringList{"+447400123456|Thanks, see you Tuesday|-", "+447400123457| stop! |stop",
                                 "+447400123458|Arr\u00EAt.|stop"}));

    QStringList optedOut;
    for (const QString& line : run({"opt-out", "list"}, exitCode))
        optedOut << line.section('\t', 0, 0);
    optedOut.sort();
    EXPECT_EQ(optedOut, (QStringList{"+447400123457", "+447400123458"}));
    EXPECT_EQ(run({"opt-out", "add", "not a number"}, exitCode), QStringList());
    EXPECT_EQ(exitCode, 2);

    // The next send leaves the ones who stopped out, and says so; the footer goes with the rest.
    const QStringList second = run(
        QStringList{"send", "--message", "Your table is ready.", "--footer", "Reply STOP to opt out"} + to,
        exitCode);
    EXPECT_EQ(accepted.load(), 3 + 1);
    for (const char* number : {"+447400123457", "+447400123458"})
        EXPECT_TRUE(second.filter(number).value(0).contains("Opted out.")) << second.join('\n').toStdString();
    EXPECT_EQ(modems.front()->received().last().text, "Your table is ready.\nReply STOP to opt out");

    // The operator takes the opt-out back: the number is texted again.
    run({"opt-out", "remove", "+447400123457"}, exitCode);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(run({"opt-out", "list"}, exitCode).value(0).section('\t', 0, 0), "+447400123458");
    run({"send", "--message", "Welcome back.", "--to", "+447400123457"}, exitCode);
    EXPECT_EQ(accepted.load(), 3 + 1 + 1);
}

// Killed between keeping the replies and freeing their places on the SIM (the modem never
// answers "AT+CMGD"), the sender reads them again on its next run: the store keeps each once,
// and that run empties the SIM.
TEST_F(RepliesCommandLineTest, AKillBetweenKeepingAndDeletingKeepsEachReplyOnce) {
    sim::ModemBehaviour behaviour;
    behaviour.networkDelayMs = 0;
    const auto incoming = [](const QString& from, const QString& text) {
        sim::IncomingMessage message;
        message.from = from;
        message.text = text;
        return message;
    };
    const sim::IncomingMessage stop = incoming("+447400123457", "STOP");
    const sim::IncomingMessage escaped = incoming("+447400123456", "Price [5\u20AC] ok ~ {x}");
    sim::IncomingMessage longOne = incoming("+447400123458", QString(140, QChar(0x00E9)) + " \U0001F600 end");
    longOne.outOfOrder = true;
    behaviour.simMessagesAtStart = {stop, escaped, longOne};
    for (int place = 1; place <= behaviour.simSize; ++place)
        behaviour.scriptedAnswers.insert(QStringLiteral("AT+CMGD=%1").arg(place), QByteArray());
    startModems(1, behaviour, "35800000000007");
    sim::VirtualModem& modem = *modems.front();

    const auto sender = start({"send", "--message", "Hello", "--to", "+447400123459"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (modem.commandLog().filter("AT+CMGD=").isEmpty() && std::chrono::steady_clock::now() < deadline)
        QThread::msleep(5);
    ASSERT_FALSE(modem.commandLog().filter("AT+CMGD=").isEmpty())
        << modem.commandLog().join('|').toStdString();
    ::kill(pid_t(sender->processId()), SIGKILL);
    sender->waitForFinished();

    behaviour.scriptedAnswers.clear();
    modem.setBehaviour(behaviour);
    int exitCode = -1;
    run({"send", "--resume"}, exitCode); // the killed run goes on
    EXPECT_EQ(exitCode, 0) << errors.toStdString();

    QStringList seen;
    for (const QString& line : run({"inbox", "--json"}, exitCode)) {
        const QJsonObject reply = QJsonDocument::fromJson(line.toUtf8()).object();
        seen << reply.value("sender").toString() + "|" + reply.value("text").toString();
    }
    seen.sort();
    EXPECT_EQ(seen, (QStringList{escaped.from + "|" + escaped.text, stop.from + "|" + stop.text,
                                 longOne.from + "|" + longOne.text}));
    EXPECT_EQ(run({"opt-out", "list"}, exitCode).value(0).section('\t', 0, 0), stop.from);
    // The second run freed every place it read: the first that was asked before the kill, then
    // the five (the long reply came in three parts).
    EXPECT_EQ(modem.commandLog().filter("AT+CMGD=").size(), 1 + 5)
        << modem.commandLog().join('|').toStdString();
}

} // namespace
