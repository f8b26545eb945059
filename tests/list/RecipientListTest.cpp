// Filling the list by hand and by loaders: validation, placement, filters, counters.
#include "list/LoadCounters.h"
#include "list/NumberIndex.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "TestWindows.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"

#include <gtest/gtest.h>

namespace {

class RecipientListTest : public ::testing::Test {
protected:
    TestDataHome home;
    ScriptedOperator op;
    TestBulkSmsWindow window{MainWindowController::Kind::Android, op, home.folder};
};

TEST_F(RecipientListTest, NewNumbersGoAtTheEndWithTheComposerText) {
    window.setComposerText("hello");
    window.add("111");
    window.add("222");
    window.add("333");
    EXPECT_EQ(window.numbers(), (QStringList{"111", "222", "333"}));
    EXPECT_EQ(window.messages(), QStringList(3, "hello"));
    EXPECT_EQ(window.countLabel(), "Total Numbers : 3");
    EXPECT_TRUE(window.numberField().isEmpty());
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST_F(RecipientListTest, InvalidNumbersAreRefusedWithOneMessage) {
    for (const char* bad : {"", " ( ) ", "91+9876543210", "abc"}) {
        window.setNumberField(bad);
        window.Add_number_To_List();
    }
    EXPECT_EQ(op.alerts(), QStringList(4, "\nPlease enter a valid phone number."));
    EXPECT_TRUE(window.list().isEmpty());
}

TEST_F(RecipientListTest, NumberFieldIsCutToTwentyCharacters) {
    window.setNumberField("123456789012345678901");
    EXPECT_EQ(window.numberField(), "12345678901234567890");
    window.Add_number_To_List();
    EXPECT_EQ(window.numbers(), QStringList{"12345678901234567890"});
}

TEST_F(RecipientListTest, DuplicatesAreAllowedUntilSkippingIsOn) {
    window.add("555");
    window.add("555");
    EXPECT_EQ(window.list().size(), 2);
    window.setSkipDuplicates(true);
    window.add("555");
    EXPECT_EQ(op.alerts(), QStringList{"\nEntered number already exists."});
    EXPECT_EQ(window.numberField(), "555"); // kept for correction
    window.setNumberField("+555");
    window.Add_number_To_List(); // '+555' and '555' are different numbers
    EXPECT_EQ(window.list().size(), 3);
}

TEST_F(RecipientListTest, RemovedNumbersAreNoLongerDuplicates) {
    window.setSkipDuplicates(true);
    window.add("1");
    window.add("2");
    window.setSelectedRows({1});
    window.Clear_Sel_Btn();
    window.add("2");
    EXPECT_EQ(window.numbers(), (QStringList{"1", "2"}));
    EXPECT_TRUE(op.alerts().isEmpty());
}

class ExclusionTest : public RecipientListTest {
protected:
    void applyList(const QString& name, const QByteArray& numbers) {
        home.folder.Check_Path_And_Create_Files();
        ASSERT_TRUE(
            writeFileAtomically(home.folder.Exclusion_Folder_Path() + "/" + name + ".OSTREL", numbers));
        ASSERT_TRUE(appendToFile(home.folder.AppExclusion_File_Path(), name.toUtf8() + "\n"));
    }
};

TEST_F(ExclusionTest, AppliedListsRefuseTheirNumbers) {
    applyList("VIP", "999\n+4477\n");
    applyList("Staff", " 888 \r\n");
    window.Exclusion_Chk(true);
    EXPECT_EQ(window.exclusionSet().size(), 3);
    for (const char* n : {"999", "+4477", "888"})
        window.add(n);
    EXPECT_EQ(op.alerts(), QStringList(3, "\nEntered number is in exclusion list."));
    window.add("777");
    EXPECT_EQ(window.numbers(), QStringList{"777"});
}

TEST_F(ExclusionTest, NothingIsExcludedWithoutAppliedListsOrWithTheOptionOff) {
    window.Exclusion_Chk(true);
    window.add("999");
    applyList("VIP", "123\n");
    window.Exclusion_Chk(false);
    window.add("123");
    EXPECT_EQ(window.list().size(), 2);
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST_F(ExclusionTest, ListNamesCannotLeaveTheExclusionFolder) {
    home.folder.Check_Path_And_Create_Files();
    ASSERT_TRUE(writeFileAtomically(home.folder.Bulk_SMS_Data_Folder_Path() + "/Secret.OSTREL", "444\n"));
    ASSERT_TRUE(appendToFile(home.folder.AppExclusion_File_Path(), "../Secret\n"));
    window.Exclusion_Chk(true);
    EXPECT_EQ(window.exclusionSet().size(), 0);
}

TEST_F(ExclusionTest, LoaderCountersForAMixedBatch) {
    applyList("Block", "700\n");
    window.setSkipDuplicates(true);
    window.Exclusion_Chk(true);
    window.Create_Num_Msg_List("100", "");
    window.Create_Num_Msg_List("200", "");
    // 10 readable lines: 2 invalid, 3 duplicates (two of the list, one of the batch), 1 excluded.
    const QStringList batch = {"300", "abc", "100", "400", "200", "12+3", "500", "700", "300", "600"};
    LoadCounters counts;
    for (const QString& raw : batch)
        window.insertIfAble(raw, "", counts);
    EXPECT_EQ(counts.TOT_PROC, 10);
    EXPECT_EQ(counts.TOT, 8);
    EXPECT_EQ(counts.SKPD, 3);
    EXPECT_EQ(counts.EXLD, 1);
    EXPECT_EQ(window.numbers(), (QStringList{"100", "200", "300", "400", "500", "600"}));
}

TEST_F(RecipientListTest, BlankLinesAreNotCountedAndDuplicateAndExcludedCountsOnce) {
    LoadCounters counts;
    EXPECT_EQ(window.Num_Able_To_insert(" - ( ) ", counts), "");
    EXPECT_EQ(counts.TOT_PROC, 0);
    EXPECT_EQ(counts.summary(),
              "No contacts have been imported to the list.\n\n\nHere is the "
              "summary:\n\n==========================\n"
              "Total readable records = 0\n\nValid numbers = 0\n\nSkipped due to user settings = 0\n\n"
              "Excluded due to user settings = 0\n==========================\n");
}

TEST_F(RecipientListTest, ClearingAsksAndReportsAnEmptyList) {
    window.Clear_Sel_Btn();
    window.Clear_All_Btn();
    window.add("1");
    window.add("2");
    window.add("3");
    window.Clear_Sel_Btn();
    window.setSelectedRows({2, 0});
    window.Clear_Sel_Btn();
    EXPECT_EQ(window.numbers(), QStringList{"2"});
    EXPECT_EQ(window.selectedRows(), QList<int>{0});

    op.answerNo().answerYes();
    window.Clear_All_Btn();
    EXPECT_EQ(window.list().size(), 1);
    window.Clear_All_Btn();
    EXPECT_TRUE(window.list().isEmpty());
    EXPECT_EQ(op.alerts(),
              (QStringList{
                  "\nPhone numbers-Messages list is empty.", "\nPhone numbers-Messages list is empty.",
                  "\nPlease select at least one record from the phone numbers-messages list to continue."}));
    EXPECT_EQ(op.questions(),
              QStringList(2, "\nThis option will clear the entire list contents. Are you sure you want "
                             "to continue clearing the entire list?"));
}

TEST_F(RecipientListTest, ResetRestoresEveryControl) {
    window.setComposerText("draft");
    window.add("1");
    window.setSkipDuplicates(true);
    window.setUnicode(true);
    window.setSaveSentItems(true);
    window.setSaveTemplates(true);
    window.setMessageTypeIndex(2);
    window.Delayed_Delivery_Chk(true);
    window.setDelayedCountChoice("10");
    window.prev_composer_msg = "draft";
    window.setTextChangeNotifications(false);

    op.answerNo();
    window.Reset_Btn();
    EXPECT_EQ(window.list().size(), 1);

    op.answerYes();
    window.Reset_Btn();
    EXPECT_TRUE(window.list().isEmpty());
    EXPECT_TRUE(window.composerText().isEmpty());
    EXPECT_EQ(window.characterCounterText(), "0 Characters");
    EXPECT_EQ(window.messageTypeIndex(), 1);
    EXPECT_FALSE(window.skipDuplicates() || window.unicode() || window.saveSentItems() ||
                 window.saveTemplates() || window.exclusion() || window.delayedDelivery());
    EXPECT_TRUE(window.delayedDeliveryEnabled());
    EXPECT_FALSE(window.delayedChoicesEnabled());
    EXPECT_TRUE(window.delayedCountChoice().isEmpty());
    EXPECT_TRUE(window.prev_composer_msg.isEmpty());
    EXPECT_TRUE(window.textChangeNotificationsOn());
    EXPECT_EQ(op.questions(), QStringList(2, "\nAre you sure you want to continue to reset?"));
}

TEST_F(RecipientListTest, LoadsAndSendsWaitForATypedNumber) {
    EXPECT_FALSE(window.Add_Number_In_List_First());
    window.setNumberField("123");
    EXPECT_TRUE(window.Add_Number_In_List_First());
    EXPECT_EQ(op.alerts(), QStringList{"\nPlease insert entered number to the list."});
}

TEST_F(RecipientListTest, FirstAddRemembersTheComposerTextOnce) {
    window.setComposerText("first");
    window.add("1");
    window.setComposerText("second");
    window.add("2");
    EXPECT_EQ(window.prev_composer_msg, "first");
}

} // namespace

namespace {

TEST(RecipientBatches, ALoadUnderFiftyThousandSelectedRowsIsOneInsertionAndKeepsTheSelection) {
    TestDataHome home;
    ScriptedOperator op;
    TestBulkSmsWindow window{MainWindowController::Kind::Gsm, op, home.folder};
    window.setSkipDuplicates(true);
    {
        BulkSmsWindow::BatchInsert batch(window);
        for (int i = 0; i < 60000; ++i)
            window.Create_Num_Msg_List(QString::number(7700000000LL + i), "m");
    }
    QList<int> selected;
    for (int row = 0; row < 50000; ++row)
        selected << row * 6 / 5; // 50,000 rows spread over the list, not one range
    window.setSelectedRows(selected);
    const QString firstSelected = window.list().at(selected.first()).value(kNumberKey);
    const QString lastSelected = window.list().at(selected.last()).value(kNumberKey);

    int insertions = 0;
    QObject::connect(&window.list(), &RecordTable::aboutToInsert, [&](int, int) { ++insertions; });
    LoadCounters counts;
    {
        BulkSmsWindow::BatchInsert batch(window);
        for (int i = 0; i < 5000; ++i) {
            // Every tenth is a number already in the list or earlier in this same load.
            const QString raw = QString::number(i % 10 == 9 ? 7700000000LL + i : 7800000000LL + i % 4000);
            window.insertIfAble(raw, "new", counts);
        }
        EXPECT_EQ(window.list().size(), 60000); // nothing shows before the batch ends
    }
    EXPECT_EQ(insertions, 1);
    EXPECT_EQ(window.list().size(), 60000 + 3600);
    EXPECT_EQ(counts.SKPD, 5000 - 3600);
    // The load follows the list in its order; the selection still names the same records.
    EXPECT_EQ(window.list().at(60000).value(kNumberKey), "7800000000");
    EXPECT_EQ(window.list().at(60000 + 3599).value(kNumberKey), "7800003998");
    EXPECT_EQ(window.selectedRows(), selected);
    EXPECT_EQ(window.list().at(window.selectedRows().first()).value(kNumberKey), firstSelected);
    EXPECT_EQ(window.list().at(window.selectedRows().last()).value(kNumberKey), lastSelected);
}

} // namespace

namespace {

TEST(NumberIndex, NumbersThatDifferInAnyCharacterStayApart) {
    // Packed and kept as text alike: leading zeros, the "+", the length, and anything that
    // is no number (a stored list may hold any text).
    const QStringList numbers{"1",
                              "01",
                              "001",
                              "+1",
                              "+01",
                              "10",
                              "100",
                              "12345678901234567890",
                              "+12345678901234567890",
                              "1234567890123456789",
                              "+",
                              "a1",
                              "1+",
                              "1 2",
                              "٣٣٣",
                              "+44 7700",
                              QString(33, '1'),
                              QString(32, '1')};
    NumberIndex index;
    for (const QString& n : numbers)
        index.add(n);
    EXPECT_EQ(index.size(), numbers.size());
    for (const QString& n : numbers)
        EXPECT_TRUE(index.contains(n)) << n.toStdString();
    for (const char* absent : {"0", "+0", "0001", "2", "++1", "11", "", "a"})
        EXPECT_FALSE(index.contains(absent)) << absent;
    EXPECT_TRUE(NumberIndex::pack("+12345678901234567890").has_value());
    EXPECT_FALSE(NumberIndex::pack("1+").has_value());
    EXPECT_FALSE(NumberIndex::pack(QString(33, '1')).has_value());
}

TEST(NumberIndex, CountsEveryRecordAndMergesBatches) {
    NumberIndex index;
    index.add("+447700900001");
    index.add("+447700900001");
    index.add("old");
    index.remove("+447700900001");
    EXPECT_TRUE(index.contains("+447700900001")); // one record still holds it
    index.remove("+447700900001");
    index.remove("never added");
    EXPECT_FALSE(index.contains("+447700900001"));

    NumberIndex batch;
    batch.add("old");
    batch.add("+447700900002");
    index.merge(std::move(batch));
    EXPECT_TRUE(batch.isEmpty()); // NOLINT(bugprone-use-after-move): merge leaves it empty
    index.remove("old");
    EXPECT_TRUE(index.contains("old"));
    EXPECT_TRUE(index.contains("+447700900002"));

    NumberIndex empty;
    NumberIndex whole;
    whole.add("1");
    empty.merge(std::move(whole)); // taken as it is
    EXPECT_TRUE(empty.contains("1"));
}

} // namespace
