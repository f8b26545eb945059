#include "WorkbookPreparation.h"

#include "core/Guard.h"
#include "sheets/SheetState.h"
#include "sheets/SpreadsheetWriter.h"

#include <QDir>

namespace WorkbookPreparation {

QStringList prepareAndListSheets(const QString& path) {
    return Guard::run(
        "Preparing a workbook failed",
        [&] {
            Excel_Sheet_Number = 1;
            SpreadsheetWriter::ReadWorkbook(path, true);
            const QString folder = SpreadsheetWriter::shared().tmpDir;
            if (folder.isEmpty() || !QDir(folder + QStringLiteral("/xl/worksheets")).exists())
                return QStringList();
            return SpreadsheetWriter::Read_Sheet_Name();
        },
        QStringList());
}

QStringList headerOfSheet(int index) {
    return Guard::run(
        "Reading the header of a sheet failed",
        [&] {
            Excel_Sheet_Number = index + 1;
            const SpreadsheetData header = SpreadsheetWriter::ReadData_only_column();
            return header.isEmpty() ? QStringList() : header.first();
        },
        QStringList());
}

} // namespace WorkbookPreparation
