#include "core/FileUtils.h"

#include "FullDisk.h"
#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <cstring>
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
// whichever way the content is written: the old file keeps every byte, the temporary file is
// gone, and the reason names the file and the system's error.
TEST(FileUtils, RewriteOnAFullDiskLeavesTheOldFileAndSaysWhy) {
    const QByteArray big(200 * 1024, 'n'); // more than the limit allows
    const struct {
        const char* writer;
        std::function<QString(const QString& path)> write; // the error text
    } cases[] = {
        {"writeFileAtomically",
         [&](const QString& path) {
             QString error;
             return writeFileAtomically(path, big, &error) ? QString() : error;
         }},
        {"AtomicFileWriter in pieces",
         [&](const QString& path) {
             AtomicFileWriter writer(path);
             for (qsizetype at = 0; at < big.size() && writer.write(big.mid(at, 1024));)
                 at += 1024;
             return writer.commit() ? QString() : writer.errorText();
         }},
        {"replaceFileDurably, a producer writing by name",
         [&](const QString& path) {
             QString error;
             const bool replaced = replaceFileDurably(
                 path,
                 [&](const QString& temporaryPath, QString& reason) {
                     QFile file(temporaryPath);
                     if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
                         file.write(big) == big.size())
                         return true;
                     reason = QString::fromLocal8Bit(std::strerror(EFBIG));
                     return false;
                 },
                 &error);
             return replaced ? QString() : error;
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.writer);
        QTemporaryDir dir;
        const QString path = dir.path() + "/SentItem.OSTREL";
        const QByteArray old = "\aold\vmessage\a01/01/2025\vMessage sent successfully.\n";
        ASSERT_TRUE(writeFileAtomically(path, old));
        const QString error = inChildWithFileSizeLimit(64 * 1024, [&] { return c.write(path); });
        EXPECT_EQ(error, path + ": File too large");
        EXPECT_EQ(readAll(path), old);
        EXPECT_EQ(filesIn(dir.path()), QStringList{"SentItem.OSTREL"});
    }
}

TEST(FileUtils, AWriterDroppedBeforeCommitLeavesNothing) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/SentItem.OSTREL";
    ASSERT_TRUE(writeFileAtomically(path, "old\n"));
    {
        AtomicFileWriter writer(path);
        ASSERT_TRUE(writer.write("half of a new"));
    } // a crash of the caller, as far as the file is concerned
    EXPECT_EQ(readAll(path), "old\n");
    EXPECT_EQ(filesIn(dir.path()), QStringList{"SentItem.OSTREL"});
}

// Places the writer cannot put a file: the temporary file cannot be made (a folder it may not
// write in), or the rename is refused (a folder stands where the file should go). The reason
// names the target; nothing of the attempt stays.
TEST(FileUtils, ARewriteThatCannotBePlacedSaysWhy) {
    QTemporaryDir dir;
    ASSERT_EQ(::chmod(QFile::encodeName(dir.path()).constData(), 0755), 0); // reachable by "nobody"
    const QString locked = dir.path() + "/locked";
    ASSERT_TRUE(QDir().mkpath(locked));
    ASSERT_TRUE(writeFileAtomically(locked + "/list.OSTREL", "old\n"));
    ASSERT_EQ(::chmod(QFile::encodeName(locked + "/list.OSTREL").constData(), 0644), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(locked).constData(), 0555), 0);
    const QString folderNamed = dir.path() + "/report.txt";
    ASSERT_TRUE(QDir().mkpath(folderNamed + "/inside"));

    const struct {
        QString path;
        bool asAnotherUser; // root may write anywhere
        QString error;
    } cases[] = {
        {locked + "/list.OSTREL", true, locked + "/list.OSTREL: Permission denied"},
        {folderNamed, false, folderNamed + ": Is a directory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        const QString error = inChildWithFileSizeLimit(
            -1,
            [&] {
                QString why;
                return writeFileAtomically(c.path, "new\n", &why) ? QStringLiteral("written") : why;
            },
            c.asAnotherUser);
        EXPECT_EQ(error, c.error);
    }
    EXPECT_EQ(readAll(locked + "/list.OSTREL"), "old\n");
    EXPECT_EQ(filesIn(locked), QStringList{"list.OSTREL"});
    EXPECT_TRUE(QFileInfo(folderNamed + "/inside").isDir());
    EXPECT_EQ(filesIn(dir.path()), QStringList{});
    ::chmod(QFile::encodeName(locked).constData(), 0755);
}

TEST(FileUtils, AProducersFileEndsUpPrivateWhateverItMade) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/book.xlsx";
    ::umask(022);
    QString error = "unset";
    ASSERT_TRUE(replaceFileDurably(
        path,
        [](const QString& temporaryPath, QString&) {
            // As a library that removes and creates the file it is given would.
            QFile::remove(temporaryPath);
            QFile file(temporaryPath);
            return file.open(QIODevice::WriteOnly) && file.write("PK") == 2;
        },
        &error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(readAll(path), "PK");
    EXPECT_EQ(permissionsOf(path), 0600u);
    EXPECT_EQ(filesIn(dir.path()), QStringList{"book.xlsx"});

    // A producer that gives up without a reason of its own still gets the file named.
    EXPECT_FALSE(replaceFileDurably(
        path, [](const QString&, QString&) { return false; }, &error));
    EXPECT_EQ(error, path + ": not written completely");
    EXPECT_EQ(readAll(path), "PK");
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
    const QString path = dir.path() + "/SentItem.OSTREL";
    const QByteArray old(100, 'o');
    ASSERT_TRUE(writeFileAtomically(path, old));
    const QString missing = dir.path() + "/missing";
    const struct {
        QString path;
        qint64 limit;
        QString error;
    } cases[] = {
        {path, 150, path + ": File too large"},                  // 50 bytes fit, then EFBIG
        {path, 100, path + ": File too large"},                  // nothing fits
        {"/dev/full", -1, "/dev/full: No space left on device"}, // ENOSPC
        {missing, -1, missing + ": No such file or directory"},  // appends never create
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        EXPECT_EQ(inChildWithFileSizeLimit(c.limit,
                                           [&] {
                                               QString why;
                                               return appendToFile(c.path, QByteArray(200, 'x') + '\n', &why)
                                                          ? QStringLiteral("appended")
                                                          : why;
                                           }),
                  c.error);
        EXPECT_EQ(readAll(path), old);
    }
    EXPECT_FALSE(QFileInfo::exists(missing));
}

} // namespace
