// The stored lists' windows with a symbolic link planted for their file: each tells the
// operator which file it is, shows nothing from it, writes nothing through it, and a send
// whose exclusion lists cannot be read is refused.
#include "StoreWindowsFixture.h"
#include "core/FileUtils.h"
#include "list/DefaultCountry.h"
#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"
#include "stores/windows/Exclusion_Wizard.h"
#include "stores/windows/Sent_Items.h"
#include "stores/windows/Templates.h"

#include <QDir>

#include <unistd.h>

namespace {

class StoreLinksTest : public StoreWindowsTest {
protected:
    void SetUp() override {
        StoreWindowsTest::SetUp();
        ASSERT_TRUE(QDir().mkpath(path("elsewhere")));
        for (const QString& name : {QString("outside.txt"), QString("elsewhere/Staff.OSTREL")})
            writeFile(name, "\a+447700900001\vnot ours\a01/01/2025\vkept\n");
        writeFile("elsewhere/ExListIndex.OSTREL", "Staff\n");
        before = outside();
    }
    void plant(const QString& target, const QString& link) {
        QDir(link).removeRecursively();
        QFile::remove(link);
        ASSERT_EQ(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()), 0);
    }
    static QString refused(const QString& link) {
        return link + ": a symbolic link, which this program does not follow";
    }
    static QString told(const QString& link) { return "\nError in file accessing.\n" + refused(link); }
    QString outside() const {
        return QString::fromUtf8(readAll(path("outside.txt")) + readAll(path("elsewhere/Staff.OSTREL")) +
                                 readAll(path("elsewhere/ExListIndex.OSTREL"))) +
               QDir(path("elsewhere")).entryList(QDir::AllEntries | QDir::Hidden).join(',');
    }
    template <typename Window> void load(Window& window) {
        window.startLoading();
        window.waitForLoading();
        EXPECT_TRUE(spinUntil([&] { return !window.loading(); }));
    }

    QString before;
};

TEST_F(StoreLinksTest, SentItemsAndTemplatesAreNeitherShownNorSavedThroughALink) {
    plant(path("outside.txt"), home.folder.SentItem_File_Path());
    Sent_Items sent(op, home.folder);
    sent.actOn(windows.get());
    load(sent);
    EXPECT_TRUE(sent.items().isEmpty());
    sent.Close_Btn(); // the window's list would replace the file
    QString why;
    EXPECT_FALSE(appendSentItem(home.folder, home.folder.SentItem_File_Path(),
                                {"+447700900002", "Hi", "02/02/2025", "sent"}, &why));
    EXPECT_EQ(why, refused(home.folder.SentItem_File_Path()));
    EXPECT_EQ(op.alerts(),
              (QStringList{told(home.folder.SentItem_File_Path()), told(home.folder.SentItem_File_Path())}));

    plant(path("outside.txt"), home.folder.Templates_File_Path());
    Templates templates(op, home.folder);
    templates.actOn(windows.get());
    load(templates);
    EXPECT_TRUE(templates.templates().isEmpty());
    templates.Close_Btn();
    EXPECT_FALSE(TemplateFile(home.folder).appendTemplateIfNew("Hi", &why));
    EXPECT_EQ(why, refused(home.folder.Templates_File_Path()));
    EXPECT_EQ(op.alerts().mid(2), (QStringList{told(home.folder.Templates_File_Path()),
                                               told(home.folder.Templates_File_Path())}));
    EXPECT_EQ(outside(), before);
}

// An exclusion list, or the whole exclusion folder, replaced by a link: the wizard says so,
// and the main window refuses to build an exclusion set that would miss its numbers.
TEST_F(StoreLinksTest, ExclusionListsBehindALinkAreRefusedAndStopTheExclusionSet) {
    const QString staff = home.folder.Exclusion_Folder_Path() + "/Staff.OSTREL";
    ASSERT_TRUE(writeFileAtomically(home.folder.ExListIndex_File_Path(), "Staff\n"));
    ASSERT_TRUE(writeFileAtomically(home.folder.AppExclusion_File_Path(), "Staff\n"));
    plant(path("outside.txt"), staff);
    DefaultCountry country;
    Exclusion_Wizard wizard(op, home.folder, country);
    wizard.actOn(windows.get());
    load(wizard);
    wizard.setAvailableSelection({0});
    wizard.OnUpdate();
    EXPECT_TRUE(wizard.numbers().isEmpty());
    EXPECT_FALSE(gsm->Exclusion_Chk(true));
    EXPECT_EQ(op.alerts(), (QStringList{told(staff), told(staff)}));

    plant(path("elsewhere"), home.folder.Exclusion_Folder_Path());
    load(wizard);
    EXPECT_TRUE(wizard.availableLists().isEmpty());
    EXPECT_FALSE(gsm->Fill_Exclusion_Num_List());
    EXPECT_TRUE(gsm->exclusionSet().isEmpty());
    EXPECT_EQ(op.alerts().mid(2), (QStringList{told(home.folder.Exclusion_Folder_Path()),
                                               told(home.folder.Exclusion_Folder_Path())}));
    EXPECT_EQ(outside(), before);
}

} // namespace
