// A default country: one subscriber is one number whatever its written form, numbers that
// cannot exist are refused and counted, and the choice is kept in the data folder.
#include "list/DefaultCountry.h"
#include "list/LoadCounters.h"
#include "list/NumberLoader.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "TestWindows.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

class DefaultCountryTest : public ::testing::Test {
protected:
    void SetUp() override {
        home.folder.Check_Path_And_Create_Files();
        ASSERT_TRUE(window.country().set("GB"));
    }

    void loadFile(const QString& name, const QByteArray& bytes) {
        const QString path = home.root() + "/" + name;
        ASSERT_TRUE(writeFileAtomically(path, bytes));
        op.chooseFile(path);
        NumberLoader::of(window).Load_Number();
        ASSERT_TRUE(spinUntil([&] { return !NumberLoader::of(window).isLoading(); }));
    }
    void applyExclusionList(const QByteArray& numbers) {
        home.folder.Check_Path_And_Create_Files();
        ASSERT_TRUE(writeFileAtomically(home.folder.Exclusion_Folder_Path() + "/Opted out.OSTREL", numbers));
        ASSERT_TRUE(appendToFile(home.folder.AppExclusion_File_Path(), "Opted out\n"));
        window.Exclusion_Chk(true);
    }
    QStringList sentForms() const {
        QStringList out;
        for (const Record& r : window.list().records())
            out << recipientNumber(r);
        return out;
    }
    QList<int> counters() const {
        const LoadCounters& c = window.lastLoad();
        return {c.TOT_PROC, c.TOT, c.SKPD, c.EXLD, c.impossibleNumbers};
    }

    TestDataHome home;
    ScriptedOperator op;
    TestBulkSmsWindow window{MainWindowController::Kind::Gsm, op, home.folder};
};

TEST_F(DefaultCountryTest, OneSubscriberWrittenThreeWaysIsLoadedOnce) {
    window.setSkipDuplicates(true);
    loadFile("mixed.txt", "+44 7911 123456\n07911123456\n447911123456\n0044 (0)7911-123-456\n"
                          "020 7946 0958\n+442079460958\n");
    EXPECT_EQ(window.numbers(), (QStringList{"+447911123456", "02079460958"}));
    EXPECT_EQ(sentForms(), (QStringList{"+447911123456", "+442079460958"}));
    EXPECT_EQ(counters(), (QList<int>{6, 6, 4, 0, 0}));
}

TEST_F(DefaultCountryTest, WithoutSkippingEveryFormStaysAndIsSentInE164) {
    loadFile("mixed.csv", "Name,Phone\r\nAnn,07911 123456\r\nBob,447911123456\r\nCid,7911123456\r\n");
    EXPECT_EQ(window.numbers(), (QStringList{"07911123456", "+447911123456", "7911123456"}));
    EXPECT_EQ(sentForms(), QStringList(3, "+447911123456"));
}

TEST_F(DefaultCountryTest, AnOptedOutNumberIsExcludedInEveryForm) {
    applyExclusionList("+447911123456\n07700900001\n");
    for (const char* typed : {"07911 123456", "0044 7911 123456", "447911123456"}) {
        window.add(typed);
        EXPECT_EQ(window.numberField(), typed); // kept for correction
    }
    EXPECT_EQ(op.alerts(), QStringList(3, "\nEntered number is in exclusion list."));
    window.setNumberField("");
    loadFile("list.txt", "07911123456\n+44 7911 123456\n+447911123457\n");
    EXPECT_EQ(window.numbers(), QStringList{"+447911123457"});
    EXPECT_EQ(counters(), (QList<int>{3, 3, 0, 2, 0}));
    // A stored number that cannot exist still excludes itself as written.
    EXPECT_TRUE(window.Check_Exclusion_Number("07700900001"));
}

TEST_F(DefaultCountryTest, NumbersThatCannotExistAreRefusedCountedAndSummarised) {
    loadFile("bad.txt", "+44 12\n07700 900001\n079111234567\nhello\n");
    EXPECT_TRUE(window.list().isEmpty());
    EXPECT_EQ(counters(), (QList<int>{4, 0, 0, 0, 3}));
    EXPECT_EQ(window.refusedNumbersNote(),
              "Last load: 3 numbers that cannot exist (default country GB) left out");
    ASSERT_EQ(op.alerts().size(), 1);
    const QString summary = op.alerts().first();
    EXPECT_TRUE(summary.contains("Total readable records = 4\n\nValid numbers = 0\n"))
        << summary.toStdString();
    EXPECT_TRUE(summary.contains("Not valid phone numbers (letters, a misplaced \"+\" or more than 20 "
                                 "characters) = 1\n"))
        << summary.toStdString(); // "hello"
    EXPECT_TRUE(summary.contains("Numbers that cannot exist in their country (too short, too long, no such "
                                 "number) = 3\n"))
        << summary.toStdString();
}

