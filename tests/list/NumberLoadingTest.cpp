// Bulk loads into a window's list: files of every kind, pasted blocks, the keep-or-replace
// question, the summary of a load that added nothing, and the spreadsheet hand-over.
#include "list/ListLoad.h"
#include "list/LoadCounters.h"
#include "list/NumberLoader.h"
#include "list/SpreadsheetLoads.h"
#include "list/windows/Load_Num_Info.h"
#include "list/windows/Manually_Add_Num.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "TestWindows.h"
#include "core/FileUtils.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

const QString kCorrupted = "\n" + NumberLoader::corruptedFileMessage();

class NumberLoadingTest : public ::testing::Test {
protected:
    QString writeFile(const QString& name, const QByteArray& bytes) {
        QString path = home.root() + "/" + name;
        EXPECT_TRUE(writeFileAtomically(path, bytes));
        return path;
    }

    // Load button, file chooser answered with the file; waits for the loading thread.
    void loadFile(const QString& name, const QByteArray& bytes) {
        op.chooseFile(writeFile(name, bytes));
        loader().Load_Number();
        // A deadline for a hang only: a large file under a sanitizer beside other suites takes a while.
        ASSERT_TRUE(spinUntil([&] { return !loader().isLoading(); }, std::chrono::seconds(90)));
    }

    NumberLoader& loader() { return NumberLoader::of(window); }
    QList<int> counters() const {
        const LoadCounters& c = window.lastLoad();
        return {c.TOT_PROC, c.TOT, c.SKPD, c.EXLD};
    }

    TestDataHome home;
    ScriptedOperator op;
    TestBulkSmsWindow window{MainWindowController::Kind::Android, op, home.folder};
};

struct FileCase {
    const char* name;
    const char* fileName;
    QByteArray bytes;
    QStringList numbers; // in the list's order
    QList<int> counters; // readable, valid, skipped, excluded
};

class FileLoads : public NumberLoadingTest, public ::testing::WithParamInterface<FileCase> {};

TEST_P(FileLoads, AppendTheAcceptedNumbersInTheFilesOrder) {
    const FileCase& c = GetParam();
    window.setComposerText("Hi");
    loadFile(c.fileName, c.bytes);
    EXPECT_EQ(window.numbers(), c.numbers);
    EXPECT_EQ(window.messages(), QStringList(c.numbers.size(), "Hi"));
    EXPECT_EQ(counters(), c.counters);
    EXPECT_EQ(op.alerts().isEmpty(), !c.numbers.isEmpty()) << op.alerts().join("|").toStdString();
}

const QString kUnicodeSample = QString::fromUtf8("Zoë\r\n+441234567890\r\n0044 (555) 1234\r\n");
const QStringList kSampleNumbers{"+441234567890", "00445551234"};

