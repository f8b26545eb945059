#pragma once
// Rows of the first worksheet of an XML Spreadsheet 2003 file.
#include "SpreadsheetData.h"

#include <QString>

class Xml2003Reader {
public:
    // Each row lists, per cell, the text of the cell's first child (its data element).
    // Index attributes that skip cells are not honoured.
    static SpreadsheetData read(const QString& location);
};
