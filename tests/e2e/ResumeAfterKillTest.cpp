// A sending run killed with SIGKILL at random moments, or meeting a full disk, and resumed
// each time: over all of it, every recipient reaches the network exactly once, except messages
// the store reports of unknown fate (being handed over at the kill): sent again on request,
// each such report may add one copy, never more.
#include "SenderFixture.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

namespace {

class ResumeAfterKillTest : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 100;
        startModems(2, behaviour, QStringLiteral("35800000000007"));
    }
};

TEST_F(ResumeAfterKillTest, EveryRecipientOnceWhateverMomentTheRunIsKilled) {
    constexpr int kKills = 50;
    constexpr int kRecipients = 10;
    int kills = 0, fullDisks = 0;
    for (int run = 0; kills < kKills; ++run) {
        QStringList numbers;
        QStringList arguments{"send", "--message", "Hello again", "--yes"};
        for (int i = 0; i < kRecipients; ++i) {
            numbers << QStringLiteral("+4477%1%2")
                           .arg(run, 3, 10, QLatin1Char('0'))
                           .arg(i, 5, 10, QLatin1Char('0'));
            arguments << "--to" << numbers.last();
        }
        QStringList unknown; // reported of unknown fate at some resume
        const auto anyReceived = [&] {
            for (const QString& number : numbers)
                if (timesReceived(number) > 0)
                    return true;
            return false;
        };
        constexpr int kKillsPerRun = 6; // then the run is let come to its end
        int killsThisRun = 0;
        QStringList history; // each attempt's end, told when the run never comes to its end
        for (int attempt = 0; attempt < 40; ++attempt) {
            // Without an unfinished run in the store the run either had not begun (nothing reached
            // the network: the operator starts it again) or had come to its end.
            const bool begun = unfinishedRunLeft();
            if (!begun && attempt > 0 && anyReceived())
                break;
            // Now and then the disk is full: the resumed run's record fits in part, or not at all
            // (a write-ahead file of about 35 kB per message). The first resume always meets one
            // that leaves no room at all, so that a slow machine's few resumes cannot miss it.
            const bool firstFullDisk = begun && fullDisks == 0;
            const bool fullDisk = firstFullDisk || (begun && QRandomGenerator::global()->bounded(4) == 0);
            const qint64 limit = firstFullDisk ? 4096
                                               : (fullDisk ? QRandomGenerator::global()->bounded(
                                                                 qint64(4096), largestStoreFile() + 150000)
                                                           : -1);
            auto process = start(
                begun ? QStringList{"send", "--resume", "--resend-unknown", "--yes"} : arguments, limit);
            if (!fullDisk && kills < kKills && killsThisRun < kKillsPerRun) {
                QThread::msleep(QRandomGenerator::global()->bounded(50, 900));
                if (process->state() == QProcess::Running) {
                    ::kill(pid_t(process->processId()), SIGKILL);
                    ++kills;
                    ++killsThisRun;
                }
            }
            ASSERT_TRUE(process->waitForFinished(120000));
            const QString errors = QString::fromUtf8(process->readAllStandardError());
            history << QStringLiteral("%1 exit %2/%3 limit %4: %5")
                           .arg(begun ? "resume" : "send")
                           .arg(int(process->exitStatus()))
                           .arg(process->exitCode())
                           .arg(limit)
                           .arg(errors.trimmed().section('\n', -1));
            for (const QString& line : errors.split('\n'))
                if (line.contains("Unknown (may have been sent)"))
                    unknown << line.section('\t', 0, 0);
            if (process->exitStatus() == QProcess::NormalExit && process->exitCode() == 4) {
                // Stopped because its record could not be written: the store keeps it to resume.
                ASSERT_TRUE(fullDisk) << errors.toStdString();
                ASSERT_TRUE(errors.contains("Campaigns.db")) << errors.toStdString();
                ++fullDisks;
                continue;
            }
            if (process->exitStatus() == QProcess::NormalExit) {
                ASSERT_LE(process->exitCode(), 1) << errors.toStdString();
                break;
            }
        }
        ASSERT_FALSE(unfinishedRunLeft()) << "run " << run << " never came to its end:\n"
                                          << history.join('\n').toStdString();
        for (const QString& number : numbers) {
            const int times = timesReceived(number);
            // Each extra copy is one the store reported of unknown fate and the operator sent again.
            EXPECT_GE(times, 1) << number.toStdString();
            EXPECT_LE(times, 1 + unknown.count(number)) << number.toStdString();
        }
    }
    EXPECT_GT(fullDisks, 0); // the full disk was met, not only the kills
}

} // namespace
