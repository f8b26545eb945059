#include "WorkbookPreparation.h"

#include "core/Log.h"
#include "sheets/SheetState.h"
#include "sheets/SpreadsheetWriter.h"

#include <QDir>

namespace WorkbookPreparation {

QStringList prepareAndListSheets(const QString& path) {
    try {
        Excel_Sheet_Number = 1;
        SpreadsheetWriter::ReadWorkbook(path, true);
        const QString folder = SpreadsheetWriter::shared().tmpDir;
        if (folder.isEmpty() || !QDir(folder + QStringLiteral("/xl/worksheets")).exists())
            return {};
        return SpreadsheetWriter::Read_Sheet_Name();
    } catch (...) {
        Show_NSLog_Message(QStringLiteral("Preparing the workbook %1 failed").arg(path));
        return {};
    }
}

QStringList headerOfSheet(int index) {
    try {
        Excel_Sheet_Number = index + 1;
        const SpreadsheetData header = SpreadsheetWriter::ReadData_only_column();
        return header.isEmpty() ? QStringList() : header.first();
    } catch (...) {
        Show_NSLog_Message(QStringLiteral("Reading the header of sheet %1 failed").arg(index + 1));
        return {};
    }
}

} // namespace WorkbookPreparation
