// The column import: which values of which rows reach which destination, and what the
// operator is told.
#include "ImportFixture.h"

#include "core/FileUtils.h"
#include "list/ListLoad.h"
#include "list/NumberLoader.h"
#include "sheets/windows/Excel_Dynamic_Msg.h"
#include "sheets/windows/ImportTargets.h"
#include "sheets/windows/Import_Excel.h"

namespace {

const SpreadsheetData kPhones{
    {"Name", "Phone", "Mobile"}, {"Ann", "111", "222"}, {"Bob", "333", ""}, {"Cy", "444", "555"}};

class ColumnImportTest : public ImportTest {
protected:
    // Opens the window on the workbook and ticks the given columns.
    void open(Import_Excel& dialog, const QString& workbook, const QString& mode, QList<int> ticked) {
        dialog.prepareWindow(workbook, mode);
        for (int column : ticked)
            dialog.setColumnTicked(column, true);
    }
};

TEST_F(ColumnImportTest, HeaderRowTickedColumnsAndOrder) {
    struct Case {
        const char* name;
        bool header;
        QList<int> ticked;
        QStringList numbers; // in the list's order
        QList<int> counters; // readable, valid, skipped, excluded
    };
    const QList<Case> cases{
        {"header skipped", true, {1}, {"111", "333", "444"}, {3, 3, 0, 0}},
        {"header imported as a value", false, {1}, {"111", "333", "444"}, {4, 3, 0, 0}},
        {"two columns row by row", true, {1, 2}, {"111", "222", "333", "444", "555"}, {5, 5, 0, 0}},
        {"a text column", true, {0}, {}, {3, 0, 0, 0}},
    };
    const QString workbook = tableWorkbook("phones.xlsx", {kPhones});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        android.list().clear();
        op.clearTranscript();
        Import_Excel dialog(op, spreadsheet, &windows);
        open(dialog, workbook, "AND", c.ticked);
        dialog.setContainsHeader(c.header);
        dialog.OKPressed();
        waitForLoads();
        EXPECT_EQ(dialog.endCode(), 1);
        EXPECT_EQ(android.numbers(), c.numbers);
        EXPECT_EQ(counters(), c.counters);
        EXPECT_EQ(op.alerts().size(), c.numbers.isEmpty() ? 1 : 0);
    }
}

TEST_F(ColumnImportTest, ValuesGoToTheWindowOfTheModeWithItsComposerText) {
    android.setComposerText("android text");
    gsm.setComposerText("gsm text");
    gsm.list().prepend(recipientRecord("9", ""));
    android.list().prepend(recipientRecord("8", ""));
    Import_Excel dialog(op, spreadsheet, &windows);
    open(dialog, tableWorkbook("p.xlsx", {kPhones}), "GSM", {2});
    dialog.OKPressed();
    waitForLoads();
    EXPECT_EQ(gsm.numbers(), (QStringList{"9", "222", "555"}));
    EXPECT_EQ(gsm.messages(), (QStringList{"", "gsm text", "gsm text"}));
    EXPECT_EQ(android.numbers(), QStringList{"8"});
    EXPECT_EQ(gsm.prev_list_item, 1);
    EXPECT_EQ(android.prev_list_item, 1);
}

TEST_F(ColumnImportTest, AllDuplicatesShowTheSummary) {
    android.setSkipDuplicates(true);
    for (const char* n : {"111", "333", "444"})
        android.list().prepend(recipientRecord(n, ""));
    Import_Excel dialog(op, spreadsheet, &windows);
    open(dialog, tableWorkbook("p.xlsx", {kPhones}), "AND", {1});
    dialog.OKPressed();
    waitForLoads();
    EXPECT_EQ(android.list().size(), 3);
    EXPECT_EQ(op.alerts(), QStringList{"\n" + android.lastLoad().summary()});
    EXPECT_EQ(counters(), (QList<int>{3, 3, 3, 0}));
    EXPECT_EQ(dialog.endCode(), 1);
}

TEST_F(ColumnImportTest, SheetChoiceReadsThatSheetsPart) {
    const QString workbook = tableWorkbook(
        "three.xlsx", {{{"A"}, {"1"}}, {{"B", "C"}, {"2", "3"}}, {{"Third", "Col"}, {"777", "888"}}});
    Import_Excel dialog(op, spreadsheet, &windows);
    dialog.prepareWindow(workbook, "AND");
    EXPECT_EQ(dialog.sheetNames(), (QStringList{"Sheet1", "Sheet2", "Sheet3"}));
    EXPECT_EQ(dialog.ListData().size(), 1); // the first sheet is chosen on opening
    dialog.Sheet_ComboBox_changed(2);
    EXPECT_EQ(spreadsheet.Excel_Sheet_Number, 3);
    ASSERT_EQ(dialog.ListData().size(), 2);
    EXPECT_EQ(dialog.ListData().at(0).value("Extension"), "Third");
    dialog.Select_All();
    EXPECT_TRUE(dialog.Get_Selection_State(0) && dialog.Get_Selection_State(1));
    dialog.Clear_All();
    EXPECT_FALSE(dialog.Check_For_One_Extension_Selection());
    dialog.setColumnTicked(1, true);
    dialog.OKPressed();
    waitForLoads();
    EXPECT_EQ(android.numbers(), QStringList{"888"});
}

