#include "StoreWindowsFixture.h"
#include "core/FileUtils.h"
#include "list/DefaultCountry.h"
#include "stores/ExclusionFiles.h"
#include "stores/windows/Exclusion_Wizard.h"
#include "stores/windows/Update_Ex_Num.h"

#include <QFileInfo>

namespace {

const QString kContinue = "\nAre you sure you want to continue";

class ExclusionTest : public StoreWindowsTest {
protected:
    void SetUp() override {
        StoreWindowsTest::SetUp();
        wizard.actOn(windows.get());
    }
    Exclusion_Wizard& opened() {
        wizard.startLoading();
        wizard.waitForLoading();
        EXPECT_TRUE(spinUntil([&] { return !wizard.loading(); }));
        return wizard;
    }
    // New list with these numbers, finished with Yes.
    void createList(const QString& name, const QStringList& numbers) {
        wizard.New_List_Btn();
        wizard.setNameField(name);
        wizard.OnContinue();
        ASSERT_EQ(wizard.screen(), Exclusion_Wizard::Screen::Numbers);
        for (const QString& n : numbers) {
            wizard.setNumberField(n);
            wizard.Add_Number_Btn();
        }
        op.answerYes();
        wizard.Finish_Btn();
        ASSERT_EQ(wizard.screen(), Exclusion_Wizard::Screen::Start);
    }
    QString listFile(const QString& name) const {
        return home.folder.Exclusion_Folder_Path() + "/" + name + ".OSTREL";
    }
    DefaultCountry country;
    Exclusion_Wizard wizard{op, home.folder, country};
};

TEST(ExclusionFiles, ValidNames) {
    for (const char* good : {"Staff", "R & D", "a.b", "Ελλάδα", "x"})
        EXPECT_TRUE(IsValidFileName(QString::fromUtf8(good))) << good;
    for (const char* bad :
         {"", "   ", "a/b", "a\\b", "a?", "50%", "a*", "a|b", "\"q\"", "<a>", "a:b", "tab\there", "Ünïcode"})
        EXPECT_FALSE(IsValidFileName(QString::fromUtf8(bad))) << bad;
    EXPECT_FALSE(IsValidFileName(QString(QChar(0xE9)))); // 128..255
    EXPECT_TRUE(IsValidFileName(QString(50, 'n')));
    EXPECT_FALSE(IsValidFileName(QString(51, 'n')));
}

TEST_F(ExclusionTest, CreatingAListWritesItsFileAndTheIndexButDoesNotApplyIt) {
    opened();
    createList("Staff", {"+44 20 7946 0958", "5550100"});
    EXPECT_TRUE(readAll(home.folder.ExListIndex_File_Path()).endsWith("Staff\n"));
    EXPECT_EQ(readAll(listFile("Staff")), "+442079460958\n5550100\n");
    EXPECT_EQ(permissionsOf(listFile("Staff")), 0600u);
    EXPECT_EQ(wizard.availableLists(), QStringList{"Staff"});
    EXPECT_TRUE(wizard.appliedLists().isEmpty());
    EXPECT_EQ(readAll(home.folder.AppExclusion_File_Path()), "");
    EXPECT_EQ(op.questions(), QStringList{kContinue});
}

TEST_F(ExclusionTest, NameAndNumberChecks) {
    opened();
    createList("Staff", {"1"});
    wizard.New_List_Btn();
    for (const char* name : {"", "a:b", "why?", "ExListIndex", "Staff"}) {
        wizard.setNameField(name);
        wizard.OnContinue();
    }
    EXPECT_EQ(wizard.screen(), Exclusion_Wizard::Screen::NameEntry);
    wizard.setNameField(" Team ");
    wizard.OnContinue();
    EXPECT_EQ(wizard.currentListCaption(), "Team");
    for (const char* number : {"44+2079", "", "+1+2", "abc", "5550100", "5550100"}) {
        wizard.setNumberField(number);
        wizard.Add_Number_Btn();
    }
    EXPECT_EQ(wizard.numbers(), QStringList{"5550100"});
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nPlease enter exclusion list name.", "\nPlease enter a valid name.",
                           "\nPlease enter a valid name.", "\nPlease enter the another name.",
                           "\nEntered exclusion list name already exists.", "\n" + kInvalidExclusionNumber,
                           "\n" + kInvalidExclusionNumber, "\n" + kInvalidExclusionNumber,
                           "\n" + kInvalidExclusionNumber, "\n" + kExclusionNumberExists}));
}

