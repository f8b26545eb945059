#include "StoreWindowsFixture.h"
#include "core/FileUtils.h"
#include "stores/ExportFormats.h"
#include "stores/TemplateFile.h"
#include "stores/windows/ExportDialogs.h"
#include "stores/windows/Templates.h"
#include "stores/windows/UpdateTemp.h"
#include "text/NumberRules.h"

namespace {

class TemplatesTest : public StoreWindowsTest {
protected:
    void SetUp() override {
        StoreWindowsTest::SetUp();
        window.actOn(windows.get());
    }
    Templates& loaded(const QByteArray& file) {
        EXPECT_TRUE(writeFileAtomically(home.folder.Templates_File_Path(), file));
        window.startLoading();
        window.waitForLoading();
        EXPECT_TRUE(spinUntil([&] { return !window.loading(); }));
        return window;
    }
    Templates window{op, home.folder};
};

TEST_F(TemplatesTest, LoadingSkipsBlankAndRepeatedLinesAndRestoresLineFeeds) {
    loaded("Hello|AP*|DX/World\n\nHello|AP*|DX/World\n  Spaced  \nSpaced\n");
    EXPECT_EQ(window.templates(), (QStringList{"Hello\nWorld", "Spaced"}));
    EXPECT_EQ(window.countLabel(), "Total Items : 2");
}

TEST_F(TemplatesTest, EditorAddsUpdatesAndRefusesDuplicates) {
    loaded("First\nSecond\n");
    op.onModal<UpdateTemp>([](UpdateTemp& d) {
          EXPECT_EQ(d.title(), "Add Templates");
          d.setText("  First ");
          d.OKPressed(); // a duplicate after trimming
          EXPECT_FALSE(d.isEnded());
          d.setText(QString(2000, 'x'));
          EXPECT_EQ(d.counterText(), "1600 Characters");
          d.OKPressed();
      })
        .onModal<UpdateTemp>([](UpdateTemp& d) {
            EXPECT_EQ(d.title(), "Update Templates");
            EXPECT_EQ(d.text(), "Second");
            d.OKPressed(); // unchanged: accepted
        })
        .onModal<UpdateTemp>([](UpdateTemp& d) {
            d.setText("First");
            d.OKPressed();
            EXPECT_FALSE(d.isEnded());
            d.setText(" ");
            d.OKPressed();
            d.setText("Second, edited");
            d.OKPressed();
        });
    window.Add_Btn();
    window.setSelectedRows({1});
    window.Update_Btn();
    window.Update_Btn();
    EXPECT_EQ(window.templates(), (QStringList{"First", "Second, edited", QString(1600, 'x')}));
    EXPECT_EQ(op.alerts(), (QStringList{"\n" + kTemplateExists, "\n" + messageCutNotice(400),
                                        "\n" + kTemplateExists, "\nPlease type template message."}));
    EXPECT_EQ(window.editor().counterText(), "0 Characters");

    window.Close_Btn();
    EXPECT_EQ(readAll(home.folder.Templates_File_Path()),
              "First\nSecond, edited\n" + QByteArray(1600, 'x') + "\n");
}

TEST_F(TemplatesTest, SelectionRules) {
    loaded("");
    window.Update_Btn();
    window.Delete_Sel_Btn();
    window.Delete_All_Btn();
    window.Use_Template_Btn();
    loaded("a\nb\n");
    window.Update_Btn();
    window.setSelectedRows({0, 1});
    window.Update_Btn();
    window.Use_Template_Btn();
    EXPECT_EQ(op.alerts(), (QStringList{"\nTemplates number list is empty.", "\n" + kTemplatesListEmpty,
                                        "\nTemplates items list is empty.", "\n" + kTemplatesListEmpty,
                                        "\n" + kSelectTemplate, "\nPlease select only one record to update.",
                                        "\nPlease select only one record."}));
}

TEST_F(TemplatesTest, UseTemplateReplacesTheComposerTextAskingBeforeAMessageGoes) {
    loaded("Hello\nBye\n");
    gsm->setComposerText(" \n");
    window.setSelectedRows({0});
    window.Use_Template_Btn(); // a blank composer: nothing to lose
    window.Use_Template_Btn(); // the template itself: nothing to lose
    EXPECT_EQ(gsm->composerText(), "Hello");
    window.setSelectedRows({1});
    op.answerNo().answerYes();
    window.Use_Template_Btn();
    EXPECT_EQ(gsm->composerText(), "Hello");
    window.Use_Template_Btn();
    EXPECT_EQ(gsm->composerText(), "Bye");
    EXPECT_EQ(op.questions(), QStringList(2, "The composer holds a message. Replace it with the template?"));
    EXPECT_EQ(op.alerts().size(), 3);
}

TEST_F(TemplatesTest, ImportsTextAndCsvAndReportsAllDuplicates) {
    loaded("");
    writeFile("t.txt", "One\r\n" + QByteArray(2000, 'L') + "\nOne\n");
    writeFile("t.csv", "a,b\nc,d\r");
    op.chooseFile(path("t.txt")).chooseFile(path("t.txt")).chooseFile(path("t.csv"));
    window.Import_Btn();
    EXPECT_EQ(window.templates(), (QStringList{"One", QString(1600, 'L')}));
    window.Import_Btn(); // everything already there
    window.Import_Btn();
    EXPECT_EQ(window.templates().mid(2), (QStringList{"a", "b", "c", "d"})); // an LF ends a row as CR does
    EXPECT_EQ(op.alerts(), QStringList{"\n" + kTemplateImportFailed});
}

TEST_F(TemplatesTest, RtfIsReducedToItsTextAndAMissingFileIsRefused) {
    loaded("");
    writeFile("t.rtf", "{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}\\f0 Meeting at {\\b five}\\par See you\\par}");
    op.chooseFile(path("t.rtf")).chooseFile(path("absent.txt"));
    window.Import_Btn();
    EXPECT_EQ(window.templates(), (QStringList{"Meeting at five", "See you"}));
    window.Import_Btn();
    EXPECT_EQ(op.alerts(), QStringList{"\nPlease select a valid file."});
}

TEST_F(TemplatesTest, ATextExportImportsBackToNothingNew) {
    loaded("One two\nThree\n");
    op.onModal<Export_Option>([](Export_Option& d) { d.OKPressed(); })
        .chooseFile(path("templates.txt"))
        .onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); })
        .chooseFile(path("templates.txt"));
    window.Export_Btn();
    window.Import_Btn();
    EXPECT_EQ(window.templates(), (QStringList{"One two", "Three"}));
    EXPECT_EQ(op.alerts(), QStringList{"\n" + kTemplateImportFailed});
}

