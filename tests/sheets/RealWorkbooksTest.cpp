// Workbooks as the programs people use write them (tests/sheets/data, made by
// make_workbooks.py there), read cell by cell: what a person sees in a spreadsheet program.
#include "sheets/SpreadsheetWriter.h"

#include "WorkbookFixture.h"

#include <QDir>
#include <QFile>

namespace {

using RealWorkbooksTest = WorkbookTest;

QString dataFile(const char* name) { return QStringLiteral(BULKSMS_SHEETS_TEST_DATA "/") + name; }

struct SheetExpectation {
    int number; // 1-based, in tab order
    QStringList header;
    SpreadsheetData rows;
};

void expectSheets(SpreadsheetWriter& spreadsheet, const QString& book, const QStringList& names,
                  const QList<SheetExpectation>& sheets) {
    spreadsheet.ReadWorkbook(book, true);
    EXPECT_EQ(spreadsheet.readFailure, QString());
    EXPECT_EQ(spreadsheet.Read_Sheet_Name(), names);
    for (const SheetExpectation& sheet : sheets) {
        SCOPED_TRACE(QString("sheet %1").arg(sheet.number).toStdString());
        spreadsheet.Excel_Sheet_Number = sheet.number;
        const SpreadsheetData header = spreadsheet.ReadData_only_column();
        ASSERT_EQ(header.size(), 1);
        EXPECT_EQ(header.first(), sheet.header);
        const SpreadsheetData rows = spreadsheet.ReadWorkbook(book, false);
        expectStreamedRowsMatch(spreadsheet, rows);
        ASSERT_EQ(rows.size(), sheet.rows.size());
        for (qsizetype r = 0; r < rows.size(); ++r)
            EXPECT_EQ(rows.at(r), sheet.rows.at(r)) << "row " << r + 1;
    }
}

TEST_F(RealWorkbooksTest, WrittenByOpenpyxl) {
    // A float phone cell, a padding format, ISO dates (t="d"), a blank-looking header cell,
    // a merged message cell, parts named by absolute targets.
    expectSheets(spreadsheet, dataFile("openpyxl.xlsx"), {"Contacts", "Old"},
                 {{1,
                   {"Name", "Untitled Column 2", "Phone", "Padded", "Joined", "Message"},
                   {{"Name", " ", "Phone", "Padded", "Joined", "Message"},
                    {"Ann", "x", "447700900003", "07700900004", "2024-03-05", "Hello all"},
                    {"Bob", "y", "5550100", "07700900005", "2024-03-06 14:30:00", "Hello all"},
                    {"Cy", "z", "+44 (0)7700 900006", "07700900006", "1999-12-31", "Hello all"}}},
                  {2, {"Phone"}, {{"Phone"}, {"999"}}}});
}

TEST_F(RealWorkbooksTest, WrittenLikeLibreOffice) {
    // Row-only dimension "1:2" narrower than the data, E-notation and cached formula values.
    expectSheets(spreadsheet, dataFile("libreoffice.xlsx"), {"Sheet1"},
                 {{1,
                   {"Name", "Phone", "Next", "05-03-2024", "Untitled Column 5"},
                   {{"Name", "Phone", "Next", "05-03-2024", ""},
                    {"Dee", "447700900002", "447700900003", "12.5", ""},
                    {"", "5550100", "+5550100", "", "1"}}}});
}

TEST_F(RealWorkbooksTest, WrittenLikeExcelWithTabsMovedAndOneDeleted) {
    // "Contacts" is the first tab but lives in sheet3.xml; sheet2.xml was deleted and
    // sheet1.xml belongs to "Old". Stale dimension "A1", phonetic guides, padding and
    // fixed-point formats, a custom date format of id 170, a merged message block.
    const QString book = dataFile("excel.xlsx");
    expectSheets(spreadsheet, book, {"Contacts", "Old"},
                 {{1,
                   {"Name", "Untitled Column 2", "Phone", "Message", "Due"},
                   {{"Name", " ", "Phone", "Message", "Due"},
                    {"山田", "1", "07700900001", "Meeting today", "2024-03-05"},
                    {"Bo", "2", "07700900002", "Meeting today", "12.50"},
                    {"Cy", "", "447700900003", "Meeting today", "07-03-2024"}}},
                  {2, {"Phone"}, {{"Phone"}, {"999"}}}});
    // Only the small parts that were read land on disk: never the picture, never a folder of
    // parts, and never the shared strings or a sheet, which are read as they inflate.
    const QStringList inflated =
        QDir(spreadsheet.tmpDir).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    EXPECT_EQ(inflated.size(), 4) << inflated.join(' ').toStdString(); // .rels, workbook + rels, styles
    for (const QString& name : inflated) {
        QFile part(spreadsheet.tmpDir + "/" + name);
        ASSERT_TRUE(part.open(QIODevice::ReadOnly));
        EXPECT_FALSE(part.read(4).startsWith("\x89PNG")) << name.toStdString();
    }
}

} // namespace
