// Workbooks from strangers: each must fail cleanly, write nothing outside the working
// folder, and never exhaust memory or crash.
#include "sheets/SpreadsheetWriter.h"

#include "WorkbookFixture.h"
#include "ZipTestSupport.h"
#include "core/Log.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include <random>

namespace {

using HostileWorkbookTest = WorkbookTest;

const QByteArray kWorkbook = R"(<workbook><sheets><sheet name="S"/></sheets></workbook>)";

// Everything a full import produces, asserting the sheet list stays sane.
SpreadsheetData importAll(SpreadsheetWriter& spreadsheet, const QString& book) {
    spreadsheet.ReadWorkbook(book, true);
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.Read_Sheet_Name();
    spreadsheet.ReadData_only_column();
    const SpreadsheetData rows = spreadsheet.ReadWorkbook(book, false);
    expectStreamedRowsMatch(spreadsheet, rows);
    return rows;
}

TEST_F(HostileWorkbookTest, EscapingEntriesWriteNothingOutsideTheWorkingFolder) {
    const QString marker = "escape-" + QUuid::createUuid().toString(QUuid::WithoutBraces) + ".txt";
    const QString outside = QFileInfo(spreadsheet.tmpDir).path() + "/" + marker;
    for (const QString& name :
         {"../" + marker, QFileInfo(outside).absoluteFilePath(), "xl/../../" + marker, "..\\" + marker}) {
        const QString book = packWorkbook(
            "slip.xlsx",
            {{"xl/workbook.xml", kWorkbook},
             {name, "owned"},
             {"xl/worksheets/sheet1.xml", sheetXml("<row><c r=\"A1\"><v>1</v></c></row>", "A1:A1")}});
        importAll(spreadsheet, book);
        EXPECT_FALSE(QFileInfo::exists(outside)) << name.toStdString();
    }
    QFile::remove(outside);
}

TEST_F(HostileWorkbookTest, ZipBombFailsCleanly) {
    std::vector<ZipEntrySpec> entries{{"xl/workbook.xml", kWorkbook},
                                      {"xl/worksheets/sheet1.xml", QByteArray(1 << 20, ' '), {}, {}, 48}};
    ASSERT_TRUE(buildZip(path("bomb.xlsx"), entries));
    LogCapture log;
    EXPECT_TRUE(importAll(spreadsheet, path("bomb.xlsx")).isEmpty());
    EXPECT_TRUE(log.contains("size limit"));
    EXPECT_FALSE(QFileInfo::exists(spreadsheet.tmpDir + "/xl/worksheets/sheet1.xml"));
}

TEST_F(HostileWorkbookTest, AStreamThatBreaksOffMidwayHandsOverNoRowsAndSaysWhy) {
    // Rows first, then a run of blanks that inflates past the ratio cap; and a sheet whose
    // stored checksum is wrong (it is only known at the end of the entry).
    QByteArray rows;
    for (int i = 0; i < 2000; ++i)
        rows += "<row><c r=\"A" + QByteArray::number(i + 1) + "\"><v>" + QByteArray::number(5550100 + i) +
                "</v></c></row>";
    const QByteArray bomb = sheetXml(rows + QByteArray(48 << 20, ' '), "A1:A2000");
    std::vector<ZipEntrySpec> entries{{"xl/workbook.xml", kWorkbook}, {"xl/worksheets/sheet1.xml", bomb}};
    ASSERT_TRUE(buildZip(path("late-bomb.xlsx"), entries));

    spreadsheet.ReadWorkbook(path("late-bomb.xlsx"), true);
    ASSERT_EQ(spreadsheet.Read_Sheet_Name().size(), 1);
    spreadsheet.Excel_Sheet_Number = 1;
    EXPECT_EQ(spreadsheet.ReadData_only_column(), (SpreadsheetData{{"5550100"}})); // the top reads fine
    int handedOver = 0;
    EXPECT_FALSE(spreadsheet.ReadRows([&](QStringList&) { return ++handedOver > 0; }));
    EXPECT_EQ(handedOver, 0);
    EXPECT_TRUE(spreadsheet.readFailure.contains("far more data")) << spreadsheet.readFailure.toStdString();
    EXPECT_TRUE(spreadsheet.ReadWorkbook(path("late-bomb.xlsx"), false).isEmpty());
}

TEST_F(HostileWorkbookTest, ManyEntriesOfABombNeverFillTheDisk) {
    // Seventy sheets of blanks, each just under the ratio floor (scaled down to 1 MiB). Sheets
    // are read as they inflate, nothing of them is written, and all of them together stay
    // under the archive's ratio.
    spreadsheet.zipLimits.ratioCheckFromBytes = qint64(1) << 20;
    QByteArray sheets;
    std::vector<ZipEntrySpec> entries;
    for (int i = 1; i <= 70; ++i) {
        sheets += "<sheet name=\"S" + QByteArray::number(i) + "\"/>";
        entries.push_back({QString("xl/worksheets/sheet%1.xml").arg(i), QByteArray((1 << 20) - 1, ' ')});
    }
    entries.push_back({"xl/workbook.xml", "<workbook><sheets>" + sheets + "</sheets></workbook>"});
    ASSERT_TRUE(buildZip(path("many.xlsx"), entries));

    spreadsheet.ReadWorkbook(path("many.xlsx"), true);
    ASSERT_EQ(spreadsheet.Read_Sheet_Name().size(), 70);
    int sheet = 1;
    for (; sheet <= 70; ++sheet) {
        spreadsheet.Excel_Sheet_Number = sheet;
        spreadsheet.ReadData_only_column();
        if (spreadsheet.readFailure.contains("far more data"))
            break;
    }
    EXPECT_LT(sheet, 70);
    qint64 written = 0;
    for (const QFileInfo& file : QDir(spreadsheet.tmpDir).entryInfoList(QDir::Files))
        written += file.size();
    EXPECT_LE(written, spreadsheet.zipLimits.maxTotalRatio * QFileInfo(path("many.xlsx")).size() + (1 << 20));
}

TEST_F(HostileWorkbookTest, BrokenContainersGiveNoSheetsAndNoRows) {
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(path("good.xlsx"), {{"a", "b"}, {"1", "2"}}, false));
    const QByteArray good = readFileBytes(path("good.xlsx"));
    const std::pair<const char*, QByteArray> cases[] = {
        {"truncated archive", good.left(good.size() / 2)},
        {"not a zip", "Number,Message\n5550100,Hi\n"},
        {"empty file", ""},
        {"a zip without a workbook", QByteArray()},
    };
    for (const auto& [what, bytes] : cases) {
        if (QString(what) == "a zip without a workbook")
            buildZip(path("bad.xlsx"), {{"word/document.xml", "<document/>"}});
        else
            writeFileBytes(path("bad.xlsx"), bytes);
        spreadsheet.ReadWorkbook(path("bad.xlsx"), true);
        EXPECT_EQ(spreadsheet.readFailure,
                  "This file is not a workbook (or it is damaged or password-protected).")
            << what;
        EXPECT_TRUE(spreadsheet.Read_Sheet_Name().isEmpty()) << what;
        EXPECT_FALSE(QFileInfo::exists(spreadsheet.tmpDir + "/xl/worksheets")) << what;
        EXPECT_TRUE(spreadsheet.ReadData_only_column().isEmpty()) << what;
        EXPECT_TRUE(spreadsheet.ReadWorkbook(path("bad.xlsx"), false).isEmpty()) << what;
    }
}

