#include "WorkbookPreparation.h"

#include "core/Guard.h"
#include "sheets/SpreadsheetWriter.h"

namespace WorkbookPreparation {

QStringList prepareAndListSheets(SpreadsheetWriter& spreadsheet, const QString& path, QString* failure) {
    if (spreadsheet.isStreaming()) {
        if (failure)
            *failure = QStringLiteral("Another workbook is being loaded into a list. Please open this one "
                                      "when that load is done.");
        return {};
    }
    QString reason;
    QStringList sheets = Guard::run(
        "Preparing a workbook failed",
        [&] {
            spreadsheet.Excel_Sheet_Number = 1;
            spreadsheet.ReadWorkbook(path, true);
            reason = spreadsheet.readFailure;
            QStringList names = spreadsheet.Read_Sheet_Name();
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

QStringList headerOfSheet(SpreadsheetWriter& spreadsheet, int index) {
    QStringList header = Guard::run(
        "Reading the header of a sheet failed",
        [&] {
            spreadsheet.Excel_Sheet_Number = index + 1;
            const SpreadsheetData header = spreadsheet.ReadData_only_column();
            return header.isEmpty() ? QStringList() : header.first();
        },
        QStringList());
    for (qsizetype i = 0; i < header.size(); ++i) {
        if (header.at(i).trimmed().isEmpty())
            header[i] = QStringLiteral("Untitled Column %1").arg(i + 1);
    }
    return header;
}

} // namespace WorkbookPreparation
