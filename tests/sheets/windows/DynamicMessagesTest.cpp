// Messages from a spreadsheet: per-row messages and templates with column placeholders.
#include "ImportFixture.h"

#include "list/LoadCounters.h"
#include "sheets/windows/Excel_Dynamic_Msg.h"
#include "sheets/windows/Excel_SMS_Example.h"

namespace {

struct FillCase {
    const char* name;
    QString templ;
    QStringList values;
    QString expected;
};

class TemplateFilling : public ::testing::TestWithParam<FillCase> {};

TEST_P(TemplateFilling, ReplacesEachPlaceholderByItsColumn) {
    EXPECT_EQ(fillTemplate(GetParam().templ, GetParam().values), GetParam().expected);
}

const QStringList kTen{"v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8", "v9", "v10"};

INSTANTIATE_TEST_SUITE_P(
    Templates, TemplateFilling,
    ::testing::Values(
        FillCase{"Example",
                 "Dear <COL-1>, your balance is <col-3>",
                 {"Ann", "5550100", "12.50"},
                 "Dear Ann, your balance is 12.50"},
        FillCase{"OneDoesNotDisturbTen", "<COL-1>|<COL-10>|<COL-1>0", kTen, "v1|v10|v10"},
        FillCase{"BeyondTheRowKept", "Hi <COL-9> <COL-5>", {"a", "b", "c", "d", "e"}, "Hi <COL-9> e"},
        FillCase{"AnyCase", "<Col-2><cOl-2><COL-2>", {"a", "b"}, "bbb"},
        FillCase{"ZeroAndPaddedAreText", "<COL-0><COL-01><COL->", {"a"}, "<COL-0><COL-01><COL->"},
        FillCase{"ValuesAreNotRescanned", "<COL-1><COL-2>", {"<COL-2>", "x"}, "<COL-2>x"},
        FillCase{"ShortRow", "<COL-1>-<COL-2>", {"a"}, "a-<COL-2>"}),
    [](const auto& info) { return std::string(info.param.name); });

class DynamicMessagesTest : public ImportTest {
protected:
    // Mode choice, Continue, Browse the workbook, choose the first sheet.
    Excel_Dynamic_Msg& openFileStep(int mode, const QString& workbook) {
        wizard.setMode(mode);
        wizard.rightButtonPressed();
        waitForLoads();
        op.chooseFile(workbook);
        wizard.Browse();
        wizard.Sheet_ComboBox_changed(0);
        return wizard;
    }
    // Per-row messages from the workbook: numbers in its first column, texts in its second.
    void loadPerRowMessages(const QString& workbook) {
        openFileStep(0, workbook);
        wizard.Number_ComboBox_changed(0);
        wizard.Message_ComboBox_changed(1);
        wizard.rightButtonPressed();
        waitForLoads();
    }
    Excel_Dynamic_Msg wizard{android, spreadsheet};
};

TEST_F(DynamicMessagesTest, PerRowMessagesWithAHeaderCountedAsInvalid) {
    openFileStep(
        0, tableWorkbook("rows.xlsx", {{{"Phone", "Text"}, {"111", "one"}, {"222", "two"}, {"333", ""}}}));
    EXPECT_EQ(wizard.columnNames(), (QStringList{"Phone", "Text"}));
    wizard.Number_ComboBox_changed(0);
    wizard.Message_ComboBox_changed(1);
    wizard.rightButtonPressed();
    waitForLoads();
    EXPECT_EQ(wizard.endCode(), 1);
    EXPECT_EQ(android.numbers(), (QStringList{"111", "222", "333"}));
    EXPECT_EQ(android.messages(), (QStringList{"one", "two", ""}));
    EXPECT_EQ(counters(), (QList<int>{4, 3, 0, 0}));
    EXPECT_TRUE(op.alerts().isEmpty());
    EXPECT_EQ(wizard.next_counter(), 0); // reset for the next use
    EXPECT_TRUE(wizard.file_path().isEmpty());
}

TEST_F(DynamicMessagesTest, TemplateWithSeveralTickedColumns) {
    openFileStep(1, tableWorkbook("dyn.xlsx", {{{"Name", "Phone", "Balance", "Other"},
                                                {"Ann", "5550100", "12.50", "5550199"},
                                                {"Bob", "x", "3", ""}}}));
    wizard.setColumnTicked(1, true);
    wizard.setColumnTicked(3, true);
    wizard.rightButtonPressed();
    waitForLoads();
    ASSERT_EQ(wizard.next_counter(), 2);
    ASSERT_EQ(wizard.DynSMSListData().size(), 4);
    EXPECT_EQ(wizard.DynSMSListData().at(2),
              (Record{{"Number", "3"}, {"Message", "Balance"}, {"Date", "<COL-3>"}}));
    wizard.setTemplateText("Dear <COL-1>, your balance is <col-3>");
    wizard.rightButtonPressed();
    waitForLoads();
    EXPECT_EQ(android.numbers(), (QStringList{"5550100", "5550199"}));
    EXPECT_EQ(android.messages(), QStringList(2, "Dear Ann, your balance is 12.50"));
    EXPECT_EQ(counters(), (QList<int>{5, 2, 0, 0})); // header "Phone", "Other"; "x"; two numbers
}

TEST_F(DynamicMessagesTest, StepChecksInOrder) {
    struct Case {
        const char* name;
        int mode;
        std::function<void()> prepare;
        QString alert;
    };
    const QString book = tableWorkbook("c.xlsx", {{{"Phone", "Text"}, {"1", "a"}}});
    const QString empty = tableWorkbook("e.xlsx", {{}});
    const QList<Case> cases{
        {"no path", 0, [] {}, "Please select a valid file path."},
        {"no sheet", 0,
         [&] {
             op.chooseFile(path("missing.xlsx"));
             wizard.Browse();
         },
         "Please select a valid excel file there is no sheet."},
        {"sheet not chosen", 0,
         [&] {
             op.chooseFile(book);
             wizard.Browse();
         },
         "Please select a sheet."},
        {"no columns", 0,
         [&] {
             op.chooseFile(empty);
             wizard.Browse();
             wizard.Sheet_ComboBox_changed(0);
         },
         "Please select a valid sheet there is no column."},
        {"no number column", 0,
         [&] {
             op.chooseFile(book);
             wizard.Browse();
             wizard.Sheet_ComboBox_changed(0);
         },
         "Please select a column for Mobile number."},
        {"no message column", 0,
         [&] {
             op.chooseFile(book);
             wizard.Browse();
             wizard.Sheet_ComboBox_changed(0);
             wizard.Number_ComboBox_changed(0);
         },
         "Please select a column for Message."},
        {"dynamic: no columns", 1,
         [&] {
             op.chooseFile(empty);
             wizard.Browse();
             wizard.Sheet_ComboBox_changed(0);
         },
         "There is no column."},
        {"dynamic: none ticked", 1,
         [&] {
             op.chooseFile(book);
             wizard.Browse();
             wizard.Sheet_ComboBox_changed(0);
         },
         "No column is selected."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        op.clearTranscript();
        while (wizard.next_counter() > 0) // back to the mode choice
            wizard.leftButtonPressed();
        wizard.setMode(c.mode);
        wizard.rightButtonPressed();
        waitForLoads();
        c.prepare();
        wizard.rightButtonPressed();
        waitForLoads();
        QStringList expected{"\n" + c.alert};
        if (QString(c.name) == "no sheet") // the file itself was refused when browsing, with its reason
            expected.prepend("\nThis file is not a workbook (or it is damaged or password-protected).");
        EXPECT_EQ(op.alerts(), expected);
        EXPECT_EQ(wizard.next_counter(), 1);
        EXPECT_FALSE(wizard.isEnded());
    }
}

TEST_F(DynamicMessagesTest, ButtonTitlesAndTextsFollowTheSteps) {
    EXPECT_EQ(wizard.leftButtonTitle() + "/" + wizard.rightButtonTitle(), "Close/Continue");
    wizard.rightButtonPressed();
    waitForLoads();
    EXPECT_EQ(wizard.leftButtonTitle() + "/" + wizard.rightButtonTitle(), "Back/Finish");
    EXPECT_TRUE(
        wizard.sheetLabel().startsWith("Please select the sheet containing phone numbers and messages"));
    wizard.leftButtonPressed();
    wizard.setMode(1);
    wizard.rightButtonPressed();
    waitForLoads();
    EXPECT_EQ(wizard.rightButtonTitle(), "Next");
    EXPECT_TRUE(wizard.fileStepText().contains("dynamic and personalized message"));
    EXPECT_TRUE(wizard.fileStepText().endsWith("2. Each message may be of maximum 1600 characters."));
    wizard.leftButtonPressed();
    wizard.leftButtonPressed(); // Close
    EXPECT_EQ(wizard.endCode(), 0);
    EXPECT_EQ(wizard.EXEL_OR_DYN_SMS(), 0);
}

TEST_F(DynamicMessagesTest, UsingAColumnInsertsItsPlaceholderAtTheCursor) {
    EXPECT_EQ(wizard.Use_Column({0}, 0, 0), -1);
    openFileStep(1, tableWorkbook("u.xlsx", {{{"Name", "Phone"}, {"Ann", "1"}}}));
    wizard.setColumnTicked(1, true);
    wizard.rightButtonPressed();
    waitForLoads();
    wizard.setTemplateText("Hi XX!");
    EXPECT_EQ(wizard.Use_Column({}, 0, 0), -1);
    EXPECT_EQ(wizard.Use_Column({0, 1}, 0, 0), -1);
    EXPECT_EQ(wizard.Use_Column({0, 1}, 0, 0, true), -1);
    EXPECT_EQ(wizard.Use_Column({0}, 5, 3), 10); // selection "XX" replaced, cursor after it
    EXPECT_EQ(wizard.templateText(), "Hi <COL-1>!");
    EXPECT_EQ(wizard.Use_Column({1}, 99, 99), 18);
    EXPECT_EQ(wizard.templateText(), "Hi <COL-1>!<COL-2>");
    wizard.Preview();
    wizard.setTemplateText(" ");
    wizard.Preview();
    wizard.rightButtonPressed();
    waitForLoads();
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nColumn list is empty.",
                           "\nPlease select at least one record from the column list to continue.",
                           "\nPlease select only one record to continue.",
                           "\nPlease select only one record to update.", "\nHi Name!Phone",
                           "\nPlease enter some text message.", "\nPlease enter some text message."}));
    EXPECT_FALSE(wizard.isEnded());
}