TEST_F(ExclusionTest, AppliedListsReachTheMainWindowsExclusionSet) {
    opened();
    createList("Staff", {"111", "222"});
    createList("Other", {"333"});
    gsm->Exclusion_Chk(true);
    EXPECT_TRUE(gsm->exclusionSet().isEmpty());
    wizard.setAvailableSelection({0});
    wizard.Add_Selected_Btn();
    EXPECT_TRUE(wizard.update_app_ex);
    op.answerYes();
    wizard.Save_Btn();
    EXPECT_EQ(readAll(home.folder.AppExclusion_File_Path()), "Staff\n");
    EXPECT_TRUE(gsm->Check_Exclusion_Number("111"));
    EXPECT_FALSE(gsm->Check_Exclusion_Number("333"));
    // The list refuses those numbers now.
    gsm->setNumberField("222");
    gsm->Add_number_To_List();
    EXPECT_TRUE(gsm->list().isEmpty());

    wizard.setAvailableSelection({0});
    wizard.Add_Selected_Btn();
    wizard.Add_All_Btn();
    wizard.Add_All_Btn();
    EXPECT_EQ(wizard.appliedLists(), (QStringList{"Staff", "Other"}));
    EXPECT_EQ(op.alerts().mid(1), (QStringList{"\nSelected list is already in use.",
                                               "\nAll available lists are already in use."}));
}

TEST_F(ExclusionTest, RenamingAnAppliedListRenamesItsFileAndItsEntries) {
    opened();
    createList("Staff", {"111"});
    wizard.setAvailableSelection({0});
    wizard.Add_Selected_Btn();
    op.answerYes();
    wizard.Save_Btn();

    wizard.setAvailableSelection({0});
    wizard.OnUpdate();
    EXPECT_EQ(wizard.numbers(), QStringList{"111"});
    wizard.setRenameField("Crew");
    op.answerYes();
    wizard.Rename_Btn();
    EXPECT_FALSE(QFileInfo::exists(listFile("Staff")));
    EXPECT_EQ(readAll(listFile("Crew")), "111\n");
    EXPECT_EQ(readAll(home.folder.ExListIndex_File_Path()), "Crew\n");
    EXPECT_EQ(readAll(home.folder.AppExclusion_File_Path()), "Crew\n");
    EXPECT_EQ(wizard.currentListCaption(), "Crew");
}

TEST_F(ExclusionTest, DeletingAnAppliedListRemovesItEverywhere) {
    opened();
    createList("Staff", {"111"});
    createList("Keep", {"222"});
    wizard.Add_All_Btn();
    op.answerYes();
    wizard.Save_Btn();
    wizard.setAvailableSelection({0});
    op.answerYes();
    wizard.Delete_List_Btn();
    EXPECT_EQ(readAll(home.folder.ExListIndex_File_Path()), "Keep\n");
    EXPECT_EQ(readAll(home.folder.AppExclusion_File_Path()), "Keep\n");
    EXPECT_FALSE(QFileInfo::exists(listFile("Staff")));
    EXPECT_EQ(wizard.appliedLists(), QStringList{"Keep"});
}

TEST_F(ExclusionTest, ClosingWithNoDiscardsUnsavedNumbersAndAppliedLists) {
    opened();
    createList("Staff", {"111"});
    wizard.Add_All_Btn();
    wizard.setAvailableSelection({0});
    wizard.OnUpdate();
    wizard.setNumberField("999");
    wizard.Add_Number_Btn();
    op.answerNo();
    wizard.Close_Btn();
    EXPECT_TRUE(wizard.isEnded());
    EXPECT_EQ(readAll(listFile("Staff")), "111\n");
    EXPECT_EQ(readAll(home.folder.AppExclusion_File_Path()), "");
}

