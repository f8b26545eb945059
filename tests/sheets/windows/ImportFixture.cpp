#include "ImportFixture.h"

#include "list/ListLoad.h"
#include "list/LoadCounters.h"
#include "sheets/ColumnNames.h"
#include "sheets/SpreadsheetWriter.h"

namespace {
QByteArray escaped(const QString& s) { return s.toHtmlEscaped().toUtf8(); }
} // namespace

QStringList ImportTestWindow::numbers() const {
    QStringList out;
    for (const Record& r : list().records())
        out << r.value(kNumberKey);
    return out;
}

QStringList ImportTestWindow::messages() const {
    QStringList out;
    for (const Record& r : list().records())
        out << r.value(kMessageKey);
    return out;
}

void ImportTest::SetUp() {
    WorkbookTest::SetUp();
    windows.setFront(MainWindowController::Kind::Android);
}

QString ImportTest::tableWorkbook(const QString& name, const QList<SpreadsheetData>& sheets) const {
    QMap<QString, QByteArray> parts;
    QByteArray names;
    for (int s = 0; s < sheets.size(); ++s) {
        names += "<sheet name=\"Sheet" + QByteArray::number(s + 1) + "\"/>";
        qsizetype width = 1;
        QByteArray body;
        for (int r = 0; r < sheets[s].size(); ++r) {
            const QStringList& row = sheets[s][r];
            width = qMax(width, row.size());
            body += "<row r=\"" + QByteArray::number(r + 1) + "\">";
            for (int c = 0; c < row.size(); ++c)
                if (!row[c].isEmpty())
                    body += "<c r=\"" + columnLettersFromNumber(c + 1).toLatin1() +
                            QByteArray::number(r + 1) + "\" t=\"inlineStr\"><is><t>" + escaped(row[c]) +
                            "</t></is></c>";
            body += "</row>";
        }
        const QByteArray end = columnLettersFromNumber(int(width)).toLatin1() +
                               QByteArray::number(qMax(1, int(sheets[s].size())));
        parts.insert("xl/worksheets/sheet" + QString::number(s + 1) + ".xml", sheetXml(body, "A1:" + end));
    }
    parts.insert("xl/workbook.xml",
                 R"(<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheets>)" +
                     names + "</sheets></workbook>");
    parts.insert("xl/styles.xml", R"(<styleSheet><cellXfs><xf numFmtId="0"/></cellXfs></styleSheet>)");
    return packWorkbook(name, parts);
}

QList<int> ImportTest::counters() const {
    const LoadCounters& c = android.lastLoad();
    return {c.TOT_PROC, c.TOT, c.SKPD, c.EXLD};
}

void ImportTest::waitForLoads() {
    ASSERT_TRUE(
        spinUntil([&] { return !ListLoad::of(android).isRunning() && !ListLoad::of(gsm).isRunning(); }));
}
