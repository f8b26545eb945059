#pragma once
// The first reader steps both spreadsheet windows take when a workbook is chosen.
#include <QString>
#include <QStringList>

namespace WorkbookPreparation {

// Unpacks the workbook and returns its sheet names; none when it is not a workbook.
QStringList prepareAndListSheets(const QString& path);

// Header row of sheet index (0-based); sets the reader's sheet number. Empty when none.
QStringList headerOfSheet(int index);

} // namespace WorkbookPreparation
