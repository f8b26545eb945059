#include "SheetState.h"

SpreadsheetWriter* spreadsheet = nullptr;
qint32 Excel_Sheet_Number = 1;
qint32 Excel_Sheet_Columns = 1;
