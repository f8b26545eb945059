#include "core/FileUtils.h"

#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

TEST(FileUtils, CreateFolderMakesEveryMissingLevelOpenToAll) {
    QTemporaryDir dir;
    const QString deep = dir.path() + "/a/b/c";
    ::umask(022);
    ASSERT_TRUE(Create_Folder(deep));
    for (const QString& level : {dir.path() + "/a", dir.path() + "/a/b", deep})
        EXPECT_EQ(permissionsOf(level), 0777u) << level.toStdString();
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
