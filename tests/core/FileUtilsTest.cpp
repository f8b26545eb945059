#include "core/FileUtils.h"

#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

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
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"list.OSTREL"}); // no temporary left
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
// and a writer dropped before commit (a crash): either way the old file is intact.
TEST(FileUtils, RewriteFailingHalfWayLeavesTheOldFileIntact) {
    QTemporaryDir dir;
    const QString path = dir.path() + "/SentItem.OSTREL";
    const QByteArray old = "\aold\vmessage\a01/01/2025\vMessage sent successfully.\n";
    ASSERT_TRUE(writeFileAtomically(path, old));

    {
        rlimit saved{};
        ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
        const auto previousHandler = ::signal(SIGXFSZ, SIG_IGN);
        rlimit small = saved;
        small.rlim_cur = 64 * 1024;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        AtomicFileWriter writer(path);
        bool allWritten = true;
        for (int i = 0; i < 200 && allWritten; ++i) // 200 KiB, more than the limit allows
            allWritten = writer.write(QByteArray(1024, 'n'));
        const bool committed = writer.commit();
        ::setrlimit(RLIMIT_FSIZE, &saved);
        ::signal(SIGXFSZ, previousHandler);
        EXPECT_FALSE(allWritten);
        EXPECT_FALSE(committed);
    }
    EXPECT_EQ(readAll(path), old);

    {
        AtomicFileWriter writer(path);
        ASSERT_TRUE(writer.write("half of a new"));
    } // dropped without commit
    EXPECT_EQ(readAll(path), old);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"SentItem.OSTREL"});
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

TEST(FileUtils, AppendToMissingFileFails) {
    QTemporaryDir dir;
    EXPECT_FALSE(appendToFile(dir.path() + "/missing", "x"));
    EXPECT_FALSE(QFileInfo::exists(dir.path() + "/missing"));
}

} // namespace