TEST_F(DynamicMessagesTest, AtMostFiftyThousandRowsAreUsed) {
    SpreadsheetData rows;
    rows.reserve(60000);
    for (int i = 0; i < 60000; ++i)
        rows << QStringList{QString::number(10000000 + i), "m"};
    loadPerRowMessages(tableWorkbook("big.xlsx", {rows}));
    EXPECT_EQ(android.list().size(), kMaxDynamicRows);
    EXPECT_EQ(android.numbers().last(), QString::number(10000000 + 49999));
    EXPECT_EQ(op.alerts(), QStringList{"\n" + Excel_Dynamic_Msg::droppedRowsMessage(10000)});
    EXPECT_EQ(Excel_Dynamic_Msg::droppedRowsMessage(10000),
              "Only the first 50,000 records of a sheet are imported: 10,000 more rows were not imported.");
}

TEST_F(DynamicMessagesTest, AHeaderRowDoesNotCountTowardTheLimit) {
    SpreadsheetData rows{{"Phone", "Text"}};
    for (int i = 0; i < kMaxDynamicRows; ++i)
        rows << QStringList{QString::number(10000000 + i), "m"};
    loadPerRowMessages(tableWorkbook("big.xlsx", {rows}));
    EXPECT_EQ(android.list().size(), kMaxDynamicRows);
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST_F(DynamicMessagesTest, PlaceholdersFollowColumnPositionsPastABlankHeader) {
    openFileStep(1, tableWorkbook("blank.xlsx", {{{"Name", " ", "Phone", "Balance"},
                                                  {"Ann", "x", "07700900111", "12.50"}}}));
    ASSERT_EQ(wizard.ListData().size(), 4);
    wizard.setColumnTicked(2, true);
    wizard.rightButtonPressed();
    waitForLoads();
    ASSERT_EQ(wizard.DynSMSListData().size(), 4);
    EXPECT_EQ(wizard.DynSMSListData().at(3),
              (Record{{"Number", "4"}, {"Message", "Balance"}, {"Date", "<COL-4>"}}));
    wizard.setTemplateText("Dear <COL-1>, your balance is <COL-4>");
    wizard.rightButtonPressed();
    waitForLoads();
    EXPECT_EQ(android.numbers(), QStringList{"07700900111"});
    EXPECT_EQ(android.messages(), QStringList{"Dear Ann, your balance is 12.50"});
}

TEST_F(DynamicMessagesTest, NothingAddedShowsTheSummary) {
    loadPerRowMessages(tableWorkbook("n.xlsx", {{{"Phone", "Text"}, {"abc", "x"}}}));
    EXPECT_EQ(op.alerts(), QStringList{"\n" + android.lastLoad().summary()});
    EXPECT_EQ(wizard.endCode(), 1);
}

TEST_F(DynamicMessagesTest, ExampleWindowEndsWithOk) {
    op.onModal<Excel_SMS_Example>([](Excel_SMS_Example& e) { e.OKPressed(); });
    wizard.Example();
    EXPECT_EQ(op.dialogs(), QStringList{"Excel_SMS_Example"});
}

} // namespace
