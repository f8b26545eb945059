// Campaigns made for later, sent by a worker at their time and not a moment before, with the
// time of day moved by the test (a day passes in seconds): across a restart of the worker, a
// cancelled one never sent, a rescheduled one sent at its new time.
#include "SenderFixture.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/SqlDatabase.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "sim/ModemCommands.h"

#include <QDir>

#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <csignal>

namespace {

class ScheduledCampaignTest : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        startModems(1, behaviour, "35800000000012");
        setNow("2026-11-26T15:00:00Z");
    }
    QProcessEnvironment timed() const {
        QProcessEnvironment env = environment();
        env.insert("BULKSMS_FAKE_NOW_FILE", home.filePath("now"));
        return env;
    }
    void setNow(const char* time) { ASSERT_TRUE(writeFileAtomically(home.filePath("now"), time)); }
    QStringList bulksms(const QStringList& arguments) {
        int exitCode = -1;
        QString errors;
        const QStringList out = runToEnd(timed(), arguments, exitCode, errors);
        EXPECT_EQ(exitCode, 0) << errors.toStdString();
        return out;
    }
    qint64 create(const QString& text, const QString& at) {
        return bulksms({"campaign", "create", "--to", "+447400123456", "--to", "+447400123457", "--message",
                        text, "--at", at})
            .value(0)
            .toLongLong();
    }
    QJsonObject campaign(qint64 id) {
        return QJsonDocument::fromJson(
                   bulksms({"campaign", "show", QString::number(id), "--json"}).value(0).toUtf8())
            .object();
    }
    std::unique_ptr<QProcess> worker() {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(timed());
        process->start(QStringLiteral(BULKSMS_EXECUTABLE), {"worker"});
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }
    static void stop(QProcess& process) {
        ::kill(pid_t(process.processId()), SIGINT);
        EXPECT_TRUE(process.waitForFinished(30000));
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    }
    bool receivedWithin(int count, int milliseconds) {
        for (int waited = 0; waited < milliseconds && received() < count; waited += 20)
            QThread::msleep(20);
        return received() >= count;
    }
    QStringList texts() const {
        QStringList all;
        for (const sim::ReceivedMessage& message : modems.front()->received())
            all << message.text;
        return all;
    }
};

TEST_F(ScheduledCampaignTest, ACampaignForTomorrowMorningGoesThenAndNotBefore) {
    const qint64 tomorrow = create("See you at nine", "2026-11-27T09:00:00Z");
    const qint64 cancelled = create("Never", "2026-11-27T09:00:00Z");
    const qint64 later = create("A day later", "2026-11-27T09:00:00Z");
    ASSERT_GT(tomorrow, 0);
    EXPECT_EQ(campaign(tomorrow).value("state").toString(), "scheduled");
    bulksms({"campaign", "cancel", QString::number(cancelled)});
    bulksms({"campaign", "reschedule", QString::number(later), "--at", "2026-11-28T09:00:00Z"});
    EXPECT_EQ(QDateTime::fromString(campaign(later).value("start_at").toString(), Qt::ISODate).toUTC(),
              QDateTime::fromString("2026-11-28T09:00:00Z", Qt::ISODate));

    // The afternoon before, then the night: nothing goes, across a restart of the worker.
    auto first = worker();
    EXPECT_FALSE(receivedWithin(1, 1500));
    stop(*first);
    setNow("2026-11-27T08:59:30Z");
    auto second = worker();
    EXPECT_FALSE(receivedWithin(1, 500)); // half a minute of the faked clock, and more
    // Its time comes: the worker sends it; the cancelled and the rescheduled wait.
    setNow("2026-11-27T09:00:01Z");
    ASSERT_TRUE(receivedWithin(2, 30000));
    EXPECT_EQ(texts(), (QStringList{"See you at nine", "See you at nine"}));
    EXPECT_FALSE(receivedWithin(3, 1000));
    setNow("2026-11-28T09:00:01Z");
    ASSERT_TRUE(receivedWithin(4, 30000));
    stop(*second);
    EXPECT_EQ(texts().mid(2), (QStringList{"A day later", "A day later"}));
    EXPECT_EQ(campaign(tomorrow).value("state").toString(), "finished");
    EXPECT_EQ(campaign(cancelled).value("state").toString(), "cancelled");

    // A time that cannot be read, and one for a campaign that is no longer waiting, are refused.
    int exitCode = -1;
    QString errors;
    runToEnd(timed(), {"campaign", "reschedule", QString::number(tomorrow), "--at", "2026-11-30T09:00:00Z"},
             exitCode, errors);
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(errors.contains("is not waiting for its time")) << errors.toStdString();
    runToEnd(timed(), {"send", "--to", "+447400123456", "--message", "x", "--at", "tomorrow"}, exitCode,
             errors);
    EXPECT_EQ(exitCode, 2);
}