QByteArray withBom(QStringConverter::Encoding encoding, const QString& text) {
    return QStringEncoder(encoding, QStringConverter::Flag::WriteBom)(text);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, FileLoads,
    ::testing::Values(
        FileCase{"TxtWindowsLineEnds", "a.txt", "111\r\n222\r\n333\r\n", {"111", "222", "333"}, {3, 3, 0, 0}},
        FileCase{"TxtMarkupRemoved", "a.TXT", "{\\111}\n2-2 2\n", {"111", "222"}, {2, 2, 0, 0}},
        FileCase{"TxtInvalidLinesCounted", "a.txt", "Name\n12a\n+1+2\n555\n", {"555"}, {4, 1, 0, 0}},
        // CSV: RFC 4180 records, the separator sniffed, only cells that look like phone numbers.
        FileCase{"CsvCellsOfOneLine", "a.csv", "Name,+441234567890,Note\r", {"+441234567890"}, {1, 1, 0, 0}},
        FileCase{"CsvLineFeedLineEnds",
                 "a.CSV",
                 "x,07700900111,07700900222\ny,07700900333,07700900444",
                 {"07700900111", "07700900222", "07700900333", "07700900444"},
                 {4, 4, 0, 0}},
        FileCase{"CsvMixedLineEnds",
                 "a.csv",
                 "a,07700900111\rb,07700900222\r\nc,07700900333\n",
                 {"07700900111", "07700900222", "07700900333"},
                 {3, 3, 0, 0}},
        FileCase{"CsvOneColumn",
                 "a.csv",
                 "Phone\r\n07700900111\r\n+44 7700 900222\r\n",
                 {"07700900111", "+447700900222"},
                 {2, 2, 0, 0}},
        FileCase{"CsvQuotedFields",
                 "a.csv",
                 "\"Smith, John\",\"+44 7700 900111\"\r\n\"O\"\"Neil, Amy\", \"07700 900222\"\r\n",
                 {"+447700900111", "07700900222"},
                 {2, 2, 0, 0}},
        FileCase{"CsvLineBreakInsideQuotes",
                 "a.csv",
                 "Name,Phone,Note\nAnn,07700900111,\"line one\nline two 07700900999\"\nBob,07700900222,x\n",
                 {"07700900111", "07700900222"},
                 {2, 2, 0, 0}},
        FileCase{"CsvSemicolonsAndDecimalCommas",
                 "a.csv",
                 "Name;Phone;Amount\nAnn;07700 900111;12,50\nBob;07700 900222;1.250,00\n",
                 {"07700900111", "07700900222"},
                 {2, 2, 0, 0}},
        FileCase{"CsvSeparatorNamedOnTheFirstLine",
                 "a.csv",
                 "sep=;\r\nName;Phone\r\n\"Ann, Smith\";07700900111\r\n",
                 {"07700900111"},
                 {1, 1, 0, 0}},
        FileCase{"CsvTabs", "a.csv", "Name\tPhone\nAnn\t07700900111\n", {"07700900111"}, {1, 1, 0, 0}},
        FileCase{"CsvCrmExportGivesOnlyItsPhoneNumbers",
                 "crm.csv",
                 "Id,Name,Age,Phone,Amount,Date\r\n"
                 "1,Ann Smith,34,+44 7700 900123,1250.00,2024-03-05\r\n"
                 "2,Bob Jones,41,07700 900456,99.50,05/03/2024\r\n"
                 "3,Cy Long,29,,1250,2024-03-06\r\n",
                 {"+447700900123", "07700900456"},
                 {2, 2, 0, 0}},
        // Numbers as people write them.
        FileCase{"TxtNoBreakSpacesAndHyphens",
                 "a.txt",
                 QString::fromUtf8("+44\u00A07700\u00A0900123\n0770\u2011090\u20110456\n").toUtf8(),
                 {"+447700900123", "07700900456"},
                 {2, 2, 0, 0}},
        FileCase{"TxtENotationAndTrunkZero",
                 "a.txt",
                 "4.47700900002E11\n+44 (0)7700 900003\n",
                 {"447700900002", "+447700900003"},
                 {2, 2, 0, 0}},
        FileCase{"Utf16LeWithoutBom",
                 "u.txt",
                 QStringEncoder(QStringConverter::Utf16LE)(kUnicodeSample),
                 kSampleNumbers,
                 {3, 2, 0, 0}},
        FileCase{"Utf16BeWithoutBom",
                 "u.txt",
                 QStringEncoder(QStringConverter::Utf16BE)(kUnicodeSample),
                 kSampleNumbers,
                 {3, 2, 0, 0}},
        FileCase{"RtfParagraphs",
                 "a.rtf",
                 "{\\rtf1\\ansi{\\fonttbl{\\f0 Arial 999;}}\\f0 111\\par 222\\par}",
                 {"111", "222"},
                 {2, 2, 0, 0}},
        FileCase{"Utf8", "u.txt", kUnicodeSample.toUtf8(), kSampleNumbers, {3, 2, 0, 0}},
        FileCase{"Utf8Bom",
                 "u.txt",
                 withBom(QStringConverter::Utf8, kUnicodeSample),
                 kSampleNumbers,
                 {3, 2, 0, 0}},
        FileCase{"Utf16LeBom",
                 "u.txt",
                 withBom(QStringConverter::Utf16LE, kUnicodeSample),
                 kSampleNumbers,
                 {3, 2, 0, 0}},
        FileCase{"Windows1252", "u.txt", kUnicodeSample.toLatin1(), kSampleNumbers, {3, 2, 0, 0}},
        FileCase{"NothingValid", "n.txt", "abc\r\ndef\r\n", {}, {2, 0, 0, 0}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(NumberLoadingTest, UnreadableFilesGiveTheCorruptedFileMessageAndChangeNothing) {
    window.add("999");
    for (const auto& [name, bytes] :
         {std::pair{"bin.txt", QByteArray("\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR", 16)},
          std::pair{"empty.txt", QByteArray()}, std::pair{"empty.rtf", QByteArray()}}) {
        op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); });
        loadFile(name, bytes);
    }
    op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); });
    op.chooseFile(home.root() + "/missing.txt");
    loader().Load_Number();
    ASSERT_TRUE(spinUntil([&] { return !loader().isLoading(); }));
    EXPECT_EQ(op.alerts(), QStringList(4, kCorrupted));
    EXPECT_EQ(window.numbers(), QStringList{"999"});
    EXPECT_FALSE(loader().pleaseWaitVisible());
}

