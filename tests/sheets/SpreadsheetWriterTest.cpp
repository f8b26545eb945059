#include "sheets/SpreadsheetWriter.h"

#include "FullDisk.h"
#include "WorkbookFixture.h"
#include "ZipTestSupport.h"
#include "core/FileUtils.h"
#include "core/Log.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <libxml/parser.h>

namespace {

using SpreadsheetWriterTest = WorkbookTest;

// The part with indentation removed, so expectations read like the markup itself.
QByteArray flatten(QByteArray xml) {
    return QString::fromUtf8(xml).replace(QRegularExpression(">\\s+<"), "><").toUtf8();
}

TEST(SpreadsheetWriterColumns, ColumnIndexToNameFollowsTheLetterSequence) {
    const std::pair<int, const char*> cases[] = {{1, "A"},     {2, "B"},       {26, "Z"},  {27, "AA"},
                                                 {28, "AB"},   {52, "AZ"},     {53, "BA"}, {702, "ZZ"},
                                                 {703, "AAA"}, {16384, "XFD"}, {0, ""},    {-3, ""}};
    for (const auto& [column, name] : cases)
        EXPECT_EQ(SpreadsheetWriter::ColumnIndexToName(column), QString(name)) << column;
}

TEST_F(SpreadsheetWriterTest, TextCellsEachGetTheirOwnSharedStringAndNumbersStayNumeric) {
    const QString out = path("report.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(out,
                                                 {{"Date", "Number", "Message"},
                                                  {"01-02-2024", "5550100", "Hello"},
                                                  {"02-02-2024", "5550100", "Hello"}},
                                                 false));
    const QByteArray sheet = flatten(zipEntryData(out, "xl/worksheets/sheet1.xml"));
    const QByteArray expectedFragments[] = {
        R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)",
        R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships" xmlns:mc="http://schemas.openxmlformats.org/markup-compatibility/2006" xmlns:x14ac="http://schemas.microsoft.com/office/spreadsheetml/2009/9/ac" mc:Ignorable="x14ac"><dimension ref="A1:C3"/>)",
        R"(<sheetViews><sheetView tabSelected="1" workbookViewId="0"><selection activeCell="C3" sqref="C3"/></sheetView></sheetViews>)",
        R"(<sheetFormatPr baseColWidth="10" defaultRowHeight="15" x14ac:dyDescent="0"/>)",
        R"(<row r="1" spans="1:3"><c r="A1" t="s"><v>0</v></c><c r="B1" t="s"><v>1</v></c><c r="C1" t="s"><v>2</v></c></row>)",
        R"(<row r="2" spans="1:3"><c r="A2" t="s"><v>3</v></c><c r="B2"><v>5550100</v></c><c r="C2" t="s"><v>4</v></c></row>)",
        R"(<row r="3" spans="1:3"><c r="A3" t="s"><v>5</v></c><c r="B3"><v>5550100</v></c><c r="C3" t="s"><v>6</v></c></row>)",
        R"(<pageMargins left="0.75" right="0.75" top="1" bottom="0.5" header="0.5" footer="0.5"/>)",
        R"(<extLst><ext xmlns:mx="http://schemas.microsoft.com/office/mac/excel/2008/main" uri="{64002731-A6B0-56B0-2670-7721B7C09600}"><mx:PLV Mode="0" OnePage="0" WScale="0"/></ext></extLst></worksheet>)",
    };
    for (const QByteArray& fragment : expectedFragments)
        EXPECT_TRUE(sheet.contains(fragment)) << fragment.toStdString() << "\nin\n" << sheet.toStdString();

    // Equal texts are appended again, not shared: seven text cells, seven strings.
    EXPECT_EQ(
        flatten(zipEntryData(out, "xl/sharedStrings.xml")).toStdString(),
        R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
        R"(<sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" count="7" uniqueCount="7">)"
        R"(<si><t>Date</t></si><si><t>Number</t></si><si><t>Message</t></si><si><t>01-02-2024</t></si>)"
        R"(<si><t>Hello</t></si><si><t>02-02-2024</t></si><si><t>Hello</t></si></sst>)"
        "\n");
}

