#include "sheets/SpreadsheetWriter.h"

#include "WorkbookFixture.h"
#include "core/Log.h"
#include "sheets/CellNumbers.h"
#include "sheets/ColumnNames.h"
#include "sheets/DateFormatConverter.h"

#include <QFileInfo>

#include <unicode/locid.h>

namespace {

using XlsxReaderTest = WorkbookTest;

const QByteArray kDateStyles =
    R"(<styleSheet><numFmts count="1"><numFmt numFmtId="165" formatCode="[$-409]dddd, mmmm dd, yyyy;@"/></numFmts>)"
    R"(<cellXfs><xf numFmtId="0"/><xf numFmtId="14"/><xf numFmtId="20"/><xf numFmtId="165"/><xf numFmtId="2"/></cellXfs></styleSheet>)";

TEST(XlsxColumnLetters, ReferencesToIndexes) {
    struct Case {
        const char* reference;
        const char* letters;
        int zeroBased, oneBased;
    } cases[] = {
        {"A1", "A", 0, 1},
        {"C7", "C", 2, 3},
        {"Z9", "Z", 25, 26},
        {"AA10", "AA", 26, 27},
        {"AB7", "AB", 27, 28},
        {"ZZ702", "ZZ", 701, 702},
        {"XFD3", "XFD", 16383, 16384},
        {"XFE1", "XFE", -1, -1},
        {"ABCD1", "ABCD", -1, -1},
        {"", "", -1, -1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Get_Column_Char_Str(c.reference), QString(c.letters)) << c.reference;
        EXPECT_EQ(Get_Col_index(Get_Column_Char_Str(c.reference), 65), c.zeroBased) << c.reference;
        EXPECT_EQ(Get_Col_index(Get_Column_Char_Str(c.reference), 64), c.oneBased) << c.reference;
    }
    EXPECT_EQ(Asc_Val(QString(QChar(0x141))), 0x41); // only the low 8 bits count
}

TEST_F(XlsxReaderTest, HeaderNamesGapsAndFullRowsFollowTheDimension) {
    const QString book = sheetWorkbook(
        "people.xlsx",
        sheetXml(
            R"(<row r="1"><c r="A1" t="s"><v>0</v></c><c r="C1" t="s"><v>1</v></c></row>)"
            R"(<row r="2"><c r="A2" t="s"><v>2</v></c><c r="B2"><v>5550100</v></c><c r="C2" t="inlineStr"><is><t>x</t></is></c></row>)"
            R"(<row r="3"><c r="A3"><v>1</v></c><c r="C3"><v>3</v></c></row>)"
            R"(<row r="5"/>)"
            R"(<row r="9"><c r="B9" t="s"><v>1</v></c></row>)"),
        sharedStringsXml({"Name", "Phone", "Ann"}));
    SpreadsheetData header;
    const SpreadsheetData rows = importFirstSheet(book, &header);
    EXPECT_EQ(header, (SpreadsheetData{{"Name", "Untitled Column 2", "Phone"}}));
    EXPECT_EQ(spreadsheet.Excel_Sheet_Columns, 3);
    // Row numbers in the file are not used: five row elements, five rows.
    EXPECT_EQ(rows, (SpreadsheetData{{"Name", "", "Phone"},
                                     {"Ann", "5550100", "x"},
                                     {"1", "", "3"},
                                     {"", "", ""},
                                     {"", "Phone", ""}}));
}

TEST_F(XlsxReaderTest, CellLandsAtTheIndexOfItsColumnLetters) {
    const QString book = sheetWorkbook(
        "wide.xlsx", sheetXml(R"(<row><c r="AB7"><v>27</v></c><c r="A7"><v>0</v></c></row>)", "A1:AB7"));
    const SpreadsheetData rows = importFirstSheet(book);
    ASSERT_EQ(rows.size(), 1);
    ASSERT_EQ(rows[0].size(), 28);
    EXPECT_EQ(rows[0][27], "27");
    EXPECT_EQ(rows[0][0], "0");
}

TEST_F(XlsxReaderTest, SharedStringIndexesBooleansAndFormulas) {
    struct Case {
        QByteArray cell;
        QString expected;
    } cases[] = {
        {R"(<c r="A1" t="s"><v>1</v></c>)", "second"},
        {R"(<c r="A1" t="s"><v>3</v></c>)", "third"}, // equal to the count: the last string
        {R"(<c r="A1" t="s"><v>4</v></c>)", ""},      // beyond: no value
        {R"(<c r="A1" t="s"><v>-1</v></c>)", ""},
        {R"(<c r="A1" t="s"><v>zz</v></c>)", "first"}, // no number reads as 0
        {R"(<c r="A1" t="b"><v>1</v></c>)", "true"},
        {R"(<c r="A1" t="b"><v>0</v></c>)", "false"},
        {R"(<c r="A1" t="b"><v>yes</v></c>)", "false"},
        // A formula shows its cached result, never its text.
        {R"(<c r="A1"><f>SUM(B1:C1)</f><v>3</v></c>)", "3"},
        {R"(<c r="A1" t="str"><f>A2</f><v>a_x000D_b</v></c>)", "a\rb"},
        {R"(<c r="A1"><f>B1+1</f></c>)", ""}, // never calculated: nothing to show
        {R"(<c r="A1" t="inlineStr"><is><t>Bo</t><rPh sb="0" eb="2"><t>ボ</t></rPh></is></c>)", "Bo"},
        {R"(<c r="A1" t="e"><v>#DIV/0!</v></c>)", "#DIV/0!"},
        // Raw texts as the parser hands them over: padding, overflow, escapes, CDATA, runs.
        {R"(<c r="A1" t="s"><v> 2 </v></c>)", "third"},
        {R"(<c r="A1" t="s"><v>99999999999999999999</v></c>)", ""},
        {R"(<c r="A1" t="inlineStr"><is><t>a&amp;b&#x41;&lt;</t></is></c>)", "a&bA<"},
        {R"(<c r="A1" t="inlineStr"><is><r><t>x</t></r><r><t xml:space="preserve"> y</t></r></is></c>)",
         "x y"},
        {R"(<c r="A1" t="str"><v><![CDATA[a<b]]></v></c>)", "a<b"},
        {R"(<c r="A1"><v>007</v></c>)", "7"},
        {R"(<c r="A1"><v>447700900001</v></c>)", "447700900001"},
        {R"(<c r="A1"><v>0</v></c>)", "0"},
        {R"(<c r="A1"><v>4477009000012345</v></c>)", "4477009000012345"},
    };
    int n = 0;
    for (const Case& c : cases) {
        const QString book =
            sheetWorkbook(QString("c%1.xlsx").arg(n++), sheetXml("<row>" + c.cell + "</row>", "A1:A1"),
                          sharedStringsXml({"first", "second", "third"}));
        spreadsheet.Excel_Sheet_Columns = 1;
        spreadsheet.ReadWorkbook(book, true);
        EXPECT_EQ(spreadsheet.ReadWorkbook(book, false), (SpreadsheetData{{c.expected}}))
            << c.cell.toStdString();
    }
}

TEST_F(XlsxReaderTest, DateCellsFollowTheirNumberFormat) {
    struct Case {
        const char* style;
        const char* value;
        QString expected;
    } cases[] = {
        {"1", "43831", "01-01-2020"},
        {"1", "43831.5", "01-01-2020 12:00:00 PM"},
        {"2", "0.75", "06:00:00 PM"},
        {"3", "43831", "Wednesday, January 01, 2020"},
        {"4", "43831", "43831"}, // a number format, not a date
        {"0", "43831", "43831"},
        {"1", "-3", "-3"}, // before 1900: not a date
        {"1", "", ""},
    };
    for (const Case& c : cases) {
        const QString book = sheetWorkbook(
            "dates.xlsx",
            sheetXml(QByteArray("<row><c r=\"A1\" s=\"") + c.style + "\"><v>" + c.value + "</v></c></row>",
                     "A1:A1"),
            {}, kDateStyles);
        EXPECT_EQ(importFirstSheet(book), (SpreadsheetData{{c.expected}})) << c.style << " " << c.value;
    }
}

TEST_F(XlsxReaderTest, WorkbooksCountingFrom1904ShiftEveryDate) {
    for (const char* flag : {"1", "true"}) {
        const QString book = packWorkbook(
            "1904.xlsx",
            {{"xl/workbook.xml", QByteArray(R"(<workbook><workbookPr date1904=")") + flag +
                                     R"("/><sheets><sheet name="S"/></sheets></workbook>)"},
             {"xl/styles.xml", kDateStyles},
             {"xl/worksheets/sheet1.xml",
              sheetXml(R"(<row><c r="A1" s="1"><v>0</v></c><c r="B1" s="1"><v>42369</v></c></row>)",
                       "A1:B1")}});
        EXPECT_EQ(importFirstSheet(book), (SpreadsheetData{{"01-01-1904", "01-01-2020"}})) << flag;
    }
}

TEST(XlsxCellNumbers, NumericCellsReadAsAPersonSeesThem) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"447700900003.0", "", "447700900003"}, // never the decimal text of a double
        {"5550100.0", "General", "5550100"},
        {"4.47700900002E11", "", "447700900002"},
        {"4.4770090000200001E+11", "", "447700900002"},
        {"7700900004", "00000000000", "07700900004"}, // the padding the format shows
        {"123", "000-000-0000", "0000000123"},
        {"7700900004", "0", "7700900004"},
        {"5", "#,##0", "5"},
        {"12.5", "0.00", "12.50"},
        {"1234.5", "#,##0.00", "1234.50"},
        {"12.5", "", "12.5"},
        {"1.5E-3", "", "0.0015"},
        {"-0", "", "0"},
        {"1e25", "", "1e+25"},
        {"abc", "", "abc"},
        {"-42", "00000", "-42"},
    };
    for (const auto& [value, code, expected] : cases)
        EXPECT_EQ(numericCellText(value, code), QString(expected)) << value << " " << code;
}