TEST_F(NumberLoadingTest, KeepOrReplaceQuestion) {
    struct Case {
        const char* name;
        std::function<void(Load_Num_Info&)> answer;
        QStringList numbers;
    };
    const QList<Case> cases{
        {"No keeps the old rows above", [](Load_Num_Info& q) { q.NoPressed(); }, {"old", "1", "2"}},
        {"Yes replaces the list", [](Load_Num_Info& q) { q.YesPressed(); }, {"1", "2"}},
        {"Cancel loads nothing", [](Load_Num_Info& q) { q.CancelPressed(); }, {"old"}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        window.list().clear();
        window.list().prepend(recipientRecord("old", ""));
        op.onModal<Load_Num_Info>(c.answer);
        if (c.numbers.size() > 1)
            op.chooseFile(writeFile("k.txt", "1\n2\n"));
        loader().Load_Number();
        // A deadline for a hang only: a large file under a sanitizer beside other suites takes a while.
        ASSERT_TRUE(spinUntil([&] { return !loader().isLoading(); }, std::chrono::seconds(90)));
        EXPECT_EQ(window.numbers(), c.numbers);
    }
    EXPECT_EQ(op.dialogs(), QStringList(3, "Load_Num_Info"));
}

TEST_F(NumberLoadingTest, ATypedNumberStopsEveryLoadButton) {
    window.setNumberField("123");
    loader().Load_Number();
    loader().Manually_Add_Btn();
    loader().Excel_Msg_Load_Btn();
    EXPECT_EQ(op.alerts(), QStringList(3, "\nPlease insert entered number to the list."));
    EXPECT_TRUE(op.dialogs().isEmpty());
}

TEST_F(NumberLoadingTest, AllDuplicatesShowTheSummaryWithItsCounters) {
    window.setSkipDuplicates(true);
    loadFile("a.txt", "111\n");
    op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); });
    loadFile("b.txt", "111\n111\nbad\n");
    EXPECT_EQ(window.numbers(), QStringList{"111"});
    EXPECT_EQ(op.alerts(), QStringList{"\n" + window.lastLoad().summary()});
    EXPECT_EQ(counters(), (QList<int>{3, 2, 2, 0}));
}

TEST_F(NumberLoadingTest, DuplicatesInsideOneFileAreSkippedOnlyWhenAsked) {
    loadFile("a.txt", "5\n5\n");
    EXPECT_EQ(window.numbers(), (QStringList{"5", "5"}));
    window.list().clear();
    window.setSkipDuplicates(true);
    loadFile("a.txt", "5\n5\n");
    EXPECT_EQ(window.numbers(), QStringList{"5"});
    EXPECT_EQ(counters(), (QList<int>{2, 2, 1, 0}));
}

