#pragma once
// The first reader steps both spreadsheet windows take when a workbook is chosen.
#include <QString>
#include <QStringList>

namespace WorkbookPreparation {

// Opens the workbook and returns its sheet names; none when it cannot be read, with the
// reason for the operator in failure.
QStringList prepareAndListSheets(const QString& path, QString* failure = nullptr);

// Header row of sheet index (0-based); sets the reader's sheet number. Empty when none.
// A blank header cell names its column "Untitled Column <n>", so every column keeps its
// position in the sheet.
QStringList headerOfSheet(int index);

// Why the last read of the reader gave nothing ("" when it did not fail).
QString lastReadFailure();

} // namespace WorkbookPreparation