TEST_F(ColumnImportTest, OperatorErrorsKeepTheWindowOpen) {
    const QString notAWorkbook = path("plain.xlsx");
    ASSERT_TRUE(writeFileAtomically(notAWorkbook, "just text"));
    Import_Excel dialog(op, spreadsheet, &windows);
    dialog.prepareWindow(notAWorkbook, "AND");
    EXPECT_TRUE(dialog.sheetNames().isEmpty());
    dialog.OKPressed();
    waitForLoads();
    dialog.prepareWindow(tableWorkbook("p.xlsx", {kPhones}), "AND");
    dialog.OKPressed();
    waitForLoads();
    EXPECT_EQ(op.alerts(), (QStringList{"\nThere is no column.", "\nNo column is selected."}));
    EXPECT_FALSE(dialog.isEnded());
    EXPECT_TRUE(dialog.contains_header());
}

TEST_F(ColumnImportTest, AHeaderCellOfSpacesKeepsEveryColumnInItsPlace) {
    const QString workbook = tableWorkbook(
        "blank.xlsx", {{{"Name", " ", "Phone"}, {"Ann", "12", "07700900111"}, {"Bob", "34", "07700900222"}}});
    Import_Excel dialog(op, spreadsheet, &windows);
    open(dialog, workbook, "AND", {2});
    ASSERT_EQ(dialog.ListData().size(), 3);
    EXPECT_EQ(dialog.ListData().at(1).value("Extension"), "Untitled Column 2");
    EXPECT_EQ(dialog.ListData().at(2).value("Extension"), "Phone");
    dialog.OKPressed();
    waitForLoads();
    EXPECT_EQ(android.numbers(), (QStringList{"07700900111", "07700900222"}));
}

TEST_F(ColumnImportTest, AFileThatIsNoWorkbookEndsTheImportWithItsReason) {
    const QString notAWorkbook = path("plain.xlsx");
    ASSERT_TRUE(writeFileAtomically(notAWorkbook, "Number,Message\n5550100,Hi\n"));
    Import_Excel dialog(op, spreadsheet, &windows); // no modal is scripted: the window must not run
    EXPECT_EQ(dialog.Open_excel_Wnd(notAWorkbook, "AND"), 0);
    waitForLoads();
    EXPECT_EQ(op.alerts(),
              QStringList{"\nThis file is not a workbook (or it is damaged or password-protected)."});
    EXPECT_TRUE(android.list().isEmpty());
}

TEST_F(ColumnImportTest, ASheetThatCannotBeReadSaysWhy) {
    const QString workbook =
        sheetWorkbook("bad.xlsx", sheetXml(R"(<row><c r="A1" t="inlineStr"><is><t>Phone</t></is></c></row>)"
                                           R"(<row><c r="A2" s="9"><v>07700900111</v></c></row>)"));
    Import_Excel dialog(op, spreadsheet, &windows);
    open(dialog, workbook, "AND", {0});
    dialog.OKPressed();
    waitForLoads();
    EXPECT_EQ(dialog.endCode(), 1);
    EXPECT_EQ(op.alerts(), QStringList{"\nThe sheet could not be read: style 9 outside the 1 cell formats."});
}

TEST_F(ColumnImportTest, BlankColumnNamesAreNotListed) {
    Import_Excel dialog(op, spreadsheet, &windows);
    dialog.Create_List("  ", true);
    dialog.Create_List("Name", false);
    EXPECT_EQ(dialog.ListData().size(), 1);
    EXPECT_FALSE(dialog.Get_Selection_State(0));
    EXPECT_FALSE(dialog.Get_Selection_State(7));
}

class FakeExclusions : public ExclusionImportTarget {
public:
    void chk_and_insert_validation(const QString& value) override { values << value; }
    QStringList values;
};

class FakeTemplates : public TemplateImportTarget {
public:
    bool Check_Duplicate_Template(const QString& text) override { return texts.contains(text); }
    void Create_Template_List(const QString& text) override { texts << text; }
    QStringList texts;
};

