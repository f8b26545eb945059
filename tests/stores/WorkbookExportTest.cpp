// Workbook exports read back by our own reader and, when it is installed, by LibreOffice.
#include "StoreWindowsFixture.h"
#include "sheets/SpreadsheetWriter.h"
#include "stores/ExportFile.h"
#include "stores/ExportFormats.h"
#include "stores/SentItemFile.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <functional>

#include <sys/stat.h>

namespace {

const QList<ReportItem> kItems = {
    {"+447700900001",
     "Hello <b>&</b>\nsecond line",
     "Done (ttyUSB0)",
     "Message sent successfully.",
     "/dev/ttyUSB0",
     1,
     {4, 5},
     "Delivered"},
    {"00441234",
     QString::fromUtf8("\xE2\x82\xAC \xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 \xF0\x9F\x98\x80"),
     "Stopped",
     "Stopped.",
     "",
     0,
     {},
     ""},
    {"5550100", "=1+1", "Done (ttyUSB1)", "+CMS ERROR: 38", "/dev/ttyUSB1", 3, {}, ""},
};

SpreadsheetData readBack(const QString& workbook) {
    SpreadsheetWriter spreadsheet;
    spreadsheet.ReadWorkbook(workbook, true);
    if (spreadsheet.Read_Sheet_Name().isEmpty())
        return {{"<no sheet>"}};
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.ReadData_only_column();
    return spreadsheet.ReadWorkbook(workbook, false);
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

// Every export holds other people's numbers and messages: whatever the umask, and over a file
// that was readable by all, what is written is the user's alone.
TEST_F(StoreWindowsTest, EveryExportIsPrivateToTheUser) {
    const QList<SentItem> sent = {{"111", "m", "01/02/2025", "Stopped."}};
    const QList<std::pair<QString, std::function<bool(const QString&)>>> exports = {
        {"report.txt", [](const QString& p) { return writeSendingReport(p, ExportFormat::Text, kItems); }},
        {"report.html", [](const QString& p) { return writeSendingReport(p, ExportFormat::Html, kItems); }},
        {"report.xlsx", [](const QString& p) { return writeSendingReport(p, ExportFormat::Xlsx, kItems); }},
        {"sent.txt", [&](const QString& p) { return writeExportBytes(p, sentItemsText(sent)); }},
        {"sent.html", [&](const QString& p) { return writeExportBytes(p, sentItemsHtml(sent)); }},
        {"sent.xlsx", [&](const QString& p) { return writeExportWorkbook(p, sentItemsRows(sent)); }},
        {"templates.html", [](const QString& p) { return writeExportBytes(p, templatesHtml({"a"})); }},
        {"exclusion.txt", [](const QString& p) { return writeExportBytes(p, exclusionNumbersText({"1"})); }},
        {"exclusion.xlsx",
         [](const QString& p) { return writeExportWorkbook(p, exclusionNumbersRows({"1"})); }},
        {"contacts.txt",
         [](const QString& p) {
             return writeExportBytes(p, contactListText({{"1", "m"}}));
         }},
        {"contacts.xlsx",
         [](const QString& p) {
             return writeExportWorkbook(p, contactListRows({{"1", "m"}}));
         }},
    };
    const mode_t before = ::umask(0);
    for (const auto& [name, write] : exports) {
        writeFile(name, "readable by all");
        ASSERT_EQ(::chmod(QFile::encodeName(path(name)).constData(), 0666), 0);
        EXPECT_TRUE(write(path(name))) << name.toStdString();
        EXPECT_EQ(permissionsOf(path(name)), 0600u) << name.toStdString();
    }
    ::umask(before);
}

TEST_F(StoreWindowsTest, WorkbookExportsOpenInLibreOfficeWithTheSameCells) {
    const QString soffice = QStandardPaths::findExecutable("soffice");
    if (soffice.isEmpty())
        GTEST_SKIP() << "LibreOffice (soffice) is not installed; the read-back by LibreOffice is not checked";
    const QList<SentItem> sent = {
        {"+447700900001", "Line one\nline two", "23/11/2026", "Message sent successfully."},
        {"5550100", "<&>", "23/11/2026", "Stopped."}};
    const QList<QPair<QString, SpreadsheetData>> books = {
        {"report", sendingReportRows(kItems)},
        {"sent", sentItemsRows(sent)},
        {"templates", templatesRows({"One", "Two\nlines", QString(1600, 'x')})},
        {"exclusion", exclusionNumbersRows({"+442079460958", "00441234"})},
        {"contacts", contactListRows({{"+447700900001", "Hi \"there\", you"}, {"5550100", ""}})},
    };
    QStringList arguments = {
        "-env:UserInstallation=file://" + path("lo-profile"), "--headless", "--convert-to",
        "csv:Text - txt - csv (StarCalc):44,34,76",           "--outdir",   path("csv")};
    for (const auto& [name, rows] : books) {
        ASSERT_TRUE(writeExportWorkbook(path(name + ".xlsx"), rows)) << name.toStdString();
        arguments << path(name + ".xlsx");
    }
    QDir().mkpath(path("csv"));
    QProcess convert;
    convert.start(soffice, arguments);
    ASSERT_TRUE(convert.waitForFinished(300000)) << "soffice did not finish";
    for (const auto& [name, rows] : books) {
        const QByteArray csv = readAll(path("csv/" + name + ".csv"));
        ASSERT_NE(csv, "<unreadable>")
            << name.toStdString() << ": " << convert.readAllStandardError().toStdString();
        SpreadsheetData cells = parseCsv(QString::fromUtf8(csv));
        // LibreOffice writes an empty last cell as nothing; our rows keep it.
        SpreadsheetData expected = rows;
        for (QStringList& row : expected)
            while (row.size() > 1 && row.last().isEmpty())
                row.removeLast();
        for (QStringList& row : cells)
            while (row.size() > 1 && row.last().isEmpty())
                row.removeLast();
        EXPECT_EQ(cells, expected) << name.toStdString();
    }
}

} // namespace