TEST(XlsxCellNumbers, DateFormatCodesAreToldByTheirSymbols) {
    const std::pair<const char*, bool> cases[] = {
        {"General", false},    {"0.00", false},      {"00000000000", false},
        {"@", false},          {"0.00E+00", false},  {"\"days\" 0", false},
        {"[Red]#,##0", false}, {"yyyy-mm-dd", true}, {"[$-409]dddd, mmmm dd", true},
        {"[h]:mm", true},      {"h:mm AM/PM", true}, {"dd/mm/yy;@", true},
    };
    for (const auto& [code, date] : cases)
        EXPECT_EQ(isDateFormatCode(code), date) << code;
}

TEST(XlsxDateFormats, FormatCodesBecomeUnicodePatterns) {
    const std::pair<const char*, const char*> cases[] = {
        {"[$-409]dddd, mmmm dd, yyyy;@", "EEEE, MMMM dd, yyyy"},
        {"dd/mm/yyyy", "dd/MM/yyyy"},
        {"mmm d, yy", "MMM d, yy"},
        {"h:mm AM/PM", "h:mm a"},
        // "m" after hours or before seconds is minutes, elsewhere months; hours without
        // AM/PM count to 24.
        {"dd/mm/yyyy hh:mm", "dd/MM/yyyy HH:mm"},
        {"yyyy-mm-dd h:mm:ss", "yyyy-MM-dd H:mm:ss"},
        {"mm:ss", "mm:ss"},
        {"[h]:mm:ss", "H:mm:ss"},
        {"yyyy\\-mm\\-dd", "yyyy-MM-dd"},
        {"ddd d", "EEE d"},
        {"dd;@", "dd"},
        {" [Red]yyyy ", "yyyy"},
        {"d \"de\" mmmm", "d 'de' MMMM"},
        {"yyyy\"年\"m\"月\"d\"日\"", "yyyy'年'M'月'd'日'"},
    };
    for (const auto& [code, pattern] : cases)
        EXPECT_EQ(datePatternFromFormatCode(code), QString(pattern)) << code;
}

