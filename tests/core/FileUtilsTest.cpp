#include "core/FileUtils.h"

#include "FullDisk.h"
#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

// Every temporary name the writer may have left, hidden ones included.
QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

TEST(FileUtils, CreateFolderMakesEveryMissingLevelPrivate) {
    QTemporaryDir dir;
    const QString deep = dir.path() + "/a/b/c";
    ::umask(022);
    ASSERT_TRUE(Create_Folder(deep));
    for (const QString& level : {dir.path() + "/a", dir.path() + "/a/b", deep})
        EXPECT_EQ(permissionsOf(level), 0700u) << level.toStdString();
    EXPECT_TRUE(Create_Folder(deep)); // existing: success, nothing changes
}

TEST(FileUtils, CreateFolderFailsUnderAFile) {
    QTemporaryDir dir;
    QFile blocker(dir.path() + "/file");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_FALSE(Create_Folder(dir.path() + "/file/sub"));
}

TEST(FileUtils, DeleteFileIgnoresMissingFiles) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/x.txt";
    Delete_File(path); // nothing there: no effect, no crash
    ASSERT_TRUE(createEmptyFile(path));
    Delete_File(path);
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST(FileUtils, AtomicRewriteReplacesContentWhole) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/list.OSTREL";
    ASSERT_TRUE(writeFileAtomically(path, "first\n"));
    ASSERT_TRUE(writeFileAtomically(path, "second\n"));
    EXPECT_EQ(readAll(path), "second\n");
    EXPECT_EQ(filesIn(dir.path()), QStringList{"list.OSTREL"}); // no temporary left
}

TEST(FileUtils, AtomicRewriteIsPrivateToTheUser) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/list.OSTREL";
    ASSERT_TRUE(createEmptyFile(path));
    ::chmod(QFile::encodeName(path).constData(), 0666);
    ::umask(022);
    ASSERT_TRUE(writeFileAtomically(path, "x\n"));
    EXPECT_EQ(permissionsOf(path), 0600u);
}

// The disk fills half way through a rewrite (a file size limit makes write() fail for real),
// written whole or in pieces, or the writer is dropped before commit (a crash): the old file
// keeps every byte, no temporary file stays, and a failure names the file and the reason.
TEST(FileUtils, RewriteFailingHalfWayLeavesTheOldFileAndSaysWhy) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/SentItem.OSTREL";
    const QByteArray old = "\aold\vmessage\a01/01/2025\vMessage sent successfully.\n", big(200 * 1024, 'n');
    ASSERT_TRUE(writeFileAtomically(path, old));
    const std::function<QString()> writers[] = {
        [&] {
            QString error;
            return writeFileAtomically(path, big, &error) ? QString() : error;
        },
        [&] {
            AtomicFileWriter writer(path);
            for (qsizetype at = 0; at < big.size() && writer.write(big.mid(at, 1024)); at += 1024) {
            }
            return writer.commit() ? QString() : writer.errorText();
        },
        [&] {
            AtomicFileWriter writer(path);
            return writer.write("half of a new") ? QString("dropped") : writer.errorText();
        },
    };
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(inChildWithFileSizeLimit(64 * 1024, writers[i]),
                  i == 2 ? "dropped" : path + ": File too large");
        EXPECT_EQ(readAll(path), old);
        EXPECT_EQ(filesIn(dir.path()), QStringList{"SentItem.OSTREL"});
    }
}