TEST_F(SpreadsheetWriterTest, WideAndRaggedTablesUseTheFirstRowForTheDimension) {
    QStringList heading;
    for (int i = 1; i <= 27; ++i)
        heading << QString("H%1").arg(i);
    const QString out = path("wide.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(out, {heading, {"1"}, {"1", "2", "3"}}, false));
    const QByteArray sheet = flatten(zipEntryData(out, "xl/worksheets/sheet1.xml"));
    for (
        const char* fragment :
        {R"(<dimension ref="A1:AA3"/>)", R"(<c r="AA1" t="s"><v>26</v></c>)",
         R"(<row r="2" spans="1:27"><c r="A2"><v>1</v></c></row>)",
         R"(<row r="3" spans="1:27"><c r="A3"><v>1</v></c><c r="B3"><v>2</v></c><c r="C3"><v>3</v></c></row>)"})
        EXPECT_TRUE(sheet.contains(fragment)) << fragment;
}

TEST_F(SpreadsheetWriterTest, EmptyTableGivesAnSstWithoutCounts) {
    const QString out = path("empty.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(out, {{"1", "2"}}, false));
    EXPECT_TRUE(flatten(zipEntryData(out, "xl/sharedStrings.xml"))
                    .contains(R"(<sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"/>)"));
}

// The disk fills while the archive is packed: at its first bytes, half way, or at the last byte
// of the directory (stdio holds it until the file is closed). The workbook already there stays.
TEST_F(SpreadsheetWriterTest, AWorkbookThatDoesNotFitLeavesTheOldOneAndSaysWhy) {
    const SpreadsheetData rows(3000, QStringList{"5550100", "A message to someone"});
    const QString out = path("export.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(out, rows, false));
    const qint64 whole = QFileInfo(out).size();
    ASSERT_TRUE(writeFileAtomically(out, "last month's"));
    for (const qint64 limit : {qint64(64), whole / 2, whole - 1}) {
        EXPECT_EQ(inChildWithFileSizeLimit(limit,
                                           [&] {
                                               QString why;
                                               SpreadsheetWriter::WriteWorkbook(out, rows, false, &why);
                                               return why;
                                           }),
                  out + ": File too large");
        EXPECT_EQ(readAll(out), "last month's");
        EXPECT_EQ(QDir(m_home.root()).entryList(QDir::Files | QDir::Hidden), QStringList{"export.xlsx"});
    }
}

TEST_F(SpreadsheetWriterTest, ArchiveIsTheTemplateTreeWithTwoPartsReplacedAndRepeatable) {
    const SpreadsheetData table = {{"Number", "Message"}, {"5550100", "Hi"}};
    const QString first = path("a.xlsx"), second = path("b.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(first, table, false));
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(second, table, false));
    EXPECT_EQ(readFileBytes(first), readFileBytes(second));
    EXPECT_EQ(zipEntryNames(first),
              (QStringList{"[Content_Types].xml", "_rels/.rels", "xl/_rels/workbook.xml.rels",
                           "xl/sharedStrings.xml", "xl/styles.xml", "xl/workbook.xml",
                           "xl/worksheets/sheet1.xml"}));
    EXPECT_EQ(zipEntryData(first, "xl/styles.xml"),
              readFileBytes(QStringLiteral(BULKSMS_TEMPLATE_XLSX)).isEmpty()
                  ? QByteArray("<template missing>")
                  : zipEntryData(QStringLiteral(BULKSMS_TEMPLATE_XLSX), "xl/styles.xml"));
}

TEST_F(SpreadsheetWriterTest, WhatWeWriteReadsBackUnchanged) {
    const SpreadsheetData table = {
        {"Number", "Message", "Status"},
        {"5550100", "Hello, world", "Message sent successfully."},
        {"0123", "Two\nlines", " padded "},
        {"+15550100", "Ünïcødé и 中文 🎉", "12.50"},
        {"-42.5", "tab\tand\r\ncrlf", "bell\007 and _x0041_ literally"},
        {"12345678901234567890", "<b>&amp;</b>", ""},
    };
    const QString out = path("roundtrip.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(out, table, false));
    SpreadsheetData header;
    EXPECT_EQ(importFirstSheet(out, &header), table);
    EXPECT_EQ(header, SpreadsheetData{table.first()});
    EXPECT_EQ(spreadsheet.Read_Sheet_Name(), QStringList{"Sheet1"});
}

// Whether the part is a well-formed XML document, as a strict parser sees it.
bool wellFormed(const QByteArray& xml) {
    xmlDocPtr doc = xmlReadMemory(xml.constData(), int(xml.size()), nullptr, nullptr, XML_PARSE_NONET);
    xmlFreeDoc(doc);
    return doc != nullptr;
}

TEST_F(SpreadsheetWriterTest, AwkwardTextsSurviveAndNumberLikeTextsStayText) {
    // As long as a cell may be, and longer than one block of output once escaped.
    QString longCell;
    while (longCell.size() < 32760)
        longCell += QStringLiteral("&<>\001中🎉_x0041_");
    struct Case {
        QString text;
        bool numeric;
    };
    const Case cases[] = {
        {"5550100", true},
        {"-42.5", true},
        {"0.5", true},
        {"123456789012345", true},
        {"007", false},
        {"+447700900123", false},
        {"1234567890123456", false},
        {"1e5", false},
        {"12.50", false},
        {"-0", false},
        {"", false},
        {R"(&<>"')", false},
        {"]]> and &amp; and <![CDATA[", false},
        {" leading", false},
        {"trailing ", false},
        {"\ttabbed\t", false},
        {QString("nul") + QChar(0) + "\001\037\177 controls\r\n", false},
        {QString::fromUtf8("pair 🎉 and ") + QChar(0xD83C) + " lone high, lone low " + QChar(0xDF89), false},
        {QString("non-characters ") + QChar(0xFFFE) + QChar(0xFFFF), false},
        {"_x000D_ and _x005F_ and _X0041_ and _x12", false},
        {longCell, false},
    };
    SpreadsheetData table = {{"Text", "More"}};
    for (const Case& c : cases)
        table.append({c.text, QStringLiteral("row %1").arg(table.size() + 1)});
    const QString out = path("awkward.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(out, table, false));

    const QByteArray sheet = zipEntryData(out, "xl/worksheets/sheet1.xml");
    const QByteArray strings = zipEntryData(out, "xl/sharedStrings.xml");
    EXPECT_TRUE(wellFormed(sheet));
    EXPECT_TRUE(wellFormed(strings));
    for (qsizetype i = 0; i < qsizetype(std::size(cases)); ++i) {
        const QByteArray ref = "<c r=\"A" + QByteArray::number(i + 2) + "\"";
        const QByteArray expected =
            cases[i].numeric ? ref + "><v>" + cases[i].text.toUtf8() + "</v>" : ref + " t=\"s\">";
        EXPECT_TRUE(sheet.contains(expected)) << i << ": " << expected.toStdString();
    }
    EXPECT_TRUE(strings.contains(R"(<t xml:space="preserve"> leading</t>)"));
    EXPECT_TRUE(strings.contains(R"(<t xml:space="preserve">trailing </t>)"));
    EXPECT_TRUE(strings.contains("<t>&amp;&lt;&gt;\"'</t>"));
    EXPECT_TRUE(strings.contains("_x005F_x000D_ and _x005F_x005F_ and _X0041_ and _x12"));
    EXPECT_TRUE(strings.contains("controls_x000D_\n"));

    EXPECT_EQ(importFirstSheet(out), table);
}

TEST_F(SpreadsheetWriterTest, ManyRowsReadBackInOrder) {
    SpreadsheetData table = {{"Number", "Message", "Name"}};
    for (int i = 0; i < 20000; ++i)
        table.append({QString::number(447700000000LL + i), QStringLiteral("Message %1 & more").arg(i),
                      i % 7 ? QStringLiteral("Name %1").arg(i) : QString()});
    const QString out = path("many.xlsx");
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(out, table, false));
    EXPECT_TRUE(zipEntryData(out, "xl/worksheets/sheet1.xml").contains(R"(<dimension ref="A1:C20001"/>)"));
    EXPECT_TRUE(zipEntryData(out, "xl/sharedStrings.xml").contains(R"(count="40003" uniqueCount="40003")"));
    EXPECT_EQ(importFirstSheet(out), table);
}

TEST_F(SpreadsheetWriterTest, UnwritablePartIsLoggedAndBeeps) {
    int beeps = 0;
    spreadsheet.writeFailureBeep = [&beeps] { ++beeps; };
    LogCapture log;
    spreadsheet.data = {{"a"}};
    const QString nowhere = path("missing-folder/sheet1.xml");
    EXPECT_FALSE(spreadsheet.WriteWorksheetData(nowhere));
    EXPECT_FALSE(spreadsheet.WriteSharedStringsXML(nowhere));
    EXPECT_EQ(beeps, 2);
    EXPECT_TRUE(log.contains("Error when writing file " + nowhere));
}

TEST_F(SpreadsheetWriterTest, UnwritableTargetFailsWithoutTouchingTheWorkingFolderOutside) {
    EXPECT_FALSE(SpreadsheetWriter::WriteWorkbook(path("no/such/dir/x.xlsx"), {{"a"}}, false));
    EXPECT_TRUE(spreadsheet.tmpDir.startsWith(QDir::tempPath() + "/ziptmp-"));
    EXPECT_EQ(QFileInfo(spreadsheet.tmpDir).permissions() &
                  (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther),
              QFile::Permissions());
}

} // namespace