TEST_F(HostileWorkbookTest, EntitiesAreNeitherExpandedNorFetched) {
    QByteArray laughs = R"(<?xml version="1.0"?><!DOCTYPE sst [<!ENTITY l0 "lol">)";
    for (int i = 1; i <= 9; ++i)
        laughs += QString(R"(<!ENTITY l%1 "&l%2;&l%2;&l%2;&l%2;&l%2;&l%2;&l%2;&l%2;&l%2;&l%2;">)")
                      .arg(i)
                      .arg(i - 1)
                      .toUtf8();
    laughs +=
        R"(]><sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><si><t>a&l9;b</t></si></sst>)";
    const QByteArray external =
        R"(<?xml version="1.0"?><!DOCTYPE worksheet [<!ENTITY xxe SYSTEM "file:///etc/passwd">]>)"
        R"(<worksheet><dimension ref="A1:B1"/><sheetData><row><c r="A1" t="s"><v>0</v></c>)"
        R"(<c r="B1" t="inlineStr"><is><t>&xxe;</t></is></c></row></sheetData></worksheet>)";
    const QString book = packWorkbook("entities.xlsx", {{"xl/workbook.xml", kWorkbook},
                                                        {"xl/sharedStrings.xml", laughs},
                                                        {"xl/worksheets/sheet1.xml", external}});
    const SpreadsheetData rows = importAll(spreadsheet, book);
    ASSERT_EQ(rows.size(), 1);
    EXPECT_LT(rows[0].join("").size(), 100);
    EXPECT_FALSE(rows[0].join("").contains("root:"));
}

TEST_F(HostileWorkbookTest, MalformedMarkupIsRepairedOrRefusedButNeverFatal) {
    const QByteArray parts[] = {
        "<worksheet><dimension ref=\"A1:B2\"/><sheetData><row><c r=\"A1\"><v>1</v></c><row><c r=\"B2\"><v>2",
        "<<<>>>&&&",
        "\xff\xfe\x00<\x00w\x00",
        "<worksheet><sheetData><row><c r=\"\xff\xff\"><v>1</v></c></row></sheetData></worksheet>",
        "<worksheet><dimension ref=\"A1:\"/><sheetData><row><c "
        "r=\"ZZZZ1\"><v>1</v></c></row></sheetData></worksheet>",
        QByteArray("<a>").repeated(5000),
    };
    for (const QByteArray& part : parts) {
        const QString book = packWorkbook("bad.xlsx", {{"xl/workbook.xml", kWorkbook},
                                                       {"xl/worksheets/sheet1.xml", part},
                                                       {"xl/styles.xml", part},
                                                       {"xl/sharedStrings.xml", part}});
        const SpreadsheetData rows = importAll(spreadsheet, book);
        for (const QStringList& row : rows)
            EXPECT_EQ(row.size(), spreadsheet.Excel_Sheet_Columns);
    }
}

TEST_F(HostileWorkbookTest, RandomlyDamagedWorkbooksNeverCrash) {
    SpreadsheetData table{{"Number", "Message"}};
    for (int i = 0; i < 40; ++i)
        table.append({QString::number(5550100 + i), QString("message %1").arg(i)});
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(path("good.xlsx"), table, false));
    const QByteArray good = readFileBytes(path("good.xlsx"));
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        QByteArray damaged = good;
        for (int flips = 0; flips < 1 + round % 8; ++flips)
            damaged[random() % damaged.size()] = char(random());
        writeFileBytes(path("damaged.xlsx"), damaged);
        const SpreadsheetData rows = importAll(spreadsheet, path("damaged.xlsx"));
        for (const QStringList& row : rows)
            ASSERT_EQ(row.size(), spreadsheet.Excel_Sheet_Columns) << round;
    }
}

} // namespace