// A send with quiet hours texts whom it may now, says whom it waits for and until when, and
// texts them at their own nine o'clock.
TEST_F(ScheduledCampaignTest, QuietHoursHoldByEachRecipientsClock) {
    setNow("2026-06-15T10:00:00Z"); // 11:00 in London, 06:00 in New York
    QProcess sender;
    sender.setProcessEnvironment(timed());
    sender.start(QStringLiteral(BULKSMS_EXECUTABLE),
                 {"send", "--message", "Morning", "--window", "09:00-20:00", "--to", "+447400123456", "--to",
                  "+12125550123"});
    ASSERT_TRUE(sender.waitForStarted());
    ASSERT_TRUE(receivedWithin(1, 30000));
    QByteArray errors;
    for (int waited = 0; waited < 30000 && !errors.contains("America/New_York"); waited += 20) {
        sender.waitForReadyRead(20);
        errors += sender.readAllStandardError();
    }
    EXPECT_TRUE(errors.contains("Waiting for 09:00 in America/New_York (1 recipient)."))
        << errors.constData();
    EXPECT_EQ(received(), 1);
    setNow("2026-06-15T13:00:05Z");
    ASSERT_TRUE(sender.waitForFinished(30000));
    EXPECT_EQ(sender.exitCode(), 0) << sender.readAllStandardError().toStdString();
    EXPECT_EQ(modems.front()->received().last().number, "+12125550123");

    // Windows and zones that cannot be read are refused before anything is sent.
    int exitCode = -1;
    QString why;
    runToEnd(timed(), {"send", "--to", "+447400123456", "--message", "x", "--window", "9-5"}, exitCode, why);
    EXPECT_EQ(exitCode, 2);
    runToEnd(timed(),
             {"send", "--to", "+447400123456", "--message", "x", "--window", "09:00-17:00", "--window-zone",
              "Mars/Base"},
             exitCode, why);
    EXPECT_EQ(exitCode, 2);
    EXPECT_EQ(received(), 2);
}

// A SIM kept at 3 messages a minute (its settings) sends no more than that in any minute of the
// faked clock, counted in the store; the other modem, without a limit, takes the rest.
TEST_F(ScheduledCampaignTest, ASimsLimitHoldsInEveryMinuteAndTheOthersTakeTheRest) {
    sim::ModemBehaviour slow;     // the unlimited modem takes a while per message, so both send
    slow.networkDelayMs = 250000; // on this process's shrunk clock: a quarter of a second
    startModems(1, slow, "35800000000013");
    sim::ModemIdentity limitedSim;
    limitedSim.imei = "358000000000120"; // the first modem's, as SetUp made it
    const QString key = "iccid:" + sim::ModemCommands::iccidOf(limitedSim);
    const QString data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA";
    ASSERT_TRUE(QDir().mkpath(data));
    ASSERT_TRUE(writeFileAtomically(
        data + "/Settings.json",
        QJsonDocument(
            QJsonObject{{"devices", QJsonObject{{key, QJsonObject{{"limits", QJsonObject{{"minute", 3}}}}}}}})
            .toJson()));
    QStringList to;
    for (int i = 0; i < 20; ++i)
        to << "--to" << QStringLiteral("+4474001234%1").arg(i, 2, 10, QLatin1Char('0'));
    bulksms(QStringList{"send", "--message", "Limited"} + to);
    EXPECT_EQ(received(), 20);

    QString why;
    qputenv("BULKSMS_DATA_HOME", home.path().toLocal8Bit());
    const std::shared_ptr<CampaignStore> store =
        CampaignStore::forFolder(DataFolder::fromEnvironment(), &why);
    qunsetenv("BULKSMS_DATA_HOME");
    ASSERT_TRUE(store) << why.toStdString();
    QList<qint64> times;
    ASSERT_TRUE(store->read([&](SqlDatabase& db) {
        QList<SqlRow> rows;
        if (!db.exec("SELECT sent_at FROM items WHERE device_key = ? ORDER BY sent_at", {key}, &rows))
            return false;
        for (const SqlRow& row : rows)
            times << row.value(0).toLongLong();
        return true;
    }));
    EXPECT_GE(times.size(), 4) << "the limit was never met"; // more than one minute's worth
    EXPECT_LT(times.size(), 20);                             // the other modem took the rest
    for (qsizetype i = 3; i < times.size(); ++i)
        EXPECT_GE(times.at(i) - times.at(i - 3), 60 * 1000) << "4 messages within a minute";
    EXPECT_EQ(modems.front()->received().size(), times.size());
}

// An hour's limit is the SIM's, whichever worker sends: a second worker after the first finds
// it used up, rests (and says until when), and goes on once the hour has passed.
TEST_F(ScheduledCampaignTest, AnHoursLimitHoldsAcrossTwoWorkers) {
    sim::ModemIdentity sim;
    sim.imei = "358000000000120";
    const QString data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA";
    ASSERT_TRUE(QDir().mkpath(data));
    ASSERT_TRUE(writeFileAtomically(
        data + "/Settings.json",
        QJsonDocument(
            QJsonObject{{"devices", QJsonObject{{"iccid:" + sim::ModemCommands::iccidOf(sim),
                                                 QJsonObject{{"limits", QJsonObject{{"hour", 3}}}}}}}})
            .toJson()));
    // A first worker sends a campaign of three and ends.
    bulksms({"campaign", "create", "--message", "First", "--to", "+447400123401", "--to", "+447400123402",
             "--to", "+447400123403"});
    bulksms({"worker", "--until-idle"});
    EXPECT_EQ(received(), 3);

    // A second worker, through the same SIM, finds its hour used up.
    bulksms({"campaign", "create", "--message", "Second", "--to", "+447400123404", "--to", "+447400123405"});
    QProcess second;
    second.setProcessEnvironment(timed());
    second.start(QStringLiteral(BULKSMS_EXECUTABLE), {"worker", "--until-idle"});
    ASSERT_TRUE(second.waitForStarted());
    QByteArray errors;
    for (int waited = 0; waited < 30000 && !errors.contains("resting until"); waited += 20) {
        second.waitForReadyRead(20);
        errors += second.readAllStandardError();
    }
    EXPECT_TRUE(errors.contains("At its limit of messages; resting until")) << errors.constData();
    EXPECT_EQ(received(), 3);
    setNow("2026-11-26T16:30:00Z");
    ASSERT_TRUE(second.waitForFinished(30000));
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    EXPECT_EQ(received(), 5);
}

} // namespace
