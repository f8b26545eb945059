// Workbooks into the template store and an exclusion list through the column import, and
// the main windows' contact-list export.
#include "StoreWindowsFixture.h"
#include "core/FileUtils.h"
#include "list/DefaultCountry.h"
#include "sheets/SpreadsheetWriter.h"
#include "sheets/windows/Import_Excel.h"
#include "stores/ContactListExport.h"
#include "stores/ExclusionFiles.h"
#include "stores/SentItemFile.h"
#include "stores/StoreImport.h"
#include "stores/TemplateFile.h"
#include "stores/windows/Exclusion_Wizard.h"
#include "stores/windows/ExportDialogs.h"
#include "stores/windows/Templates.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

const QString kRule =
    QStringLiteral("============================================================================");

void tickFirstColumnAndImport(Import_Excel& d) {
    d.setColumnTicked(0, true);
    d.OKPressed();
}

// The exclusion and template windows' "Load from File": every row, whatever ends the lines.
TEST(StoreImportLineEndings, EveryRowIsReadWhateverEndsItsLine) {
    QTemporaryDir dir;
    for (const QByteArray& ending : {QByteArray("\n"), QByteArray("\r\n"), QByteArray("\r")}) {
        for (const char* suffix : {"csv", "txt"}) {
            const QString path = dir.filePath(QStringLiteral("opted-out.%1").arg(QLatin1String(suffix)));
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            const QByteArray separator = qstrcmp(suffix, "csv") == 0 ? "," : " ";
            file.write("Ann" + separator + "+447700900001" + ending + "Bob" + separator + "+447700900002" +
                       ending);
            file.close();
            QStringList pieces;
            ASSERT_TRUE(readImportPieces(path, pieces)) << suffix;
            const QString read = pieces.join(QLatin1Char('|'));
            EXPECT_TRUE(read.contains("+447700900001") && read.contains("+447700900002"))
                << suffix << " " << ending.toHex().constData() << ": " << read.toStdString();
            EXPECT_FALSE(read.contains(QLatin1Char('\r')) || read.contains(QLatin1Char('\n'))) << suffix;
        }
    }
}

// The stores' own files, edited or copied on another computer, keep their lines whatever ends
// them; a text with a line break of any kind stays one record.
TEST_F(StoreWindowsTest, StoredFilesReadWhateverEndsTheirLines) {
    for (const QByteArray& e : {QByteArray("\n"), QByteArray("\r\n"), QByteArray("\r")}) {
        const std::string ending = e.toHex().toStdString();
        const QByteArray templates = "Hello" + e + "Bye|AP*|DX/now" + e;
        EXPECT_EQ(parseTemplates(templates), (QStringList{"Hello", "Bye\nnow"})) << ending;
        Templates window(op, home.folder);
        window.actOn(windows.get());
        window.loadFrom(templates);
        EXPECT_EQ(window.templates(), (QStringList{"Hello", "Bye\nnow"})) << ending;

        const QList<SentItem> sent = parseSentItems("\a111\vHi\ad\vs" + e + "\a222\vYo\ad\vs" + e);
        ASSERT_EQ(sent.size(), 2) << ending;
        EXPECT_EQ(sent[1].number, "222") << ending;

        ASSERT_TRUE(writeFileAtomically(home.folder.ExListIndex_File_Path(), "Staff" + e + "Other" + e));
        ASSERT_TRUE(writeFileAtomically(exclusionListPath(home.folder, "Staff"),
                                        "+447700900001" + e + "+447700900002" + e));
        ASSERT_TRUE(writeFileAtomically(home.folder.AppExclusion_File_Path(), "Staff" + e));
        EXPECT_EQ(readListNames(home.folder.ExListIndex_File_Path()), (QStringList{"Staff", "Other"}))
            << ending;
        gsm->Exclusion_Chk(true);
        EXPECT_TRUE(gsm->Check_Exclusion_Number("+447700900001")) << ending;
        EXPECT_TRUE(gsm->Check_Exclusion_Number("+447700900002")) << ending;
        gsm->Exclusion_Chk(false);
    }
    // Written by us, a text's CR LF or CR comes back as one record with a line feed.
    EXPECT_EQ(parseTemplates(formatTemplateLine("a\r\nb\rc")), QStringList{"a\nb\nc"});
    EXPECT_EQ(parseSentItems(formatSentItemLine({"1", "x\ry", "d", "s"})).value(0).message, "x\ny");
}

TEST_F(StoreWindowsTest, WorkbookColumnsBecomeTemplatesOnce) {
    const QString book = path("templates.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(book, {{"Text"}, {"Hello"}, {"Hello "}, {"Bye"}}, false));
    Templates window(op, home.folder);
    window.actOn(windows.get());
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
    DefaultCountry country;
    Exclusion_Wizard wizard(op, home.folder, country);
    wizard.actOn(windows.get());
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

    gsm->Create_Num_Msg_List("111", "First\nline");
    gsm->Create_Num_Msg_List("222", "Second");
    EXPECT_FALSE(exportContactList(*gsm)); // cancelled
    const struct {
        QString chosen, written;
    } cases[] = {{path("list.csv"), path("list.csv.txt")}, {path("LIST.TXT"), path("LIST.TXT")}};
    for (const auto& c : cases) {
        op.chooseFile(c.chosen).onModal<Open_Export_Log>([&c](Open_Export_Log& d) {
            EXPECT_EQ(d.Export_File_Path(), c.written);
            d.CancelPressed();
        });
        ASSERT_TRUE(exportContactList(*gsm));
        EXPECT_EQ(readAll(c.written), (kRule + "\n\n\t\t\t[ Bulk SMS - Contact List ]\t\t\t\n\n" + kRule +
                                       "\n111\nFirst\nline\n222\nSecond\n")
                                          .toUtf8());
        EXPECT_EQ(permissionsOf(c.written), 0600u);
    }
    op.chooseFile(path("list.xlsx")).onModal<Open_Export_Log>([](Open_Export_Log& d) { d.OKPressed(); });
    ASSERT_TRUE(exportContactList(*gsm));
    EXPECT_TRUE(QFileInfo(path("list.xlsx")).size() > 0);
    EXPECT_EQ(op.events().last().kind, ScriptedOperator::Kind::OpenWith);
    EXPECT_EQ(op.events().last().text, path("list.xlsx"));
}

} // namespace