TEST_F(ColumnImportTest, ExclusionAndTemplateDestinationsTakeEveryValueWithoutSummary) {
    const QString workbook = tableWorkbook("t.xlsx", {{{"Text"}, {"Hello"}, {""}, {"Hello"}, {"Bye"}}});
    FakeExclusions exclusions;
    FakeTemplates templates;
    for (const char* mode : {"EX", "TEMP"}) {
        Import_Excel dialog(op, spreadsheet, &windows);
        dialog.setExclusionTarget(&exclusions);
        dialog.setTemplateTarget(&templates);
        open(dialog, workbook, mode, {0});
        dialog.OKPressed();
        waitForLoads();
        EXPECT_EQ(dialog.endCode(), 1);
    }
    EXPECT_EQ(exclusions.values, (QStringList{"Hello", "", "Hello", "Bye"}));
    EXPECT_EQ(templates.texts, (QStringList{"Hello", "", "Bye"}));
    EXPECT_TRUE(op.alerts().isEmpty());
    EXPECT_TRUE(android.list().isEmpty());
}

TEST_F(ColumnImportTest, OpenRunsTheWindowAndReturnsItsCode) {
    const QString workbook = tableWorkbook("p.xlsx", {kPhones});
    op.onModal<Import_Excel>([](Import_Excel& d) {
          d.setColumnTicked(1, true);
          d.OKPressed();
      }).onModal<Import_Excel>([](Import_Excel& d) { d.CancelPressed(); });
    Import_Excel first(op, spreadsheet, &windows), second(op, spreadsheet, &windows);
    EXPECT_EQ(first.Open_excel_Wnd(workbook, "AND"), 1);
    waitForLoads();
    EXPECT_EQ(second.Open_excel_Wnd(workbook, "AND"), 0);
    waitForLoads();
    EXPECT_EQ(android.numbers(), (QStringList{"111", "333", "444"}));
}

} // namespace

namespace {

TEST_F(ColumnImportTest, TheLoadButtonHandsWorkbooksToTheImportOfItsWindow) {
    gsm.setComposerText("from gsm");
    op.chooseFile(tableWorkbook("p.XLSX", {kPhones}));
    op.onModal<Import_Excel>([](Import_Excel& d) {
        EXPECT_EQ(d.Load_Mode_str(), "GSM");
        d.setColumnTicked(2, true);
        d.OKPressed();
    });
    NumberLoader::of(gsm).Load_Number();
    waitForLoads();
    EXPECT_EQ(gsm.numbers(), (QStringList{"222", "555"}));
    EXPECT_EQ(gsm.messages(), QStringList(2, "from gsm"));
    EXPECT_TRUE(android.list().isEmpty());
}

TEST_F(ColumnImportTest, TheMessagesButtonOpensTheWizardOnTheActiveWindow) {
    windows.setFront(MainWindowController::Kind::Gsm);
    const QString workbook = tableWorkbook("m.xlsx", {{{"Phone", "Text"}, {"123", "hello"}}});
    op.onModal<Excel_Dynamic_Msg>([&](Excel_Dynamic_Msg& w) {
        w.rightButtonPressed();
        op.chooseFile(workbook);
        w.Browse();
        w.Sheet_ComboBox_changed(0);
        w.Number_ComboBox_changed(0);
        w.Message_ComboBox_changed(1);
        w.rightButtonPressed();
    });
    NumberLoader::of(android).Excel_Msg_Load_Btn(); // the button of either window acts on the active one
    waitForLoads();
    EXPECT_EQ(gsm.numbers(), QStringList{"123"});
    EXPECT_EQ(gsm.messages(), QStringList{"hello"});
}

} // namespace

namespace {

TEST_F(ColumnImportTest, CancelDuringTheImportLeavesTheListAsItWas) {
    SpreadsheetData rows{{"Phone"}};
    for (int i = 0; i < 3000; ++i)
        rows.append({QString::number(7700000000LL + i)});
    const QString workbook = tableWorkbook("many.xlsx", {rows});
    gsm.Create_Num_Msg_List("555", "old");
    for (bool cancel : {true, false}) {
        Import_Excel dialog(op, spreadsheet, &windows);
        dialog.prepareWindow(workbook, "GSM");
        dialog.setColumnTicked(0, true);
        dialog.OKPressed();
        EXPECT_TRUE(ListLoad::of(gsm).isRunning());
        if (cancel) {
            ListLoad::of(gsm).Cancel();
            waitForLoads();
            EXPECT_EQ(gsm.numbers(), QStringList{"555"});
        }
        waitForLoads();
    }
    ASSERT_EQ(gsm.list().size(), 3001);
    EXPECT_EQ(gsm.numbers().first(), "555");
    EXPECT_EQ(gsm.numbers().last(), "7700002999");
    EXPECT_TRUE(op.alerts().isEmpty());
}

} // namespace
