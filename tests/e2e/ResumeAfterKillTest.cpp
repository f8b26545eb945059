// A sending run killed with SIGKILL at random moments, or meeting a full disk, and resumed
// each time: over all of it, every recipient reaches the network exactly once, except messages
// the journal reports of unknown fate (being handed over at the kill): sent again on request,
// each such report may add one copy, never more.
#include "FullDisk.h"
#include "sim/VirtualModem.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

namespace {

class ResumeAfterKillTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 2; ++i) {
            sim::ModemIdentity id;
            id.imei = QStringLiteral("35800000000007%1").arg(i);
            sim::ModemBehaviour behaviour;
            behaviour.networkDelayMs = 100;
            modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
            ASSERT_TRUE(modems.back()->start());
        }
    }

    // Starts the sender; returns it running. `fileSizeLimit` >= 0: its files cannot grow past it.
    std::unique_ptr<QProcess> start(const QStringList& arguments, qint64 fileSizeLimit = -1) {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("BULKSMS_DATA_HOME", home.path());
        env.insert("BULKSMS_RESOURCES", home.path() + "/resources");
        env.insert("BULKSMS_CLOCK_SCALE", "0.05");
        env.insert("BULKSMS_EXTRA_MODEMS", modems.at(0)->devicePath() + ":" + modems.at(1)->devicePath());
        process->setProcessEnvironment(env);
        if (fileSizeLimit >= 0)
            limitFileSizeOfChild(*process, fileSizeLimit);
        process->start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
        process->waitForStarted();
        return process;
    }

    int timesReceived(const QString& number) const {
        int count = 0;
        for (const auto& modem : modems)
            for (const sim::ReceivedMessage& message : modem->received())
                count += message.number == number;
        return count;
    }

    QTemporaryDir home;
    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
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
        const QString journal = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA/Run_Journal.jsonl";
        const auto anyReceived = [&] {
            for (const QString& number : numbers)
                if (timesReceived(number) > 0)
                    return true;
            return false;
        };
        constexpr int kKillsPerRun = 6; // then the run is let come to its end
        int killsThisRun = 0;
        for (int attempt = 0; attempt < 40; ++attempt) {
            // Without a journal the run either had not begun (nothing reached the network: the
            // operator starts it again) or had come to its end.
            const bool begun = QFile::exists(journal);
            if (!begun && attempt > 0 && anyReceived())
                break;
            // Now and then the disk is full: the resumed run's journal fits in part, or not at all.
            const bool fullDisk = begun && QRandomGenerator::global()->bounded(4) == 0;
            const qint64 limit = fullDisk ? QRandomGenerator::global()->bounded(
                                                qint64(64), std::max<qint64>(65, QFileInfo(journal).size()))
                                          : -1;
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
            for (const QString& line : errors.split('\n'))
                if (line.contains("Unknown (may have been sent)"))
                    unknown << line.section('\t', 0, 0);
            if (process->exitStatus() == QProcess::NormalExit && process->exitCode() == 4) {
                // Stopped because its record could not be written: the journal is left to resume.
                ASSERT_TRUE(fullDisk) << errors.toStdString();
                ASSERT_TRUE(errors.contains("could not be recorded")) << errors.toStdString();
                ++fullDisks;
                continue;
            }
            if (process->exitStatus() == QProcess::NormalExit) {
                ASSERT_LE(process->exitCode(), 1) << errors.toStdString();
                break;
            }
        }
        ASSERT_FALSE(QFile::exists(journal)) << "run " << run << " never came to its end";
        for (const QString& number : numbers) {
            const int times = timesReceived(number);
            // Each extra copy is one the journal reported of unknown fate and the operator sent again.
            EXPECT_GE(times, 1) << number.toStdString();
            EXPECT_LE(times, 1 + unknown.count(number)) << number.toStdString();
        }
    }
    EXPECT_GT(fullDisks, 0); // the full disk was met, not only the kills
}

} // namespace