TEST_F(NumberLoadingTest, ALoadMeetsTheListItsOwnNumbersAndTheExclusionsInTheFixedOrder) {
    window.setSkipDuplicates(true);
    window.Exclusion_Chk(true);
    window.Create_Exclusion_List("999");
    window.list().prepend(recipientRecord("111", ""));
    op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); });
    // An excluded number is refused each time it comes (never taken for a duplicate of
    // itself); one in the list or earlier in the file is skipped.
    loadFile("a.txt", "999\n222\n111\n999\n222\n333\n");
    EXPECT_EQ(window.numbers(), (QStringList{"111", "222", "333"}));
    EXPECT_EQ(counters(), (QList<int>{6, 6, 2, 2}));
    window.add("222");
    window.add("999");
    window.add("444");
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nEntered number already exists.", "\nEntered number is in exclusion list."}));
    EXPECT_EQ(window.numbers(), (QStringList{"111", "222", "333", "444"}));
}

TEST_F(NumberLoadingTest, TheChooserOffersNumberFilesAndCancellingEndsTheLoad) {
    op.chooseFile(QString());
    loader().Load_Number();
    EXPECT_FALSE(loader().isLoading());
    ASSERT_EQ(op.events().size(), 1);
    EXPECT_EQ(op.events().at(0).text, "txt,TXT,rtf,RTF,csv,CSV,xlsx,XLSX");
}

TEST_F(NumberLoadingTest, ALargeFileKeepsItsOrderAcrossHandOvers) {
    QByteArray bytes;
    for (int i = 0; i < 5000; ++i)
        bytes += QByteArray::number(100000 + i) + "\r\n";
    loadFile("big.txt", bytes);
    ASSERT_EQ(window.list().size(), 5000);
    EXPECT_EQ(window.numbers().first(), "100000");
    EXPECT_EQ(window.numbers().last(), "104999");
}

TEST_F(NumberLoadingTest, FilesLargerThanAChunkReadTheSameInEveryEncoding) {
    // Enough lines for several chunks, with a character that is not ASCII on every line.
    QString text;
    for (int i = 0; i < 40000; ++i)
        text += QStringLiteral("+44 7700 %1 Jos\u00e9\r\n").arg(i, 6, 10, QLatin1Char('0'));
    QString csv;
    for (int i = 0; i < 40000; ++i)
        csv += QStringLiteral("Jos\u00e9 %1;\"+44 7700\n%2\";+44 7701 %2\r\n")
                   .arg(i)
                   .arg(i, 6, 10, QLatin1Char('0'));
    const struct {
        const char* name;
        QByteArray bytes;
        int numbers;
    } cases[] = {
        {"utf8.txt", text.toUtf8(), 40000},
        {"utf16.txt", QStringEncoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom)(text),
         40000},
        {"latin.txt", text.toLatin1(), 40000},
        // A quoted cell with a line break inside is one cell (and no number); the next one is.
        {"cells.csv", csv.toUtf8(), 40000},
    };
    for (const auto& c : cases) {
        window.list().clear();
        loadFile(c.name, c.bytes);
        // "José" makes every text line an invalid number, so the lines are counted as read
        // records; the CSV's third cells are numbers.
        if (QString(c.name).endsWith(".csv")) {
            EXPECT_EQ(window.list().size(), c.numbers) << c.name;
            EXPECT_EQ(window.numbers().last(), "+447701039999") << c.name;
        } else {
            EXPECT_EQ(window.lastLoad().TOT_PROC, c.numbers) << c.name;
        }
    }
}

