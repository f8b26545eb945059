#include "WorkbookPreparation.h"

#include "core/Guard.h"
#include "sheets/SheetState.h"
#include "sheets/SpreadsheetWriter.h"

namespace WorkbookPreparation {

QStringList prepareAndListSheets(const QString& path, QString* failure) {
    if (SpreadsheetWriter::isStreaming()) {
        if (failure)
            *failure = QStringLiteral("Another workbook is being loaded into a list. Please open this one "
                                      "when that load is done.");
        return {};
    }
    QString reason;
    QStringList sheets = Guard::run(
        "Preparing a workbook failed",
        [&] {
            Excel_Sheet_Number = 1;
            SpreadsheetWriter::ReadWorkbook(path, true);
            reason = SpreadsheetWriter::shared().readFailure;
            QStringList names = SpreadsheetWriter::Read_Sheet_Name();
            if (reason.isEmpty() && names.isEmpty())
                reason = QStringLiteral("This workbook has no sheet.");
            return names;
        },
        QStringList());
    if (sheets.isEmpty() && reason.isEmpty())
        reason = XlsxPackage::notAWorkbookMessage();
    if (failure)
        *failure = sheets.isEmpty() ? reason : QString();
    return sheets;
}

QStringList headerOfSheet(int index) {
    QStringList header = Guard::run(
        "Reading the header of a sheet failed",
        [&] {
            Excel_Sheet_Number = index + 1;
            const SpreadsheetData header = SpreadsheetWriter::ReadData_only_column();
            return header.isEmpty() ? QStringList() : header.first();
        },
        QStringList());
    for (qsizetype i = 0; i < header.size(); ++i) {
        if (header.at(i).trimmed().isEmpty())
            header[i] = QStringLiteral("Untitled Column %1").arg(i + 1);
    }
    return header;
}

QString lastReadFailure() { return spreadsheet ? spreadsheet->readFailure : QString(); }

} // namespace WorkbookPreparation
