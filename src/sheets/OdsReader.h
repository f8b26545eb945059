#pragma once
// Rows of the first table of an OpenDocument spreadsheet's content part.
#include "SpreadsheetData.h"

#include <QString>

class OdsReader {
public:
    // Limits on what repeated cells may expand to: a row never grows past the widest sheet
    // spreadsheet programs make, and one read never holds more cells than this.
    static constexpr qint64 kMaxRowCells = 16384;
    static constexpr qint64 kMaxCells = 4'000'000;

    // Each row lists, per child element, its whole text, repeated as often as its
    // "table:number-columns-repeated" says. Repeated rows are not expanded.
    static SpreadsheetData readContent(const QString& contentLocation);
};
