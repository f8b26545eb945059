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

// Built anew each time: the paths follow each test's own data home.
QStringList layoutFiles() {
    return {SentItem_File_Path, SentItemAnd_File_Path, Templates_File_Path, AppExclusion_File_Path,
            ExListIndex_File_Path};
}

class DataFolderTest : public ::testing::Test {
protected:
    void SetUp() override { ::umask(022); }
    TestDataHome home;
};

TEST_F(DataFolderTest, PathsFollowTheDataHome) {
    EXPECT_EQ(Created_Resource_Path, home.dataHome() + "/Ostrel Bulk SMS");
    EXPECT_EQ(Bulk_SMS_Data_Folder_Path, Created_Resource_Path + "/BULK_SMS_DATA");
    EXPECT_EQ(ExListIndex_File_Path, Bulk_SMS_Data_Folder_Path + "/Exclusion/ExListIndex.OSTREL");
    EXPECT_EQ(Troubleshooting_Log_Path, Created_Resource_Path + "/Troubleshooting_Log.txt");
}

TEST_F(DataFolderTest, FirstLaunchCreatesTheWholeLayoutPrivateToTheUser) {
    ASSERT_TRUE(Check_Path_And_Create_Files());
    for (const QString& folder : {Bulk_SMS_Data_Folder_Path, Exclusion_Folder_Path}) {
        EXPECT_TRUE(QFileInfo(folder).isDir()) << folder.toStdString();
        EXPECT_EQ(permissionsOf(folder), 0700u) << folder.toStdString();
    }
    for (const QString& file : layoutFiles()) {
        EXPECT_TRUE(QFileInfo(file).isFile()) << file.toStdString();
        EXPECT_EQ(QFileInfo(file).size(), 0) << file.toStdString();
        EXPECT_EQ(permissionsOf(file), 0600u) << file.toStdString();
    }
    EXPECT_TRUE(QFileInfo::exists(Troubleshooting_Log_Path));
}

TEST_F(DataFolderTest, LaterCallsKeepDataAndTheTroubleshootingLogByteForByte) {
    ASSERT_TRUE(Check_Path_And_Create_Files());
    int n = 0;
    for (const QString& file : layoutFiles())
        writeBytes(file, QByteArray("record ") + QByteArray::number(++n) + "\n\xE2\x82\xAC");
    ::chmod(QFile::encodeName(SentItem_File_Path).constData(), 0777); // as earlier versions left it
    ::chmod(QFile::encodeName(Bulk_SMS_Data_Folder_Path).constData(), 0777);
    Write_In_Troubleshoot_File("Execute Case 1");
    Write_In_Troubleshoot_File(QString::fromUtf8(" \xC3\xA9"));
    EXPECT_EQ(readAll(Troubleshooting_Log_Path), "Execute Case 1 \xC3\xA9"); // appended, no line breaks added

    ASSERT_TRUE(Check_Path_And_Create_Files());
    n = 0;
    for (const QString& file : layoutFiles())
        EXPECT_EQ(readAll(file), QByteArray("record ") + QByteArray::number(++n) + "\n\xE2\x82\xAC");
    EXPECT_EQ(permissionsOf(SentItem_File_Path), 0600u); // content kept, mode narrowed
    EXPECT_EQ(permissionsOf(Bulk_SMS_Data_Folder_Path), 0700u);
    EXPECT_EQ(readAll(Troubleshooting_Log_Path), "Execute Case 1 \xC3\xA9"); // never emptied here
    EXPECT_EQ(permissionsOf(Troubleshooting_Log_Path), 0600u);
}

TEST_F(DataFolderTest, AFailedStepStopsTheRestAndTheNextCallTriesAgain) {
    ASSERT_TRUE(QDir().mkpath(Bulk_SMS_Data_Folder_Path));
    // A dangling link where the second file belongs: refused, never followed to create its target.
    ASSERT_EQ(::symlink("/nonexistent-folder/x", QFile::encodeName(SentItemAnd_File_Path).constData()), 0);
    Write_In_Troubleshoot_File("old");

    EXPECT_FALSE(Check_Path_And_Create_Files());
    EXPECT_TRUE(QFileInfo::exists(SentItem_File_Path));
    EXPECT_FALSE(QFileInfo::exists(Templates_File_Path));
    EXPECT_FALSE(QFileInfo::exists(AppExclusion_File_Path));
    EXPECT_FALSE(QFileInfo::exists(Exclusion_Folder_Path));
    // Kept all the same (the failure's log line follows what it held).
    EXPECT_TRUE(readAll(Troubleshooting_Log_Path).startsWith("old"))
        << readAll(Troubleshooting_Log_Path).constData();

    ::unlink(QFile::encodeName(SentItemAnd_File_Path).constData());
    EXPECT_TRUE(Check_Path_And_Create_Files());
    EXPECT_TRUE(QFileInfo::exists(ExListIndex_File_Path));
}

TEST_F(DataFolderTest, UnwritableTroubleshootingLogIsSkippedSilently) {
    Troubleshooting_Log_Path = home.root() + "/no-such-folder/log.txt";
    Write_In_Troubleshoot_File("x");
    EXPECT_TRUE(Check_Path_And_Create_Files());
    EXPECT_FALSE(QFileInfo::exists(Troubleshooting_Log_Path));
}

} // namespace