// Exports of earlier versions were UTF-16 with a byte-order mark before every piece (the
// heading, then each template), in either byte order; they import as today's UTF-8 export does.
TEST_F(TemplatesTest, OldUtf16ExportsImportAsTheUtf8OneDoes) {
    const QString rule(76, '=');
    const QString accented = QString::fromUtf8("Z\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"); // é, €, a pair
    const QStringList pieces = {rule + "\n\n\t\t\t[ Bulk SMS - Templates]\t\t\t\n\n" + rule + "\n",
                                "One two\n" + rule + "\n", accented + "\n" + rule + "\n"};
    const auto utf16 = [&](bool bigEndian) {
        QByteArray bytes;
        for (const QString& piece : pieces) {
            bytes += bigEndian ? QByteArray("\xFE\xFF", 2) : QByteArray("\xFF\xFE", 2);
            for (const QChar c : piece) {
                const char high = char(c.unicode() >> 8), low = char(c.unicode() & 0xFF);
                bytes += bigEndian ? QByteArray{&high, 1} + low : QByteArray{&low, 1} + high;
            }
        }
        return bytes;
    };
    const QByteArray little = utf16(false);
    ASSERT_EQ(little.left(8), QByteArray("\xFF\xFE=\0=\0=\0", 8)); // the old file's first bytes
    const struct {
        const char* name;
        QByteArray bytes;
    } files[] = {{"old-le.txt", little},
                 {"old-be.txt", utf16(true)},
                 {"new.txt", templatesText({"One two", accented})}};
    for (const auto& f : files) {
        writeFile(f.name, f.bytes);
        Templates fresh(op, home.folder);
        fresh.loadFrom("");
        op.chooseFile(path(f.name));
        fresh.Import_Btn();
        EXPECT_EQ(fresh.templates(), (QStringList{"One two", accented})) << f.name;
    }
    EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join('|').toStdString();
}

TEST_F(TemplatesTest, DeleteAllEmptiesTheFileAtOnceButForWhatARunSavedMeanwhile) {
    loaded("a\nb\n");
    TemplateFile saved(home.folder);
    ASSERT_TRUE(saved.appendTemplateIfNew("c"));
    op.answerYes();
    window.Delete_All_Btn();
    EXPECT_TRUE(window.templates().isEmpty());
    EXPECT_EQ(readAll(home.folder.Templates_File_Path()), "c\n");
}

} // namespace
