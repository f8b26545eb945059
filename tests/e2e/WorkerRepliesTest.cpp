// A worker with nothing to send reads the replies its modem received: people write to the
// virtual modem's incoming file, the worker keeps each reply once (the store and its own output
// say so) and the virtual SIM lets each go (the network's log says so); a campaign queued
// meanwhile goes out through the same modem with no port in the way, the STOP read while idle
// already applied; a store that refuses leaves the message on the SIM until it can keep it.
#include "SenderFixture.h"
#include "campaigns/SqliteDatabase.h"
#include "sim/MessageLog.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>

namespace {

class WorkerRepliesTest : public SenderFixture {
protected:
    void SetUp() override {
        incoming = logDir.filePath("incoming.jsonl");
        log = logDir.filePath("network.jsonl");
        sim::ModemIdentity id;
        id.imei = "358000000000901";
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour, log));
        modems.back()->followIncoming(incoming);
        ASSERT_TRUE(modems.back()->start());
    }

    // Somebody sends the modem a message (a line of its incoming file).
    void write(const QString& from, const QString& text) {
        QFile file(incoming);
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write(QJsonDocument(QJsonObject{{"from", from}, {"text", text}}).toJson(QJsonDocument::Compact) +
                   '\n');
    }

    // Reads what the worker printed until `done` holds (or the time-out passes).
    bool waitFor(const std::function<bool()>& done, qint64 timeoutMs = 60000) {
        QElapsedTimer timer;
        timer.start();
        while (!done() && timer.elapsed() < timeoutMs) {
            worker->waitForReadyRead(50);
            for (const QString& line : QString::fromUtf8(worker->readAllStandardOutput()).split('\n'))
                if (!line.isEmpty())
                    out << QJsonDocument::fromJson(line.toUtf8()).object();
            errors += QString::fromUtf8(worker->readAllStandardError());
        }
        return done();
    }
    QList<QJsonObject> replies() const {
        QList<QJsonObject> found;
        for (const QJsonObject& line : out)
            if (line.value("event") == "received")
                found << line;
        return found;
    }
    QList<QJsonObject> recipients() const {
        QList<QJsonObject> found;
        for (const QJsonObject& line : out)
            if (line.contains("number") && !line.contains("event"))
                found << line;
        return found;
    }
    int events(const QString& kind) const {
        int count = 0;
        for (const QJsonObject& event : sim::MessageLog::readEvents(log))
            count += event.value("event").toString() == kind ? 1 : 0;
        return count;
    }
    bool storeRefuses(const QString& text) {
        QString why;
        const std::unique_ptr<SqliteDatabase> db = SqliteDatabase::open(store(), &why);
        return db &&
               db->exec(text.isEmpty() ? QStringLiteral("DROP TRIGGER no_room")
                                       : QStringLiteral("CREATE TRIGGER no_room BEFORE INSERT ON received "
                                                        "WHEN NEW.text = '%1' BEGIN SELECT RAISE(ABORT, "
                                                        "'database or disk is full'); END")
                                             .arg(text));
    }
    QStringList bulksms(const QStringList& arguments) {
        int exitCode = -1;
        QString why;
        QStringList lines = runToEnd(environment(), arguments, exitCode, why);
        EXPECT_EQ(exitCode, 0) << why.toStdString();
        return lines;
    }

    QTemporaryDir logDir;
    QString incoming, log;
    std::unique_ptr<QProcess> worker;
    QList<QJsonObject> out;
    QString errors;
};

TEST_F(WorkerRepliesTest, AnIdleWorkerKeepsRepliesOnceAndThenSendsThroughTheSameModem) {
    worker = start({"worker", "--json"});
    write("+447700900001", "Hello, is this the bakery?");
    write("+447700900002", "STOP");
    ASSERT_TRUE(waitFor([&] { return replies().size() == 2 && events("deleted") == 2; }))
        << errors.toStdString() << events("deleted");
    EXPECT_EQ(replies().at(0).value("sender"), "+447700900001");
    EXPECT_EQ(replies().at(0).value("text"), "Hello, is this the bakery?");
    EXPECT_TRUE(replies().at(0).value("campaign").isNull());
    EXPECT_EQ(replies().at(1).value("change"), "stop");
    // Kept once each, however many passes read the modem since.
    EXPECT_EQ(bulksms({"inbox", "--json"}).size(), 2);

    // A campaign queued meanwhile: the worker lets the modem go and sends through it.
    const QString id = bulksms({"campaign", "create", "--message", "Fresh bread at 8.", "--to",
                                "+447700900001", "--to", "+447700900002", "--to", "+447700900003", "--yes"})
                           .value(0);
    ASSERT_FALSE(id.isEmpty());
    ASSERT_TRUE(waitFor([&] { return recipients().size() == 3; })) << errors.toStdString();
    for (const QJsonObject& line : recipients())
        EXPECT_EQ(line.value("status").toString(), line.value("number") == "+447700900002"
                                                       ? QStringLiteral("Opted out.")
                                                       : QStringLiteral("Message sent successfully."))
            << QJsonDocument(line).toJson().toStdString();
    EXPECT_EQ(received(), 2);
    EXPECT_EQ(timesReceived("+447700900002"), 0);

    // Idle again (what reached the modem while the run lasted is the run's to keep): an answer
    // to the campaign is read, and filed under it.
    ASSERT_TRUE(waitFor([&] { return errors.contains("SMS Sending process is finished."); }));
    write("+447700900003", "See you at 8!");
    ASSERT_TRUE(waitFor([&] { return replies().size() == 3 && events("deleted") == 3; }))
        << errors.toStdString();
    EXPECT_EQ(replies().at(2).value("campaign").toInteger(), id.toLongLong());

    // A store that refuses: the message stays on the SIM, the worker says why.
    const int freed = events("deleted");
    ASSERT_TRUE(storeRefuses("Not now"));
    write("+447700900004", "Not now");
    ASSERT_TRUE(waitFor([&] { return errors.contains("could not be kept"); })) << errors.toStdString();
    EXPECT_TRUE(errors.contains("disk is full")) << errors.toStdString();
    EXPECT_EQ(events("deleted"), freed);
    EXPECT_EQ(replies().size(), 3);
    // Room again: the next pass keeps it and frees its place.
    ASSERT_TRUE(storeRefuses({}));
    ASSERT_TRUE(waitFor([&] { return replies().size() == 4 && events("deleted") == freed + 1; }))
        << errors.toStdString();

    ::kill(pid_t(worker->processId()), SIGINT);
    ASSERT_TRUE(worker->waitForFinished(30000));
    EXPECT_EQ(worker->exitCode(), 0) << errors.toStdString();
    EXPECT_EQ(bulksms({"inbox", "--json"}).size(), 4);
}

TEST_F(WorkerRepliesTest, WithNoReceiveTheSimIsLeftAlone) {
    worker = start({"worker", "--json", "--no-receive"});
    write("+447700900001", "Anyone there?");
    ASSERT_TRUE(waitFor([&] { return events("delivered") == 1; }));
    // Long enough for several passes had it been reading (one every 3 s at this scale).
    waitFor([] { return false; }, 8000);
    EXPECT_TRUE(replies().isEmpty());
    EXPECT_EQ(events("deleted"), 0);
    ::kill(pid_t(worker->processId()), SIGINT);
    ASSERT_TRUE(worker->waitForFinished(30000));
}

} // namespace