TEST_F(DefaultCountryTest, AMessyContactFileIsCountedAsACarefulPersonWouldCountIt) {
    window.setSkipDuplicates(true);
    loadFile("contacts.csv", "Name,Phone\r\n"
                             "Ann,+44 7911 123456\r\nAnn (mobile),07911 123456\r\n"
                             "Ann (sheet),447911123456\r\nAnn (abroad),0044 (0)7911 123456\r\n"
                             "Bob,07911-123-457\r\nCat,+44 12\r\nDan,(020) 7946 0958\r\n"
                             "Eve,+1 (202) 555-0143\r\nFay,ask her\r\nGus,07911 12345\r\n");
    // Four people; Ann three more times; Cat's and Gus's numbers cannot exist.
    EXPECT_EQ(sentForms(), (QStringList{"+447911123456", "+447911123457", "+442079460958", "+12025550143"}));
    EXPECT_EQ(counters(), (QList<int>{9, 7, 3, 0, 2}));
    EXPECT_EQ(window.lastLoad().ignoredCells, 13); // the titles, the names and "ask her"
}

TEST_F(DefaultCountryTest, TypedAndEditedNumbersMustBeAbleToExist) {
    window.add("+44 12");
    EXPECT_EQ(op.alerts(), QStringList{"\nPlease enter a valid phone number."});
    window.add("07911 123456");
    window.setSkipDuplicates(true);
    window.add("+44 7911 123456");
    EXPECT_EQ(op.alerts().last(), "\nEntered number already exists.");
    EXPECT_EQ(window.numbers(), QStringList{"07911123456"});
    // A message applied to the row keeps both forms of its number.
    window.replaceMessage(0, "hi");
    EXPECT_EQ(window.list().at(0).value(kE164Key), "+447911123456");
}

TEST_F(DefaultCountryTest, ChangingTheCountryReadsTheListAgain) {
    window.country().set(QString());
    window.add("07911 123456");
    window.add("0612345678");
    EXPECT_EQ(sentForms(), (QStringList{"07911123456", "0612345678"}));
    window.setSkipDuplicates(true);
    window.setDefaultCountry("fr");
    EXPECT_EQ(sentForms(), (QStringList{"07911123456", "+33612345678"})); // not French: as written
    window.add("+33 6 12 34 56 78");
    EXPECT_EQ(op.alerts(), QStringList{"\nEntered number already exists."});
    window.setDefaultCountry("GB");
    EXPECT_EQ(sentForms(), (QStringList{"+447911123456", "0612345678"}));
}

TEST_F(DefaultCountryTest, TheChoiceIsKeptInTheDataFolder) {
    window.setDefaultCountry("de");
    EXPECT_EQ(readAll(DefaultCountry::filePath(home.folder)), "DE\n");
    EXPECT_EQ(permissionsOf(DefaultCountry::filePath(home.folder)), 0600u);
    window.country().set(QString());
    window.country().load(home.folder);
    EXPECT_EQ(window.defaultCountry(), "DE");

    window.setDefaultCountry("Narnia"); // no region: nothing changes
    EXPECT_EQ(window.defaultCountry(), "DE");
    window.setDefaultCountry("");
    window.country().load(home.folder);
    EXPECT_EQ(window.defaultCountry(), "");

    for (const QByteArray& stored : {QByteArray("ZZ\n"), QByteArray("../../etc\n"), QByteArray(4096, 'G')}) {
        ASSERT_TRUE(writeFileAtomically(DefaultCountry::filePath(home.folder), stored));
        window.country().set("GB");
        window.country().load(home.folder);
        EXPECT_EQ(window.defaultCountry(), "") << stored.left(20).toStdString();
    }
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST_F(DefaultCountryTest, TheChoicesStartWithNoneAndNameEveryRegion) {
    const auto choices = DefaultCountry::choices();
    ASSERT_GT(choices.size(), 200);
    EXPECT_EQ(choices.first().first, "");
    const auto gb =
        std::find_if(choices.cbegin(), choices.cend(), [](const auto& c) { return c.first == "GB"; });
    ASSERT_NE(gb, choices.cend());
    EXPECT_EQ(gb->second, "United Kingdom (GB, +44)");
}

} // namespace