TEST(XlsxDateFormats, SerialsBecomeLocalDatesAndTimes) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    struct Case {
        const char* serial;
        const char* pattern;
        const char* expected;
    } cases[] = {
        {"1", "dd-MM-yyyy", "31-12-1899"},
        {"2", "dd-MM-yyyy", "01-01-1900"},
        {"61", "dd-MM-yyyy", "01-03-1900"}, // no 29 February 1900
        {"2", "", "12:00:00 AM"},           // a 1900 date without pattern shows its time
        {"43831.25", "", "01-01-2020 06:00:00 AM"},
        {"43831.99999999", "", "02-01-2020 12:00:00 AM"}, // seconds round up into the next day
        {"0.000011574", "", "12:00:01 AM"},
        {"43831", "EEEE", "43831"}, // no date or time letter: unchanged
        {"43831", "yyyy", "2020"},
        {"4.3831E4", "yyyy-MM-dd", "2020-01-01"},
        {"abc", "", "12:00:00 AM"}, // no number counts as serial 0
        {"3000000", "", "3000000"}, // after 9999: unchanged
    };
    for (const Case& c : cases)
        EXPECT_EQ(Excel_Xml_Date_To_String(c.serial, c.pattern), QString(c.expected))
            << c.serial << " " << c.pattern;
}

