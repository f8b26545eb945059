// Workbooks as files arrive: a zip is read as XLSX (package, shared strings, styles, sheets,
// streamed rows) and as ODS; anything else as XML 2003. The steps are the command line's.
#include "FuzzInput.h"
#include "sheets/SpreadsheetWriter.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

QString written(const QByteArray& bytes, const QString& name) {
    static QTemporaryDir folder;
    const QString path = folder.path() + QLatin1Char('/') + name;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(bytes);
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzInput in(data, size);
    if (!in.bytes.startsWith("PK")) {
        SpreadsheetWriter::ReadWorksheetXML2004(written(in.bytes, QStringLiteral("book.xml")));
        return 0;
    }
    SpreadsheetWriter spreadsheet;
    spreadsheet.ReadODS(written(in.bytes, QStringLiteral("book.ods")));
    spreadsheet.ReadWorkbook(written(in.bytes, QStringLiteral("book.xlsx")), true);
    const QStringList sheets = spreadsheet.Read_Sheet_Name();
    if (spreadsheet.readFailure.isEmpty() && !sheets.isEmpty()) {
        spreadsheet.Excel_Sheet_Number = 1 + in.bytes.size() % sheets.size();
        spreadsheet.ReadData_only_column();
        qsizetype cells = 0;
        spreadsheet.ReadRows([&cells](QStringList& row) {
            cells += row.size();
            return cells < 1000000;
        });
    }
    spreadsheet.releaseWorkbook();
    return 0;
}
