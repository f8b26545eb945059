#pragma once
// The first reader steps both spreadsheet windows take when a workbook is chosen.
#include <QString>
#include <QStringList>

class SpreadsheetWriter;

namespace WorkbookPreparation {

// Opens the workbook in the reader and returns its sheet names; none when it cannot be read,
// with the reason for the operator in failure.
QStringList prepareAndListSheets(SpreadsheetWriter& spreadsheet, const QString& path,
                                 QString* failure = nullptr);

// Header row of sheet index (0-based); sets the reader's sheet number. Empty when none.
// A blank header cell names its column "Untitled Column <n>", so every column keeps its
// position in the sheet.
QStringList headerOfSheet(SpreadsheetWriter& spreadsheet, int index);

} // namespace WorkbookPreparation