TEST_F(NumberLoadingTest, OverlongLinesAreCutAndCountedNeverHeldWhole) {
    QByteArray bytes = "5550001\n" + QByteArray(3 << 20, '7') + "\n5550002\r\n" + QByteArray(5000, ' ') +
                       "5550003\n5550004\n" + QByteArray(2 << 20, '8');
    loadFile("long.txt", bytes);
    EXPECT_EQ(window.numbers(), (QStringList{"5550001", "5550002", "5550004"}));
    EXPECT_EQ(counters(), (QList<int>{6, 3, 0, 0})); // three cut lines count as invalid records
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST_F(NumberLoadingTest, OnlyRegularFilesAreOpened) {
    window.add("999");
    const QString fifo = home.root() + "/pipe.txt";
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const QString folder = home.root() + "/folder.txt";
    ASSERT_TRUE(QDir().mkpath(folder));
    for (const QString& path : {fifo, folder, QStringLiteral("/dev/zero")}) {
        op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); });
        op.chooseFile(path);
        loader().Load_Number();
        ASSERT_TRUE(spinUntil([&] { return !loader().isLoading(); })) << path.toStdString();
    }
    ASSERT_EQ(op.alerts().size(), 3);
    for (const QString& alert : op.alerts())
        EXPECT_TRUE(alert.contains("is not a regular file (it is a folder, a device or a pipe)"))
            << alert.toStdString();
    EXPECT_EQ(window.numbers(), QStringList{"999"});
}

TEST_F(NumberLoadingTest, CancelLeavesTheListAsItWasAndTheNextLoadTakesEveryNumberOnce) {
    window.setSkipDuplicates(true);
    window.add("111");
    window.add("222");
    QByteArray bytes;
    for (int i = 0; i < 60000; ++i)
        bytes += QByteArray::number(7700000000LL + i % 45000) + "\r\n"; // 15,000 repeats
    const QString path = writeFile("big.txt", bytes);
    ListLoad& load = ListLoad::of(window);
    int shownRunning = 0;
    QObject::connect(&load, &ListLoad::runningChanged, [&](bool running) { shownRunning += running; });
    for (bool cancel : {true, false}) {
        SCOPED_TRACE(cancel ? "cancelled" : "to the end");
        op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.YesPressed(); }); // replace the list
        op.chooseFile(path);
        loader().Load_Number();
        EXPECT_TRUE(loader().isLoading());
        if (cancel)
            load.Cancel();
        ASSERT_TRUE(spinUntil([&] { return !loader().isLoading(); }, std::chrono::seconds(60)));
        if (cancel) {
            EXPECT_EQ(window.numbers(), (QStringList{"111", "222"}));
        }
    }
    EXPECT_EQ(shownRunning, 2);
    // The cancelled load neither replaced nor added anything; the second replaced the list.
    ASSERT_EQ(window.list().size(), 45000);
    EXPECT_EQ(window.numbers().last(), "7700044999");
    EXPECT_FALSE(window.Check_Duplicate_Number("111"));
    EXPECT_EQ(counters(), (QList<int>{60000, 60000, 15000, 0}));
    EXPECT_TRUE(op.alerts().isEmpty());
    EXPECT_EQ(load.rowsRead(), 60000);
}

// ---- spreadsheet hand-over ----

class RecordingSpreadsheetLoads : public SpreadsheetLoads {
public:
    int openColumnImport(BulkSmsWindow&, const QString& path, const QString& mode) override {
        calls << "import " + path.section('/', -1) + " " + mode;
        return 1;
    }
    int openDynamicMessages(BulkSmsWindow&) override {
        calls << "dynamic";
        return 1;
    }
    QStringList calls;
};

