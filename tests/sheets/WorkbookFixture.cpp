#include "WorkbookFixture.h"

#include "ZipTestSupport.h"

#include <QFile>

#include <unicode/locid.h>

#include <algorithm>
#include <vector>

void WorkbookTest::SetUp() {
    ASSERT_TRUE(QFile::copy(QStringLiteral(BULKSMS_TEMPLATE_XLSX),
                            m_home.resources() + QStringLiteral("/Template.xlsx")));
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
}

QString WorkbookTest::packWorkbook(const QString& name, const QMap<QString, QByteArray>& parts) const {
    std::vector<ZipEntrySpec> entries;
    for (auto it = parts.begin(); it != parts.end(); ++it)
        entries.push_back({it.key(), it.value()});
    const QString location = path(name);
    EXPECT_TRUE(buildZip(location, entries));
    return location;
}

QString WorkbookTest::sheetWorkbook(const QString& name, const QByteArray& sheetBody,
                                    const QByteArray& sharedStrings, const QByteArray& styles) const {
    QMap<QString, QByteArray> parts{
        {"xl/workbook.xml",
         R"(<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheets><sheet name="Data"/></sheets></workbook>)"},
        {"xl/worksheets/sheet1.xml", sheetBody},
    };
    if (!sharedStrings.isEmpty())
        parts.insert("xl/sharedStrings.xml", sharedStrings);
    parts.insert("xl/styles.xml",
                 styles.isEmpty()
                     ? QByteArray(R"(<styleSheet><cellXfs><xf numFmtId="0"/></cellXfs></styleSheet>)")
                     : styles);
    return packWorkbook(name, parts);
}

SpreadsheetData WorkbookTest::importFirstSheet(const QString& workbook, SpreadsheetData* header) {
    spreadsheet.ReadWorkbook(workbook, true);
    if (spreadsheet.Read_Sheet_Name().isEmpty())
        return {{"<no sheet>"}};
    spreadsheet.Excel_Sheet_Number = 1;
    const SpreadsheetData head = spreadsheet.ReadData_only_column();
    if (header)
        *header = head;
    SpreadsheetData rows = spreadsheet.ReadWorkbook(workbook, false);
    expectStreamedRowsMatch(spreadsheet, rows);
    return rows;
}

void expectStreamedRowsMatch(SpreadsheetWriter& spreadsheet, const SpreadsheetData& table) {
    SpreadsheetData streamed;
    const bool ok = spreadsheet.ReadRows([&](QStringList& row) {
        streamed.append(row);
        return true;
    });
    if (table.isEmpty()) {
        EXPECT_TRUE(streamed.isEmpty() || !ok);
        return;
    }
    // The table widens every row to its widest; a streamed row is as wide as it came.
    for (QStringList& row : streamed)
        row.resize(std::max(row.size(), table.first().size()));
    EXPECT_TRUE(ok);
    EXPECT_EQ(streamed, table) << "the streaming read differs from the table";
}

QByteArray sheetXml(const QByteArray& body, const QByteArray& dimension) {
    const QByteArray dim = dimension.isEmpty() ? QByteArray() : "<dimension ref=\"" + dimension + "\"/>";
    return R"(<?xml version="1.0" encoding="UTF-8"?><worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)" +
           dim + "<sheetData>" + body + "</sheetData></worksheet>";
}

QByteArray sharedStringsXml(const QStringList& strings) {
    QByteArray xml = R"(<sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)";
    for (const QString& s : strings)
        xml += "<si><t>" + s.toUtf8() + "</t></si>";
    return xml + "</sst>";
}
