// Workbooks into the template store and an exclusion list through the column import, and
// the main windows' contact-list export.
#include "StoreWindowsFixture.h"
#include "sheets/SpreadsheetWriter.h"
#include "sheets/windows/Import_Excel.h"
#include "stores/ContactListExport.h"
#include "stores/Exclusion_Wizard.h"
#include "stores/ExportDialogs.h"
#include "stores/Templates.h"

#include <QFileInfo>

namespace {

const QString kRule =
    QStringLiteral("============================================================================");

void tickFirstColumnAndImport(Import_Excel& d) {
    d.setColumnTicked(0, true);
    d.OKPressed();
}

TEST_F(StoreWindowsTest, WorkbookColumnsBecomeTemplatesOnce) {
    const QString book = path("templates.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(book, {{"Text"}, {"Hello"}, {"Hello "}, {"Bye"}}, false));
    Templates window(op);
    window.loadFrom("Bye\n");
    op.chooseFile(book).onModal<Import_Excel>(tickFirstColumnAndImport);
    window.Import_Btn();
    EXPECT_EQ(window.templates(), (QStringList{"Bye", "Hello"})); // the header row is skipped
    EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join('|').toStdString();
}

TEST_F(StoreWindowsTest, WorkbookColumnsBecomeExclusionNumbers) {
    const QString book = path("numbers.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(
        book, {{"Phone"}, {"+44 20 7946 0958"}, {"not one"}, {"5550100"}}, false));
    Exclusion_Wizard wizard(op);
    wizard.New_List_Btn();
    wizard.setNameField("Book");
    wizard.OnContinue();
    op.chooseFile(book).onModal<Import_Excel>(tickFirstColumnAndImport);
    wizard.Load_File_Btn();
    EXPECT_EQ(wizard.numbers(), (QStringList{"+442079460958", "5550100"}));
    EXPECT_TRUE(wizard.back_flag);
}

TEST_F(StoreWindowsTest, ContactListExportsByExtension) {
    EXPECT_FALSE(exportContactList(*gsm));
    EXPECT_EQ(op.alerts(), QStringList{"\nPhone numbers-Messages list is empty."});
    op.clearTranscript();
    op.chooseFile(QString()); // consumed by the next call

    gsm->Create_Num_Msg_List("222", "Second");
    gsm->Create_Num_Msg_List("111", "First\nline");
    EXPECT_FALSE(exportContactList(*gsm)); // cancelled
    const struct {
        QString chosen, written;
    } cases[] = {{path("list.csv"), path("list.csv.txt")}, {path("LIST.TXT"), path("LIST.TXT")}};
    for (const auto& c : cases) {
        op.chooseFile(c.chosen).onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); });
        ASSERT_TRUE(exportContactList(*gsm));
        EXPECT_EQ(Export_File_Path, c.written);
        EXPECT_EQ(readAll(c.written), (kRule + "\n\n\t\t\t[ Bulk SMS - Contact List ]\t\t\t\n\n" + kRule +
                                       "\n111\nFirst\nline\n222\nSecond\n")
                                          .toUtf8());
    }
    op.chooseFile(path("list.xlsx")).onModal<Open_Export_Log>([](Open_Export_Log& d) { d.OKPressed(); });
    ASSERT_TRUE(exportContactList(*gsm));
    EXPECT_TRUE(QFileInfo(path("list.xlsx")).size() > 0);
    EXPECT_EQ(op.events().last().kind, ScriptedOperator::Kind::OpenWith);
    EXPECT_EQ(op.events().last().text, path("list.xlsx"));
}

} // namespace
