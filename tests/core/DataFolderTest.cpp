#include "core/DataFolder.h"
#include "core/TroubleshootingLog.h"

#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

QStringList layoutFiles(const DataFolder& folder) {
    return {folder.SentItem_File_Path(), folder.SentItemAnd_File_Path(), folder.Templates_File_Path(),
            folder.AppExclusion_File_Path(), folder.ExListIndex_File_Path()};
}

class DataFolderTest : public ::testing::Test {
protected:
    void SetUp() override { ::umask(022); }
    TestDataHome home;
};

TEST_F(DataFolderTest, PathsFollowTheDataHome) {
    const DataFolder fromEnvironment = DataFolder::fromEnvironment();
    EXPECT_EQ(fromEnvironment.Resource_Path(), home.resources());
    EXPECT_EQ(fromEnvironment.Created_Resource_Path(), home.dataHome() + "/Ostrel Bulk SMS");
    EXPECT_EQ(home.folder.Created_Resource_Path(), home.dataHome() + "/Ostrel Bulk SMS");
    EXPECT_EQ(home.folder.Bulk_SMS_Data_Folder_Path(),
              home.folder.Created_Resource_Path() + "/BULK_SMS_DATA");
    EXPECT_EQ(home.folder.ExListIndex_File_Path(),
              home.folder.Bulk_SMS_Data_Folder_Path() + "/Exclusion/ExListIndex.OSTREL");
    EXPECT_EQ(home.folder.Troubleshooting_Log_Path(),
              home.folder.Created_Resource_Path() + "/Troubleshooting_Log.txt");
}

TEST_F(DataFolderTest, FirstLaunchCreatesTheWholeLayoutPrivateToTheUser) {
    ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    for (const QString& folder :
         {home.folder.Bulk_SMS_Data_Folder_Path(), home.folder.Exclusion_Folder_Path()}) {
        EXPECT_TRUE(QFileInfo(folder).isDir()) << folder.toStdString();
        EXPECT_EQ(permissionsOf(folder), 0700u) << folder.toStdString();
    }
    for (const QString& file : layoutFiles(home.folder)) {
        EXPECT_TRUE(QFileInfo(file).isFile()) << file.toStdString();
        EXPECT_EQ(QFileInfo(file).size(), 0) << file.toStdString();
        EXPECT_EQ(permissionsOf(file), 0600u) << file.toStdString();
    }
    EXPECT_TRUE(QFileInfo::exists(home.folder.Troubleshooting_Log_Path()));
}

TEST_F(DataFolderTest, LaterCallsKeepDataAndTheTroubleshootingLogByteForByte) {
    ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    int n = 0;
    for (const QString& file : layoutFiles(home.folder))
        writeBytes(file, QByteArray("record ") + QByteArray::number(++n) + "\n\xE2\x82\xAC");
    ::chmod(QFile::encodeName(home.folder.SentItem_File_Path()).constData(),
            0777); // as earlier versions left it
    ::chmod(QFile::encodeName(home.folder.Bulk_SMS_Data_Folder_Path()).constData(), 0777);
    Write_In_Troubleshoot_File("Execute Case 1");
    Write_In_Troubleshoot_File(QString::fromUtf8(" \xC3\xA9"));
    EXPECT_EQ(readAll(home.folder.Troubleshooting_Log_Path()),
              "Execute Case 1 \xC3\xA9"); // appended, no line breaks added

    ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    n = 0;
    for (const QString& file : layoutFiles(home.folder))
        EXPECT_EQ(readAll(file), QByteArray("record ") + QByteArray::number(++n) + "\n\xE2\x82\xAC");
    EXPECT_EQ(permissionsOf(home.folder.SentItem_File_Path()), 0600u); // content kept, mode narrowed
    EXPECT_EQ(permissionsOf(home.folder.Bulk_SMS_Data_Folder_Path()), 0700u);
    EXPECT_EQ(readAll(home.folder.Troubleshooting_Log_Path()),
              "Execute Case 1 \xC3\xA9"); // never emptied here
    EXPECT_EQ(permissionsOf(home.folder.Troubleshooting_Log_Path()), 0600u);
}

TEST_F(DataFolderTest, AFailedStepStopsTheRestAndTheNextCallTriesAgain) {
    ASSERT_TRUE(QDir().mkpath(home.folder.Bulk_SMS_Data_Folder_Path()));
    // A dangling link where the second file belongs: refused, never followed to create its target.
    ASSERT_EQ(::symlink("/nonexistent-folder/x",
                        QFile::encodeName(home.folder.SentItemAnd_File_Path()).constData()),
              0);
    Write_In_Troubleshoot_File("old");

    EXPECT_FALSE(home.folder.Check_Path_And_Create_Files());
    EXPECT_TRUE(QFileInfo::exists(home.folder.SentItem_File_Path()));
    EXPECT_FALSE(QFileInfo::exists(home.folder.Templates_File_Path()));
    EXPECT_FALSE(QFileInfo::exists(home.folder.AppExclusion_File_Path()));
    EXPECT_FALSE(QFileInfo::exists(home.folder.Exclusion_Folder_Path()));
    // Kept all the same (the failure's log line follows what it held).
    EXPECT_TRUE(readAll(home.folder.Troubleshooting_Log_Path()).startsWith("old"))
        << readAll(home.folder.Troubleshooting_Log_Path()).constData();

    ::unlink(QFile::encodeName(home.folder.SentItemAnd_File_Path()).constData());
    EXPECT_TRUE(home.folder.Check_Path_And_Create_Files());
    EXPECT_TRUE(QFileInfo::exists(home.folder.ExListIndex_File_Path()));
}

TEST_F(DataFolderTest, UnwritableTroubleshootingLogIsSkippedSilently) {
    const QString unreachable = home.root() + "/no-such-folder/log.txt";
    setTroubleshootingLogPath(unreachable);
    Write_In_Troubleshoot_File("x");
    ensureTroubleshootingLog(unreachable);
    EXPECT_FALSE(QFileInfo::exists(unreachable));
}

} // namespace
