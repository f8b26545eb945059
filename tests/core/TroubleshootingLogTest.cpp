// The troubleshooting log: where every log line goes (never syslog, standard error only when
// asked), private to the user, bounded by its cap with the newest half kept from a line start,
// never written through a symbolic link, and whole lines from threads and processes at once.
#include "core/TroubleshootingLog.h"
#include "core/DataFolder.h"
#include "core/Log.h"

#include "FullDisk.h"
#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// What a trim must leave of old: the lines that lie wholly within its last `half` bytes.
QByteArray linesWithin(const QByteArray& old, qsizetype half) {
    if (old.size() <= half)
        return old;
    const qsizetype start = old.size() - half;
    if (old.at(start - 1) == '\n')
        return old.mid(start);
    const qsizetype lineBreak = old.indexOf('\n', start);
    return lineBreak < 0 ? QByteArray() : old.mid(lineBreak + 1);
}

class TroubleshootingLogTest : public ::testing::Test {
protected:
    void SetUp() override {
        ::umask(022);
        ASSERT_TRUE(QDir().mkpath(home.folder.Created_Resource_Path()));
        log = home.folder.Troubleshooting_Log_Path();
    }
    TestDataHome home;
    QString log;
};

TEST_F(TroubleshootingLogTest, LogLinesGoToTheLogAndToStandardErrorOnlyWhenAsked) {
    testing::internal::CaptureStderr();
    Show_NSLog_Message(QStringLiteral("Write (5) \"AT+CMGS=\"+447700900421\"\"\n"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), ""); // the default: nothing on standard error
    flushTroubleshootingLog();                             // written by the log's own thread
    const QByteArray written = readAll(log);
    EXPECT_TRUE(
        QRegularExpression(
            R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3} NSLOG : Write \(5\) "AT\+CMGS="\+447700900421""\n$)")
            .match(QString::fromUtf8(written))
            .hasMatch())
        << written.constData();
    EXPECT_EQ(permissionsOf(log), 0600u);

    setLogToStandardError(true);
    testing::internal::CaptureStderr();
    Show_NSLog_Message(QStringLiteral("Read (5) \"OK\""));
    const std::string verbose = testing::internal::GetCapturedStderr();
    setLogToStandardError(false);
    EXPECT_EQ(verbose, "NSLOG : Read (5) \"OK\"\n");
    flushTroubleshootingLog();
    EXPECT_TRUE(readAll(log).endsWith(" NSLOG : Read (5) \"OK\"\n"));
}

TEST_F(TroubleshootingLogTest, AppendsPastTheCapKeepTheNewestHalfFromALineStart) {
    constexpr qint64 cap = 1000;
    QByteArray before;
    int trims = 0;
    for (int i = 0; i < 300; ++i) {
        // Lines of differing lengths, so that the cut falls inside a line as often as not.
        const QByteArray line = "entry " + QByteArray::number(i) + ' ' + QByteArray(i % 37, 'x') + '\n';
        ASSERT_TRUE(appendToTroubleshootingLog(log, line, cap)) << i;
        const QByteArray after = readAll(log);
        ASSERT_LE(after.size(), cap) << i;
        if (before.size() + line.size() > cap) {
            ++trims;
            ASSERT_EQ(after, linesWithin(before, cap / 2) + line) << i;
            ASSERT_GE(after.size(), cap / 2 - 47 + line.size()) << i; // only the cut line is lost of the half
        } else {
            ASSERT_EQ(after, before + line) << i;
        }
        ASSERT_EQ(permissionsOf(log), 0600u) << i; // a trim's new file too
        before = after;
    }
    EXPECT_GE(trims, 10);
    EXPECT_TRUE(before.startsWith("entry ")); // from a line start
    EXPECT_EQ(QDir(home.folder.Created_Resource_Path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{"Troubleshooting_Log.txt"}); // no temporary file left

    // An entry longer than half the cap keeps its newest lines only: the cap holds.
    QByteArray longEntry;
    for (int i = 0; i < 100; ++i)
        longEntry += "long " + QByteArray::number(i) + '\n';
    ASSERT_GT(longEntry.size(), cap / 2);
    ASSERT_TRUE(appendToTroubleshootingLog(log, longEntry, cap));
    const QByteArray after = readAll(log);
    EXPECT_LE(after.size(), cap);
    EXPECT_TRUE(after.endsWith(linesWithin(longEntry, cap / 2))) << after.constData();
    EXPECT_FALSE(after.contains("long 0\n"));
}

TEST_F(TroubleshootingLogTest, ALogOpenToOthersIsNarrowedAndItsContentKept) {
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("from an earlier version\n");
    file.close();
    ASSERT_EQ(::chmod(QFile::encodeName(log).constData(), 0644), 0);
    home.folder.Check_Path_And_Create_Files();
    EXPECT_EQ(permissionsOf(log), 0600u);
    ASSERT_EQ(::chmod(QFile::encodeName(log).constData(), 0666), 0);
    Write_In_Troubleshoot_File(QStringLiteral("Execute Case 1\n"));
    EXPECT_EQ(permissionsOf(log), 0600u);
    EXPECT_EQ(readAll(log), "from an earlier version\nExecute Case 1\n");
}

TEST_F(TroubleshootingLogTest, ASymbolicLinkInPlaceOfTheLogIsNeverWrittenThrough) {
    const QString victim = home.root() + "/victim.txt";
    QFile file(victim);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(2000, 'v') + '\n'); // past the cap below: a trim would rewrite it
    file.close();
    ASSERT_EQ(::chmod(QFile::encodeName(victim).constData(), 0644), 0);
    ASSERT_EQ(::symlink(QFile::encodeName(victim).constData(), QFile::encodeName(log).constData()), 0);

    EXPECT_FALSE(appendToTroubleshootingLog(log, "secret +447700900421\n", 1000));
    Write_In_Troubleshoot_File(QStringLiteral("secret\n"));
    Show_NSLog_Message(QStringLiteral("secret"));
    flushTroubleshootingLog();
    home.folder.Check_Path_And_Create_Files();
    EXPECT_EQ(readAll(victim), QByteArray(2000, 'v') + '\n');
    EXPECT_EQ(permissionsOf(victim), 0644u);
    EXPECT_TRUE(QFileInfo(log).isSymLink());

    // A dangling link: nothing is created where it points.
    const QString nowhere = home.root() + "/nowhere.txt";
    ASSERT_EQ(::unlink(QFile::encodeName(log).constData()), 0);
    ASSERT_EQ(::symlink(QFile::encodeName(nowhere).constData(), QFile::encodeName(log).constData()), 0);
    Write_In_Troubleshoot_File(QStringLiteral("secret\n"));
    home.folder.Check_Path_And_Create_Files();
    EXPECT_FALSE(QFileInfo::exists(nowhere));
}

