#pragma once
// The keys of a column choice record: one row per column of the chosen sheet in the
// workbook import windows, ticked to take the column. The keys are the system's own texts.
#include <QString>

inline const QString kColumnTickedKey = QStringLiteral("State");   // "1" ticked, "0" not
inline const QString kColumnNameKey = QStringLiteral("Extension"); // its header cell