TEST_F(XlsxReaderTest, TheDimensionIsOnlyAHintTheCellsDecide) {
    struct Case {
        const char* what;
        QByteArray dimension;
    } cases[] = {
        {"single cell, as tools leave it", "A1"},          {"none", ""},
        {"rows only, as older LibreOffice writes", "1:2"}, {"narrower than the data", "A1:B1"},
        {"reaching the last column", "A1:XFD1048576"},     {"garbage", "?!"},
    };
    const SpreadsheetData expectedHeader{{"a", "Untitled Column 2", "c"}};
    const SpreadsheetData expectedRows{{"a", "", "c"}, {"", "", ""}, {"x", "y", ""}};
    for (const Case& c : cases) {
        const QString book = sheetWorkbook(
            "dim.xlsx",
            sheetXml(
                R"(<row><c r="A1" t="inlineStr"><is><t>a</t></is></c><c r="C1" t="inlineStr"><is><t>c</t></is></c></row><row/>)"
                R"(<row><c t="inlineStr"><is><t>x</t></is></c><c t="inlineStr"><is><t>y</t></is></c></row>)",
                c.dimension));
        SpreadsheetData header;
        const SpreadsheetData rows = importFirstSheet(book, &header);
        EXPECT_EQ(header, expectedHeader) << c.what;
        EXPECT_EQ(rows, expectedRows) << c.what;
    }
}

TEST_F(XlsxReaderTest, MergedRangesGiveEveryCellTheirValue) {
    const QByteArray body =
        R"(<row r="1"><c r="A1" t="inlineStr"><is><t>a</t></is></c><c r="C1"><v>1</v></c></row>)"
        R"(<row r="2"><c r="B2" t="inlineStr"><is><t>b</t></is></c></row>)"
        R"(<row r="4"><c r="A4"><v>4</v></c></row>)";
    struct Case {
        const char* what;
        QByteArray merges;
        SpreadsheetData rows;
    } cases[] = {
        {"across a row", R"(<mergeCell ref="A1:B1"/>)", {{"a", "a", "1"}, {"", "b", ""}, {"4", "", ""}}},
        {"down a column, past a missing row",
         R"(<mergeCell ref="A1:A4"/>)",
         {{"a", "", "1"}, {"a", "b", ""}, {"a", "", ""}}},
        {"a block", R"(<mergeCell ref="B2:C9"/>)", {{"a", "", "1"}, {"", "b", "b"}, {"4", "b", "b"}}},
        {"reaching past the sheet",
         R"(<mergeCell ref="C1:XFD1048576"/>)",
         {{"a", "", "1"}, {"", "b", "1"}, {"4", "", "1"}}},
        {"broken references",
         R"(<mergeCell ref="B2"/><mergeCell ref="C1:A1"/><mergeCell ref="?:?"/>)",
         {{"a", "", "1"}, {"", "b", ""}, {"4", "", ""}}},
    };
    for (const Case& c : cases) {
        QByteArray sheet = sheetXml(body, "A1:C4");
        sheet.replace("</worksheet>", "<mergeCells>" + c.merges + "</mergeCells></worksheet>");
        EXPECT_EQ(importFirstSheet(sheetWorkbook("merged.xlsx", sheet)), c.rows) << c.what;
    }
}