// The temporary file cannot be made (a folder its user may not write in), or the rename is
// refused (a folder stands where the file should go): the reason names the target.
TEST(FileUtils, ARewriteThatCannotBePlacedSaysWhy) {
    QTemporaryDir dir;
    ::chmod(QFile::encodeName(dir.path()).constData(), 0755); // reachable by "nobody"
    const QString locked = dir.path() + "/locked", folderNamed = dir.path() + "/report.txt";
    ASSERT_TRUE(QDir().mkpath(locked) && QDir().mkpath(folderNamed + "/inside"));
    ASSERT_TRUE(writeFileAtomically(locked + "/list.OSTREL", "old\n"));
    ::chmod(QFile::encodeName(locked).constData(), 0555);
    const struct {
        QString path;
        bool asAnotherUser; // root may write anywhere
        QString reason;
    } cases[] = {{locked + "/list.OSTREL", true, "Permission denied"},
                 {folderNamed, false, "Is a directory"}};
    for (const auto& c : cases)
        EXPECT_EQ(inChildWithFileSizeLimit(
                      -1,
                      [&] {
                          QString why;
                          return writeFileAtomically(c.path, "new\n", &why) ? QString("written") : why;
                      },
                      c.asAnotherUser),
                  c.path + ": " + c.reason);
    EXPECT_EQ(readAll(locked + "/list.OSTREL"), "old\n");
    EXPECT_EQ(filesIn(locked) + filesIn(dir.path()), QStringList{"list.OSTREL"});
}

TEST(FileUtils, ConcurrentAppendsKeepLinesWhole) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/log";
    ASSERT_TRUE(createEmptyFile(path));
    const QByteArray line = QByteArray(200, 'x') + "\n";
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([&] {
            for (int i = 0; i < 250; ++i)
                appendToFile(path, line);
        });
    for (auto& w : writers)
        w.join();
    const QList<QByteArray> lines = readAll(path).split('\n');
    ASSERT_EQ(lines.size(), 1001); // 1000 lines and the empty tail
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(lines[i], QByteArray(200, 'x'));
}

// An append the disk refuses: false with the file and the reason, and no part of the line
// stays behind to read as a record of its own.
TEST(FileUtils, AnAppendThatCannotBeWrittenSaysWhyAndLeavesNoHalfLine) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/SentItem.OSTREL", missing = dir.path() + "/missing";
    ASSERT_TRUE(writeFileAtomically(path, QByteArray(100, 'o')));
    const struct {
        QString path;
        qint64 limit;
        QString error;
    } cases[] = {
        {path, 150, path + ": File too large"}, // 50 bytes fit, then EFBIG
        {path, 100, path + ": File too large"}, // nothing fits
        {"/dev/full", -1, "/dev/full: No space left on device"},
        {missing, -1, missing + ": No such file or directory"}, // appends never create
    };
    for (const auto& c : cases) {
        const auto append = [&] {
            QString why;
            return appendToFile(c.path, QByteArray(200, 'x') + '\n', &why) ? QString("appended") : why;
        };
        EXPECT_EQ(inChildWithFileSizeLimit(c.limit, append), c.error);
        EXPECT_EQ(readAll(path), QByteArray(100, 'o'));
    }
    EXPECT_FALSE(QFileInfo::exists(missing));
}

} // namespace

// A data file is read whole, or not at all with the reason; a missing one reads as empty, and
// a FIFO in a file's place is refused at once instead of waiting for a writer.
TEST(FileUtils, ReadingADataFileTakesOnlyARegularFile) {
    QTemporaryDir dir;
    const QString file = dir.path() + "/Templates.OSTREL", fifo = dir.path() + "/fifo", folder = dir.path();
    const QByteArray big = QByteArray(qsizetype(200) * 1024, 'n') + "\xE2\x82\xAC\n"; // more than one read
    ASSERT_TRUE(writeFileAtomically(file, big));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const struct {
        QString path;
        bool read;
        QByteArray content;
        QString error;
    } cases[] = {
        {file, true, big, ""},
        {dir.path() + "/missing", true, "", ""},
        {fifo, false, "", fifo + ": not a regular file"},
        {folder, false, "", folder + ": not a regular file"},
    };
    for (const auto& c : cases) {
        QByteArray content = "stale";
        QString why = "stale";
        EXPECT_EQ(readPrivateFile(c.path, &content, &why), c.read) << c.path.toStdString();
        EXPECT_EQ(content, c.content) << c.path.toStdString();
        EXPECT_EQ(why.toStdString(), c.error.toStdString());
    }
}