TEST_F(TroubleshootingLogTest, ThreadsAppendWholeLinesUnderAndOverTheCap) {
    for (const qint64 cap : {kTroubleshootingLogCap, qint64(4096)}) {
        SCOPED_TRACE(cap);
        QFile::remove(log);
        constexpr int kThreads = 8, kLines = 150;
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < kLines; ++i)
                    appendToTroubleshootingLog(
                        log, "thread " + QByteArray::number(t) + " line " + QByteArray::number(i) + " end\n",
                        cap);
            });
        for (std::thread& thread : threads)
            thread.join();
        const QByteArray all = readAll(log);
        EXPECT_LE(all.size(), cap);
        EXPECT_TRUE(all.endsWith('\n'));
        const QList<QByteArray> lines = all.chopped(1).split('\n');
        const QRegularExpression whole(QStringLiteral("^thread \\d line \\d+ end$"));
        for (const QByteArray& line : lines)
            ASSERT_TRUE(whole.match(QString::fromLatin1(line)).hasMatch()) << line.constData();
        if (cap == kTroubleshootingLogCap) {
            EXPECT_EQ(lines.size(), kThreads * kLines); // nothing lost below the cap
        }
        EXPECT_EQ(permissionsOf(log), 0600u);
    }
}

// Another process holds the log's lock (flock(1), as a second copy of the program would) and
// meanwhile puts a new file in its place, as its trim does: this process waits, then appends to
// the file that is there, not to the one it opened first.
TEST_F(TroubleshootingLogTest, AnotherProcessHoldingTheLockIsWaitedForAndItsReplacementFollowed) {
    ASSERT_TRUE(appendToTroubleshootingLog(log, "first\n", 1000));
    const QString before = home.root() + "/before.txt";
    ASSERT_EQ(::link(QFile::encodeName(log).constData(), QFile::encodeName(before).constData()), 0);
    QProcess other;
    other.start(
        "flock",
        {log, "-c",
         QStringLiteral("echo locked; sleep 1; printf 'other\\n' > '%1.new'; mv '%1.new' '%1'").arg(log)});
    ASSERT_TRUE(other.waitForReadyRead(10000)) << other.errorString().toStdString();
    bool written = false;
    std::thread writer([&] { written = appendToTroubleshootingLog(log, "mine\n", 1000); });
    ASSERT_TRUE(other.waitForFinished(10000));
    writer.join();
    EXPECT_TRUE(written);
    EXPECT_EQ(readAll(log), "other\nmine\n");
    EXPECT_EQ(readAll(before), "first\n"); // the replaced file got nothing
}

// The disk is full: an append that fits in part only is taken back, and a trim whose rewrite
// fails leaves the log as it was and the entry out. The durable writer's report of its failure,
// a log line too, does not come back into the log it is writing (nor wait forever for the lock
// this thread holds).
TEST_F(TroubleshootingLogTest, AnEntryTheDiskCannotTakeLeavesTheLogAsItWas) {
    QByteArray old;
    for (int i = 0; i < 7; ++i) {
        const QByteArray line = QByteArray(99, char('a' + i)) + '\n';
        ASSERT_TRUE(appendToTroubleshootingLog(log, line, 1000));
        old += line;
    }
    ASSERT_EQ(readAll(log), old);
    const struct {
        const char* name;
        qint64 limit; // the size no file may grow past
        QByteArray entry;
        bool reported; // the durable writer said why
    } cases[] = {
        {"appended in part", 750, QByteArray(99, 'p') + '\n', false},
        // What a trim keeps (500 bytes) and the entry do not fit in the new file.
        {"trimmed", 300, QByteArray(399, 't') + '\n', true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString outcome = inChildWithFileSizeLimit(c.limit, [&] {
            LogCapture capture;
            const bool written = appendToTroubleshootingLog(log, c.entry, 1000);
            return QStringLiteral("%1 %2").arg(written).arg(capture.contains(log + ": File too large"));
        });
        EXPECT_EQ(outcome, QStringLiteral("0 %1").arg(c.reported));
        EXPECT_EQ(readAll(log), old);
        EXPECT_EQ(QDir(home.folder.Created_Resource_Path()).entryList(QDir::Files | QDir::Hidden),
                  QStringList{"Troubleshooting_Log.txt"});
    }
}

} // namespace