TEST_F(XlsxReaderTest, PrefixedElementsReadLikePlainOnes) {
    const QString book = packWorkbook(
        "prefixed.xlsx",
        {{"xl/workbook.xml",
          R"(<x:workbook xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><x:sheets><x:sheet name="P"/></x:sheets></x:workbook>)"},
         {"xl/sharedStrings.xml",
          R"(<x:sst xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><x:si><x:r><x:t>Rich </x:t></x:r><x:r><x:t>text</x:t></x:r></x:si></x:sst>)"},
         {"xl/worksheets/sheet1.xml",
          R"(<x:worksheet xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><x:dimension ref="A1:B1"/><x:sheetData>)"
          R"(<x:row r="1"><x:c r="A1" t="s"><x:v>0</x:v></x:c><x:c r="B1"><x:v>7</x:v></x:c></x:row></x:sheetData></x:worksheet>)"}});
    SpreadsheetData header;
    EXPECT_EQ(importFirstSheet(book, &header), (SpreadsheetData{{"Rich text", "7"}}));
    EXPECT_EQ(spreadsheet.Read_Sheet_Name(), QStringList{"P"});
}

TEST_F(XlsxReaderTest, SheetsAreFoundThroughTheRelationshipsNeverByPartNumber) {
    const QByteArray workbook =
        R"(<workbook xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets>)"
        R"(<sheet name="First" r:id="rId7"/><sheet name="Second" r:id="rId8"/><sheet name="Third" r:id="rId9"/></sheets></workbook>)";
    const QByteArray rels =
        R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
        R"(<Relationship Id="rId7" Target="worksheets/data_a.xml"/><Relationship Id="rId8" Target="/xl/worksheets/data_b.xml"/>)"
        R"(<Relationship Id="rId9" Target="../../../../etc/passwd"/></Relationships>)";
    const auto cell = [](const char* text) {
        return sheetXml(QByteArray("<row><c r=\"A1\" t=\"inlineStr\"><is><t>") + text + "</t></is></c></row>",
                        "A1:A1");
    };
    const QString book = packWorkbook("rels.xlsx", {{"xl/workbook.xml", workbook},
                                                    {"xl/_rels/workbook.xml.rels", rels},
                                                    {"xl/worksheets/data_a.xml", cell("from rels")},
                                                    {"xl/worksheets/data_b.xml", cell("absolute target")},
                                                    {"xl/worksheets/sheet1.xml", cell("by number")}});
    spreadsheet.ReadWorkbook(book, true);
    EXPECT_EQ(spreadsheet.Read_Sheet_Name(), (QStringList{"First", "Second", "Third"}));
    const std::pair<int, SpreadsheetData> cases[] = {
        {1, {{"from rels"}}}, // a part named like sheet 1 is not sheet 1 when the relationships say so
        {2, {{"absolute target"}}},
        {3, {}}, // a target outside the package is never read
        {4, {}},
    };
    for (const auto& [number, expected] : cases) {
        spreadsheet.Excel_Sheet_Number = number;
        spreadsheet.ReadData_only_column();
        EXPECT_EQ(spreadsheet.ReadWorkbook(book, false), expected) << number;
    }
}

