#pragma once
// Process-wide state of the spreadsheet reader, read and set by the import windows.
// Everything here lives on the main thread (reads and imports are modal), so no locks.
#include <QtGlobal>

class SpreadsheetWriter;

// The single reader/writer object, created on first use and kept for the process.
extern SpreadsheetWriter* spreadsheet;

// 1-based number of the sheet the next header or full read takes.
extern qint32 Excel_Sheet_Number;

// Column count of the current sheet: every row of a full read has this many entries.
extern qint32 Excel_Sheet_Columns;
