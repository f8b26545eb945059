// Symbolic links planted in the data tree: no reader or writer goes through one, the operator
// is told which file it is, and what the link points at keeps every byte and its mode.
#include "core/DataFolder.h"
#include "core/DataTreePrivacy.h"
#include "core/FileUtils.h"
#include "core/NoFollowPaths.h"

#include "TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool makeLink(const QString& target, const QString& link) {
    return ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()) == 0;
}

void writeBytes(const QString& path, const QByteArray& bytes, mode_t mode = 0644) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    ASSERT_EQ(f.write(bytes), bytes.size());
    f.close();
    ::chmod(QFile::encodeName(path).constData(), mode);
}

bool isLink(const QString& path) {
    struct stat st {};
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 && S_ISLNK(st.st_mode);
}

class DataTreeLinksTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        ASSERT_TRUE(QDir().mkpath(outsideFolder));
        writeBytes(outsideFile, secret);
        writeBytes(outsideFolder + "/ExListIndex.OSTREL", "Staff\n");
        writeBytes(outsideFolder + "/Staff.OSTREL", secret);
    }
    // Everything outside the data tree, as it must stay.
    QString snapshot() const {
        QString all;
        for (const QString& path :
             {outsideFile, outsideFolder + "/ExListIndex.OSTREL", outsideFolder + "/Staff.OSTREL"})
            all += path + " " + QString::number(permissionsOf(path), 8) + " " +
                   QString::fromUtf8(readAll(path)) + "\n";
        return all + QDir(outsideFolder).entryList(QDir::AllEntries | QDir::Hidden).join(',');
    }

    TestDataHome home;
    const QString outsideFile = home.root() + "/someone-elses.txt";
    const QString outsideFolder = home.root() + "/elsewhere";
    const QByteArray secret = "\a+447700900001\vnot ours\a01/01/2025\vkept\n";
};

TEST_F(DataTreeLinksTest, NoReaderOrWriterGoesThroughALinkAndEachNamesIt) {
    const QString staff = home.folder.Exclusion_Folder_Path() + "/Staff.OSTREL";
    const struct {
        const char* what;
        QString file; // the data file read and written
        QString link; // the link planted on its way
        QString target;
        bool layoutRefused; // home.folder.Check_Path_And_Create_Files() meets it
    } cases[] = {
        {"sent items", home.folder.SentItem_File_Path(), home.folder.SentItem_File_Path(), outsideFile, true},
        {"templates", home.folder.Templates_File_Path(), home.folder.Templates_File_Path(), outsideFile,
         true},
        {"an exclusion list", staff, staff, outsideFile, false},
        {"the exclusion folder", staff, home.folder.Exclusion_Folder_Path(), outsideFolder, true},
    };
    const QString before = snapshot();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QDir(c.link).removeRecursively();
        QFile::remove(c.link);
        ASSERT_TRUE(makeLink(c.target, c.link));
        const QString refusal = c.link + ": a symbolic link, which this program does not follow";

        QByteArray content = "stale";
        QString why;
        EXPECT_FALSE(readPrivateFile(c.file, &content, &why));
        EXPECT_EQ(why.toStdString(), refusal.toStdString());
        EXPECT_TRUE(content.isEmpty());
        EXPECT_FALSE(appendToFile(c.file, "+447700900099\n", &why));
        EXPECT_EQ(why.toStdString(), refusal.toStdString());
        EXPECT_FALSE(writeFileAtomically(c.file, "+447700900099\n", &why));
        EXPECT_EQ(why.toStdString(), refusal.toStdString());
        AtomicFileWriter pieces(c.file);
        pieces.write("+447700900099\n");
        EXPECT_FALSE(pieces.commit(&why));
        EXPECT_EQ(why.toStdString(), refusal.toStdString());
        EXPECT_FALSE(createEmptyFile(c.file, &why));
        EXPECT_EQ(why.toStdString(), refusal.toStdString());
        EXPECT_FALSE(renameFile(c.file, home.folder.Bulk_SMS_Data_Folder_Path() + "/moved", &why));
        EXPECT_EQ(why.toStdString(), refusal.toStdString());
        EXPECT_EQ(home.folder.Check_Path_And_Create_Files(), !c.layoutRefused);
        EXPECT_TRUE(makeDataTreePrivate(home.folder).contains(refusal));

        EXPECT_TRUE(isLink(c.link)); // refused, not replaced
        EXPECT_EQ(snapshot(), before);
        Delete_File(c.file); // the link itself may go, never what it points at
        EXPECT_EQ(snapshot(), before);
        QFile::remove(c.link);
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    }
}