TEST_F(ExclusionTest, NumbersFromFilesTheEditorAndRemoval) {
    opened();
    wizard.New_List_Btn();
    wizard.setNameField("Loaded");
    wizard.OnContinue();
    writeFile("n.txt", "{+1 555 0100}\n5550101\nnot a number\n5550101\n");
    op.chooseFile(path("n.txt")).chooseFile(path("n.txt")).chooseFile(path("missing.txt"));
    wizard.Load_File_Btn();
    EXPECT_EQ(wizard.numbers(), (QStringList{"+15550100", "5550101"}));
    wizard.Load_File_Btn(); // all duplicates
    wizard.Load_File_Btn();
    EXPECT_EQ(op.alerts(), (QStringList{"\n" + kExclusionLoadFailed, "\nPlease select a valid file."}));
    op.clearTranscript();

    wizard.setNumberSelection({1});
    op.onModal<Update_Ex_Num>([](Update_Ex_Num& d) {
        d.setNumber("+15550100");
        d.OKPressed();
        EXPECT_FALSE(d.isEnded());
        d.setNumber("1+2");
        d.OKPressed();
        d.setNumber("(555) 0199");
        d.OKPressed();
    });
    wizard.Update_Number_Btn();
    EXPECT_EQ(wizard.numbers(), (QStringList{"+15550100", "5550199"}));
    EXPECT_EQ(op.alerts(), (QStringList{"\n" + kExclusionNumberExists, "\n" + kInvalidExclusionNumber}));
    wizard.setNumberSelection({0});
    wizard.Remove_Numbers_Btn();
    EXPECT_EQ(wizard.numbers(), QStringList{"5550199"});
    EXPECT_EQ(wizard.numberCountLabel(), "Total Numbers : 1");
}

TEST_F(ExclusionTest, WithADefaultCountryOneSubscriberIsOneNumberHoweverWritten) {
    ASSERT_TRUE(country.set("GB"));
    opened();
    wizard.New_List_Btn();
    wizard.setNameField("Opted out");
    wizard.OnContinue();
    for (const char* number : {"+44 7911 123456", "07911 123456", "447911123456", "07911 123457"}) {
        wizard.setNumberField(number);
        wizard.Add_Number_Btn();
    }
    EXPECT_EQ(wizard.numbers(), (QStringList{"+447911123456", "07911123457"}));
    writeFile("n.txt", "0044 7911 123456\n(07911) 123457\n");
    op.chooseFile(path("n.txt"));
    wizard.Load_File_Btn(); // both already there
    EXPECT_EQ(op.alerts(), (QStringList{"\n" + kExclusionNumberExists, "\n" + kExclusionNumberExists,
                                        "\n" + kExclusionLoadFailed}));
    op.clearTranscript();

    // A number written anew is no duplicate of itself; another's number still is.
    wizard.setNumberSelection({0});
    op.onModal<Update_Ex_Num>([](Update_Ex_Num& d) {
        d.setNumber("+447911123457");
        d.OKPressed();
        EXPECT_FALSE(d.isEnded());
        d.setNumber("07911123456");
        d.OKPressed();
    });
    wizard.Update_Number_Btn();
    EXPECT_EQ(wizard.numbers(), (QStringList{"07911123456", "07911123457"}));
    EXPECT_EQ(op.alerts(), QStringList{"\n" + kExclusionNumberExists});

    // Without a country, numbers compare as written again.
    country.set(QString());
    wizard.setNumberField("+447911123456");
    wizard.Add_Number_Btn();
    EXPECT_EQ(wizard.numbers().size(), 3);
}

TEST_F(ExclusionTest, BackFromANewListsNumbersReturnsToItsName) {
    opened();
    wizard.New_List_Btn();
    wizard.setNameField("Draft");
    wizard.OnContinue();
    wizard.Back_Btn();
    EXPECT_EQ(wizard.screen(), Exclusion_Wizard::Screen::NameEntry);
    wizard.Back_Btn();
    EXPECT_EQ(wizard.screen(), Exclusion_Wizard::Screen::Start);
    EXPECT_EQ(wizard.screenText(), kExclusionStartText);
}

TEST_F(ExclusionTest, HostileIndexLinesAreIgnored) {
    ASSERT_TRUE(writeFileAtomically(home.folder.ExListIndex_File_Path(), "../../etc/passwd\nGood\n\n  \n"));
    opened();
    EXPECT_EQ(wizard.availableLists(), QStringList{"Good"});
}

} // namespace
