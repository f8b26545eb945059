#pragma once
// How a numeric cell reads as a person sees it in a spreadsheet program: whole numbers as
// their digits (never the decimal text of a double such as "447700900003.0"), padded to
// the number of zeros its number format shows ("00000000000" keeps a leading 0), and which
// number formats show dates.
#include <QString>

// A numeric cell's stored value as text under its format code ("" for General).
QString numericCellText(const QString& value, const QString& formatCode);

// The number of digits a zero-padding format code shows ("00000000000" gives 11); 0 when
// the code does not pad whole numbers (General, "0", "0.00", "#,##0", text formats).
int paddedDigits(const QString& formatCode);

// True when a format code shows a date or a time (a d, m, y, h or s outside quoted text,
// escapes and bracketed colours or locales), whatever its id.
bool isDateFormatCode(const QString& formatCode);

// A "t=d" cell's ISO 8601 date, time or date and time as a date serial of the 1900 system
// (days since 30 December 1899); "" when the text is none of those.
QString isoDateToSerial(const QString& iso);