TEST_F(DataTreeLinksTest, ExportsOutsideTheDataTreeStillReplaceALinkAndLeaveItsTarget) {
    const QString report = home.root() + "/report.txt";
    ASSERT_TRUE(makeLink(outsideFile, report));
    QString why;
    ASSERT_TRUE(writeFileAtomically(report, "report\n", &why)) << why.toStdString();
    EXPECT_FALSE(isLink(report));
    EXPECT_EQ(readAll(report), "report\n");
    EXPECT_EQ(readAll(outsideFile), secret);
}

// Earlier versions left the tree open to everyone: every folder becomes 0700 and every file
// 0600, the tree's own top included; links are named, and neither followed nor changed.
TEST_F(DataTreeLinksTest, StartUpNarrowsTheTreeAndLeavesWhatLinksPointAt) {
    const QString staff = home.folder.Exclusion_Folder_Path() + "/Staff.OSTREL",
                  log = home.folder.Created_Resource_Path() + "/build.prop";
    writeBytes(staff, "+447700900002\n", 0644);
    writeBytes(log, "x", 0666);
    const QStringList folders = {home.folder.Created_Resource_Path(), home.folder.Bulk_SMS_Data_Folder_Path(),
                                 home.folder.Exclusion_Folder_Path()};
    const QStringList files = {home.folder.SentItem_File_Path(), home.folder.ExListIndex_File_Path(), staff,
                               log};
    for (const QString& folder : folders)
        ::chmod(QFile::encodeName(folder).constData(), 0755);
    for (const QString& file : files)
        ::chmod(QFile::encodeName(file).constData(), 0644);
    const QString toFile = home.folder.Bulk_SMS_Data_Folder_Path() + "/Linked.OSTREL",
                  toFolder = home.folder.Created_Resource_Path() + "/Old";
    ASSERT_TRUE(makeLink(outsideFile, toFile) && makeLink(outsideFolder, toFolder));
    ::chmod(QFile::encodeName(outsideFolder).constData(), 0755);
    const QString before = snapshot();

    const QStringList problems = makeDataTreePrivate(home.folder);
    for (const QString& folder : folders)
        EXPECT_EQ(permissionsOf(folder), 0700u) << folder.toStdString();
    for (const QString& file : files)
        EXPECT_EQ(permissionsOf(file), 0600u) << file.toStdString();
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(permissionsOf(outsideFolder), 0755u);
    EXPECT_EQ(problems.size(), 2);
    EXPECT_TRUE(problems.contains(symbolicLinkRefusal(toFile)));
    EXPECT_TRUE(problems.contains(symbolicLinkRefusal(toFolder)));
    EXPECT_EQ(readAll(staff), "+447700900002\n");

    // The top itself a link: nothing below it is reached.
    QDir(home.folder.Created_Resource_Path()).removeRecursively();
    ASSERT_TRUE(makeLink(outsideFolder, home.folder.Created_Resource_Path()));
    EXPECT_EQ(makeDataTreePrivate(home.folder),
              QStringList{symbolicLinkRefusal(home.folder.Created_Resource_Path())});
    EXPECT_FALSE(ensurePrivateItem(home.folder.Bulk_SMS_Data_Folder_Path(), PrivateItem::Folder));
    EXPECT_FALSE(ensurePrivateItem(home.folder.SentItem_File_Path(), PrivateItem::EmptyFile));
    EXPECT_EQ(snapshot(), before);
}

} // namespace