TEST_F(XlsxReaderTest, ANewPreparationNeverReadsAnEarlierWorkbooksParts) {
    const QByteArray workbook = R"(<workbook><sheets><sheet name="A"/><sheet name="B"/></sheets></workbook>)";
    const QString two = packWorkbook(
        "two.xlsx", {{"xl/workbook.xml", workbook},
                     {"xl/worksheets/sheet1.xml", sheetXml(R"(<row><c r="A1"><v>1</v></c></row>)", "A1:A1")},
                     {"xl/worksheets/sheet2.xml", sheetXml(R"(<row><c r="A1"><v>2</v></c></row>)", "A1:A1")},
                     {"xl/sharedStrings.xml", sharedStringsXml({"old"})}});
    const QString one = packWorkbook(
        "one.xlsx",
        {{"xl/workbook.xml", workbook},
         {"xl/worksheets/sheet1.xml", sheetXml(R"(<row><c r="A1" t="s"><v>0</v></c></row>)", "A1:A1")}});
    spreadsheet.ReadWorkbook(two, true);
    spreadsheet.ReadWorkbook(one, true);
    EXPECT_TRUE(spreadsheet.sharedStrings.isEmpty());
    spreadsheet.Excel_Sheet_Number = 2;
    EXPECT_TRUE(spreadsheet.ReadData_only_column().isEmpty());
    EXPECT_TRUE(spreadsheet.ReadWorkbook(one, false).isEmpty());
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.ReadData_only_column();
    EXPECT_EQ(spreadsheet.ReadWorkbook(one, false), (SpreadsheetData{{""}})); // index 0 of no strings
}

TEST_F(XlsxReaderTest, FailuresInsideAReadGiveNoRowsAndAreLogged) {
    struct Case {
        const char* what;
        QByteArray body;
        QByteArray dimension;
        const char* logged;
    } cases[] = {
        {"style outside the cell formats", R"(<row><c r="A1" s="9"><v>1</v></c></row>)", "A1:A1",
         "style 9 outside"},
        {"more cells than a read may hold",
         QByteArray(R"(<row><c r="XFD1"><v>1</v></c></row>)").repeated(600), "A1:XFD1", "too many to read"},
    };
    for (const Case& c : cases) {
        const QString book = sheetWorkbook("fail.xlsx", sheetXml(c.body, c.dimension));
        LogCapture log;
        spreadsheet.ReadWorkbook(book, true);
        spreadsheet.ReadData_only_column();
        EXPECT_TRUE(spreadsheet.ReadWorkbook(book, false).isEmpty()) << c.what;
        EXPECT_TRUE(log.contains(c.logged)) << c.what << ": " << log.lines().join(" | ").toStdString();
    }
}

} // namespace

namespace {

TEST_F(XlsxReaderTest, WhileASheetStreamsTheReaderIsNotPreparedAgain) {
    const QString book = sheetWorkbook(
        "a.xlsx", sheetXml(R"(<row><c r="A1"><v>1</v></c></row><row><c r="A2"><v>2</v></c></row>)", "A1:A2"));
    const QString other = sheetWorkbook("b.xlsx", sheetXml(R"(<row><c r="A1"><v>9</v></c></row>)", "A1:A1"));
    spreadsheet.ReadWorkbook(book, true);
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.ReadData_only_column();
    QStringList seen;
    EXPECT_TRUE(spreadsheet.ReadRows([&](QStringList& row) {
        EXPECT_TRUE(spreadsheet.isStreaming());
        EXPECT_TRUE(spreadsheet.ReadWorkbook(other, true).isEmpty());
        seen << row.value(0);
        return true;
    }));
    EXPECT_EQ(seen, (QStringList{"1", "2"})); // the read went on with its own workbook
    EXPECT_FALSE(spreadsheet.isStreaming());
}

} // namespace