TEST_F(NumberLoadingTest, WorkbooksGoToTheColumnImportWithTheWindowKind) {
    RecordingSpreadsheetLoads loads;
    TestBulkSmsWindow android{MainWindowController::Kind::Android, op, home.folder, &loads};
    TestBulkSmsWindow gsm{MainWindowController::Kind::Gsm, op, home.folder, &loads};
    op.chooseFile(home.root() + "/book.XLSX").chooseFile(home.root() + "/other.xlsx");
    NumberLoader::of(android).Load_Number();
    gsm.list().prepend(recipientRecord("1", ""));
    op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); });
    NumberLoader::of(gsm).Load_Number();
    NumberLoader::of(android).Excel_Msg_Load_Btn();
    EXPECT_EQ(loads.calls, (QStringList{"import book.XLSX AND", "import other.xlsx GSM", "dynamic"}));
    EXPECT_EQ(gsm.prev_list_item, 1);
}

// ---- paste dialog ----

class PasteTest : public NumberLoadingTest {
protected:
    // Opens the paste dialog, types text, presses OK (and Cancel after a refusal).
    void paste(const QString& text) {
        op.onModal<Manually_Add_Num>([text](Manually_Add_Num& d) {
            d.setText(text);
            d.OKPressed();
            if (!d.isEnded())
                d.CancelPressed();
        });
        loader().Manually_Add_Btn();
        // A deadline for a hang only: a large file under a sanitizer beside other suites takes a while.
        ASSERT_TRUE(spinUntil([&] { return !loader().isLoading(); }, std::chrono::seconds(90)));
    }
};

TEST_F(PasteTest, TabsSplitCellsAndLinesGoAfterTheListInOrder) {
    window.setComposerText("msg");
    window.add("999");
    op.onModal<Load_Num_Info>([](Load_Num_Info& q) { q.NoPressed(); });
    // Cells of a row copied from a spreadsheet count only when they look like phone numbers.
    paste("1\tAnn\t34\t07700900111\t07700900222\t1250.00\n333");
    EXPECT_EQ(window.numbers(), (QStringList{"999", "07700900111", "07700900222", "333"}));
    EXPECT_EQ(counters(), (QList<int>{3, 3, 0, 0}));
    EXPECT_EQ(window.lastLoad().ignoredCells, 4);
    EXPECT_EQ(window.messages(), QStringList(4, "msg"));
    EXPECT_TRUE(op.alerts().isEmpty());
}

TEST_F(PasteTest, RefusalsAndSummary) {
    struct Case {
        const char* name;
        QString text;
        std::function<QStringList()> alerts; // read after the paste: the summary shows its counters
    };
    const QList<Case> cases{
        {"blank", " \n\t ", [] { return QStringList{"\nNo item to insert in list."}; }},
        {"lone surrogate", QString("12") + QChar(0xD800), [] { return QStringList{kCorrupted}; }},
        {"nothing valid", "abc\ndef", [this] { return QStringList{"\n" + window.lastLoad().summary()}; }},
        {"no phone cells, said in the summary", "Ann\t34\nBob\t41",
         [this] {
             EXPECT_TRUE(window.lastLoad().summary().endsWith(
                 "\nCells that are not phone numbers (names, ids, amounts, dates), ignored = 4\n"));
             return QStringList{"\n" + window.lastLoad().summary()};
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        op.clearTranscript();
        paste(c.text);
        EXPECT_EQ(op.alerts(), c.alerts());

        EXPECT_TRUE(window.list().isEmpty());
    }
}

TEST_F(PasteTest, LineCounterAndEmptiedTextBox) {
    Manually_Add_Num dialog(window);
    EXPECT_EQ(dialog.lineCounter(), "1");
    for (const auto& [text, lines] :
         {std::pair{"", "1"}, std::pair{"1", "1"}, std::pair{"1\n", "2"}, std::pair{"1\n2\n3", "3"}}) {
        dialog.setText(text);
        EXPECT_EQ(dialog.lineCounter(), lines) << text;
    }
    const int generation = dialog.clearGeneration();
    dialog.CancelPressed();
    EXPECT_EQ(dialog.endCode(), 0);
    EXPECT_EQ(dialog.text(), "");
    EXPECT_EQ(dialog.lineCounter(), "1");
    EXPECT_GT(dialog.clearGeneration(), generation);
}

} // namespace
