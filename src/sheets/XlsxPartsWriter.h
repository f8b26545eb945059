#pragma once
// The two generated parts of an exported workbook: the worksheet and its shared strings.
#include "SpreadsheetData.h"

#include <QStringList>

// Writes the worksheet of the table to location. Every text cell appends its text to
// sharedStrings (equal texts again, not shared) and refers to it by index.
bool writeWorksheetPart(const QString& location, const SpreadsheetData& data, QStringList& sharedStrings);

// Writes the shared-strings part listing sharedStrings in order.
bool writeSharedStringsPart(const QString& location, const QStringList& sharedStrings);
