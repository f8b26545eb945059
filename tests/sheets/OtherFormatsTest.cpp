#include "sheets/SpreadsheetWriter.h"

#include "WorkbookFixture.h"
#include "ZipTestSupport.h"

namespace {

using OtherFormatsTest = WorkbookTest;

QByteArray odsContent(const QByteArray& tables) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><office:document-content xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
           R"(xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0">)"
           R"(<office:body><office:spreadsheet>)" +
           tables + "</office:spreadsheet></office:body></office:document-content>";
}

TEST_F(OtherFormatsTest, OdsRowsOfTheFirstTableWithRepeatedCellsExpanded) {
    const QByteArray tables =
        R"(<table:table table:name="One"><table:table-column table:number-columns-repeated="4"/>)"
        R"(<table:table-row><table:table-cell><text:p>Name</text:p></table:table-cell>)"
        R"(<table:table-cell table:number-columns-repeated="3"><text:p>x</text:p></table:table-cell></table:table-row>)"
        R"(<table:table-row table:number-rows-repeated="2"><table:table-cell><text:p>line 1</text:p><text:p>line 2</text:p></table:table-cell>)"
        R"(<table:covered-table-cell/><table:table-cell table:number-columns-repeated="0"/></table:table-row>)"
        R"(</table:table><table:table table:name="Two"><table:table-row><table:table-cell><text:p>other</text:p></table:table-cell></table:table-row></table:table>)";
    const QString ods =
        packWorkbook("book.ods", {{"mimetype", "application/vnd.oasis.opendocument.spreadsheet"},
                                  {"content.xml", odsContent(tables)}});
    // Repeated rows are not expanded; repeated cells are.
    EXPECT_EQ(spreadsheet.ReadODS(ods), (SpreadsheetData{{"Name", "x", "x", "x"}, {"line 1line 2", ""}}));
}

TEST_F(OtherFormatsTest, OdsRepeatsAreCappedAndBadFilesGiveNoRows) {
    const QByteArray huge =
        R"(<table:table><table:table-row><table:table-cell table:number-columns-repeated="2000000000"/></table:table-row></table:table>)";
    const QString ods = packWorkbook("huge.ods", {{"content.xml", odsContent(huge)}});
    const SpreadsheetData rows = spreadsheet.ReadODS(ods);
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].size(), 16384);

    writeFileBytes(path("fake.ods"), "not a zip");
    EXPECT_TRUE(spreadsheet.ReadODS(path("fake.ods")).isEmpty());
    // An XLSX workbook read as ODS has no content part.
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(path("a.xlsx"), {{"a"}}, false));
    EXPECT_TRUE(spreadsheet.ReadODS(path("a.xlsx")).isEmpty());
}

TEST_F(OtherFormatsTest, Xml2003RowsOfTheFirstWorksheet) {
    const QByteArray xml =
        R"(<?xml version="1.0"?><?mso-application progid="Excel.Sheet"?>)"
        R"(<Workbook xmlns="urn:schemas-microsoft-com:office:spreadsheet" xmlns:ss="urn:schemas-microsoft-com:office:spreadsheet">)"
        R"(<Worksheet ss:Name="One"><Table>)"
        R"(<Row><Cell><Data ss:Type="String">Name</Data></Cell><Cell><Data ss:Type="Number">5550100</Data></Cell></Row>)"
        R"(<Row><Cell ss:Index="3"><Data ss:Type="String">skipped index ignored</Data></Cell><Cell/></Row>)"
        R"(<Row><Cell><ss:Data ss:Type="String">prefixed <B>rich</B></ss:Data></Cell></Row>)"
        R"(</Table></Worksheet><Worksheet ss:Name="Two"><Table><Row><Cell><Data>other</Data></Cell></Row></Table></Worksheet></Workbook>)";
    writeFileBytes(path("book.xml"), xml);
    EXPECT_EQ(SpreadsheetWriter::ReadWorksheetXML2004(path("book.xml")),
              (SpreadsheetData{{"Name", "5550100"}, {"skipped index ignored", ""}, {"prefixed rich"}}));
    EXPECT_TRUE(SpreadsheetWriter::ReadWorksheetXML2004(path("missing.xml")).isEmpty());
}

} // namespace
