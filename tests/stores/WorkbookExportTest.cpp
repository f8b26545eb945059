// Workbook exports read back by our own reader and, when it is installed, by LibreOffice.
#include "StoreWindowsFixture.h"
#include "sheets/SheetState.h"
#include "sheets/SpreadsheetWriter.h"
#include "stores/ExportFile.h"
#include "stores/ExportFormats.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace {

const QList<ReportItem> kItems = {
    {"+447700900001", "Hello <b>&</b>\nsecond line", "Done (ttyUSB0)", "Message sent successfully."},
    {"00441234",
     QString::fromUtf8("\xE2\x82\xAC \xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 \xF0\x9F\x98\x80"),
     "Stopped", "Stopped."},
    {"5550100", "=1+1", "Done (ttyUSB1)", "+CMS ERROR: 38"},
};

SpreadsheetData readBack(const QString& workbook) {
    SpreadsheetWriter::ReadWorkbook(workbook, true);
    if (SpreadsheetWriter::Read_Sheet_Name().isEmpty())
        return {{"<no sheet>"}};
    Excel_Sheet_Number = 1;
    SpreadsheetWriter::ReadData_only_column();
    return SpreadsheetWriter::ReadWorkbook(workbook, false);
}

// RFC 4180 fields: quoted fields may hold commas, quotes and line breaks.
SpreadsheetData parseCsv(const QString& text) {
    SpreadsheetData rows;
    QStringList row;
    QString field;
    bool quoted = false;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
                field += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            row << field;
            field.clear();
        } else if (c == '\n' || c == '\r') {
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            row << field;
            field.clear();
            rows << row;
            row.clear();
        } else {
            field += c;
        }
    }
    if (!field.isEmpty() || !row.isEmpty())
        rows << (row << field);
    return rows;
}

TEST_F(StoreWindowsTest, WorkbookExportsReadBackCellForCell) {
    const QString report = path("report.xlsx");
    ASSERT_TRUE(writeSendingReport(report, ExportFormat::Xlsx, kItems));
    EXPECT_EQ(readBack(report), sendingReportRows(kItems));

    const QString templates = path("templates.xlsx");
    const QStringList texts = {"One", "Two\nlines", QString(1600, 'x')};
    ASSERT_TRUE(writeExportWorkbook(templates, templatesRows(texts)));
    EXPECT_EQ(readBack(templates), templatesRows(texts));
}

TEST_F(StoreWindowsTest, WorkbookExportsOpenInLibreOfficeWithTheSameCells) {
    const QString soffice = QStandardPaths::findExecutable("soffice");
    if (soffice.isEmpty())
        GTEST_SKIP() << "LibreOffice (soffice) is not installed; the read-back by LibreOffice is not checked";
    const QString report = path("report.xlsx");
    ASSERT_TRUE(writeSendingReport(report, ExportFormat::Xlsx, kItems));
    const QString out = path("csv");
    QDir().mkpath(out);
    QProcess convert;
    convert.start(soffice,
                  {"-env:UserInstallation=file://" + path("lo-profile"), "--headless", "--convert-to",
                   "csv:Text - txt - csv (StarCalc):44,34,76", "--outdir", out, report});
    ASSERT_TRUE(convert.waitForFinished(180000)) << "soffice did not finish";
    const QByteArray csv = readAll(out + "/report.csv");
    ASSERT_NE(csv, "<unreadable>") << convert.readAllStandardError().toStdString();
    SpreadsheetData cells = parseCsv(QString::fromUtf8(csv));
    EXPECT_EQ(cells, sendingReportRows(kItems));
}

} // namespace
