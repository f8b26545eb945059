// Whole sending runs of the command-line tool where data or the data folder are at risk: a
// second copy on the same data folder, a run killed and followed by a plain new run, a record
// that cannot be written (a full disk). Over everything, the virtual network must see every
// recipient once: nobody twice, nobody missed.
#include "SenderFixture.h"
#include "core/FileUtils.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

namespace {

class SendingSafetyTest : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        startModems(2, behaviour, QStringLiteral("35800000000009"));
    }

    // Waits for the end; its exit status, and what it wrote to standard error in `errors`.
    int finish(QProcess& process) {
        EXPECT_TRUE(process.waitForFinished(120000));
        errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    // Started with the n-th modem alone, slow enough (a second's rest is 300 ms) for others to
    // come while it sends.
    std::unique_ptr<QProcess> startThrough(int modem, const QStringList& arguments) {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(
            senderEnvironment(home.path(), QStringLiteral("0.3"), {modems.at(size_t(modem))->devicePath()}));
        process->start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }
    int run(const QStringList& arguments, qint64 fileSizeLimit = -1) {
        auto process = start(arguments, fileSizeLimit);
        return finish(*process);
    }

    static QStringList sendArguments(const QStringList& numbers) {
        QStringList arguments{"send", "--message", "m", "--yes"};
        for (const QString& number : numbers)
            arguments << "--to" << number;
        return arguments;
    }
    static QStringList numbers(int count, int first) {
        QStringList out;
        for (int i = 0; i < count; ++i)
            out << QStringLiteral("+4477009%1").arg(first + i, 5, 10, QLatin1Char('0'));
        return out;
    }
    QString dataFolder() const { return home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA"; }
    // The recipients a resume reported of unknown fate (not sent again without being asked).
    QStringList unknownIn(const QString& output) const {
        QStringList unknown;
        for (const QString& line : output.split('\n'))
            if (line.contains("Unknown (may have been sent)"))
                unknown << line.section('\t', 0, 0);
        return unknown;
    }

    QString errors;
};

bool waitFor(const std::function<bool()>& condition, int seconds = 60) {
    for (int i = 0; i < seconds * 20; ++i) {
        if (condition())
            return true;
        QThread::msleep(50);
    }
    return condition();
}

TEST_F(SendingSafetyTest, TwoSendersOnOneDataFolderShareACampaignAndNobodyIsTextedTwice) {
    const QStringList everyone = numbers(24, 100);
    auto sender = startThrough(0, sendArguments(everyone));
    ASSERT_TRUE(waitFor([&] { return received() >= 2; }));
    // A worker on the same data folder, with a modem of its own, takes up the send's campaign.
    auto helper = startThrough(1, {"worker", "--until-idle"});
    EXPECT_EQ(finish(*sender), 0) << errors.toStdString();
    EXPECT_EQ(finish(*helper), 0) << errors.toStdString();
    for (const QString& number : everyone)
        EXPECT_EQ(timesReceived(number), 1) << number.toStdString();
    EXPECT_GT(modems.at(1)->received().size(), 0U);
    EXPECT_FALSE(unfinishedRunLeft());
}

TEST_F(SendingSafetyTest, AKilledRunIsResumedNeverReplaced) {
    const QStringList first = numbers(24, 100);
    auto sender = start(sendArguments(first), -1, QStringLiteral("0.3"));
    ASSERT_TRUE(waitFor([&] { return received() >= 2; }));
    ::kill(pid_t(sender->processId()), SIGKILL);
    sender->waitForFinished();
    ASSERT_TRUE(unfinishedRunLeft());
    const int beforeKill = received();
    EXPECT_LT(beforeKill, first.size());

    // A plain new run does not replace the unfinished one's record.
    EXPECT_EQ(run(sendArguments(numbers(3, 600))), 2);
    EXPECT_TRUE(errors.contains("--resume")) << errors.toStdString();
    EXPECT_TRUE(errors.contains("--discard-unfinished")) << errors.toStdString();
    EXPECT_EQ(received(), beforeKill);

    // The resume finishes the first run: everyone once, those reported of unknown fate at most once.
    EXPECT_EQ(run({"send", "--resume", "--yes"}), 0) << errors.toStdString();
    const QStringList unknown = unknownIn(errors);
    EXPECT_LE(unknown.size(), 2); // at most one in the hands of each modem at the kill
    for (const QString& number : first)
        if (unknown.contains(number))
            EXPECT_LE(timesReceived(number), 1) << number.toStdString();
        else
            EXPECT_EQ(timesReceived(number), 1) << number.toStdString();
    EXPECT_FALSE(unfinishedRunLeft());

    // With nothing left unfinished, a plain run sends again.
    EXPECT_EQ(run(sendArguments(numbers(2, 700))), 0) << errors.toStdString();
    for (const QString& number : numbers(2, 700))
        EXPECT_EQ(timesReceived(number), 1);
}

TEST_F(SendingSafetyTest, AnUnfinishedRunIsDiscardedOnlyWhenAskedTo) {
    const QStringList first = numbers(12, 100);
    auto sender = start(sendArguments(first), -1, QStringLiteral("0.3"));
    ASSERT_TRUE(waitFor([&] { return received() >= 1; }));
    ::kill(pid_t(sender->processId()), SIGKILL);
    sender->waitForFinished();

    EXPECT_EQ(run(sendArguments(numbers(2, 800)) << "--resume"
                                                 << "--discard-unfinished"),
              2);
    EXPECT_TRUE(unfinishedRunLeft());
    EXPECT_EQ(run(sendArguments(numbers(2, 800)) << "--discard-unfinished"), 0) << errors.toStdString();
    EXPECT_TRUE(errors.contains("was discarded")) << errors.toStdString();
    for (const QString& number : numbers(2, 800))
        EXPECT_EQ(timesReceived(number), 1);
    EXPECT_FALSE(unfinishedRunLeft());
}

TEST_F(SendingSafetyTest, ARecordThatCannotBeWrittenStopsTheRunAndTheResumeTextsNobodyTwice) {
    const QStringList recipients = numbers(30, 100);

    // Not even the store fits: nothing goes out.
    EXPECT_EQ(run(sendArguments(recipients), 200), 4);
    EXPECT_TRUE(errors.contains("Campaigns.db")) << errors.toStdString();
    EXPECT_EQ(received(), 0);
    EXPECT_FALSE(unfinishedRunLeft());

    // The store (made, every table in it) and the run's start fit, a few messages' records do
    // (about 35 kB of write-ahead file each), then the disk is full.
    ASSERT_EQ(run({"campaign", "list"}), 0) << errors.toStdString();
    EXPECT_EQ(run(sendArguments(recipients), storeSize() + 150000), 4);
    EXPECT_TRUE(errors.contains("Sending stopped: the run could not be recorded")) << errors.toStdString();
    const int sentBeforeTheDiskFilled = received();
    EXPECT_GT(sentBeforeTheDiskFilled, 0);
    EXPECT_LT(sentBeforeTheDiskFilled, recipients.size());
    // Nothing reached the network without the store knowing it was handed over.
    QSet<QString> reached;
    for (const auto& modem : modems)
        for (const sim::ReceivedMessage& message : modem->received())
            reached.insert(message.number);
    EXPECT_EQ(reached, handedOver());

    // Once the disk has room, the resume sends the rest: everyone exactly once.
    EXPECT_EQ(run({"send", "--resume", "--yes"}), 0) << errors.toStdString();
    for (const QString& number : recipients)
        EXPECT_EQ(timesReceived(number), 1) << number.toStdString();
    EXPECT_FALSE(unfinishedRunLeft());
}

TEST_F(SendingSafetyTest, SentItemsThatCannotBeSavedStopTheRun) {
    // The sent items are nearly at the limit; the run's own record is far from it.
    const qint64 limit = 2000000;
    const QByteArray line = "\a+447700900001\vearlier message\a01/01/2026\vMessage sent successfully.\n";
    QByteArray earlier;
    while (earlier.size() + line.size() < limit - 20)
        earlier += line;
    ASSERT_TRUE(QDir().mkpath(dataFolder()));
    ASSERT_TRUE(writeFileAtomically(dataFolder() + "/SentItem.OSTREL", earlier));
    const QStringList recipients = numbers(10, 100);
    EXPECT_EQ(run(sendArguments(recipients) << "--save-sent-items", limit), 4);
    EXPECT_TRUE(errors.contains("Sending stopped: the sent items could not be saved"))
        << errors.toStdString();
    EXPECT_TRUE(errors.contains("SentItem.OSTREL")) << errors.toStdString();
    EXPECT_LT(received(), recipients.size());
    // What was kept stays whole: no line cut off where the disk filled.
    QFile kept(dataFolder() + "/SentItem.OSTREL");
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    const QByteArray content = kept.readAll();
    EXPECT_TRUE(content.startsWith(earlier));
    EXPECT_TRUE(content.endsWith('\n'));

    EXPECT_EQ(run({"send", "--resume", "--yes"}), 0) << errors.toStdString();
    for (const QString& number : recipients)
        EXPECT_EQ(timesReceived(number), 1) << number.toStdString();
}

} // namespace
