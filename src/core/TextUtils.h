#pragma once
// Forgiving string helpers used everywhere. Lengths and indexes count UTF-16 code units,
// exactly what QString counts. None of them throws; out-of-range indexes clamp or give "".
#include <QString>

QString Trim_Str(const QString& s);
QString MakeUpper(const QString& s);
QString MakeLower(const QString& s);

QString Replace_char_in_string(const QString& s, const QString& find, const QString& repl);
QString Replace_char_in_string_Case_Insensitive(const QString& s, const QString& find, const QString& repl);

bool Find_Str(const QString& hay, const QString& needle);
bool Find_Str_Case_Insensitive(const QString& hay, const QString& needle);

QString Left_Str_substringToIndex(const QString& s, int n);
QString Right_Str_substringFromIndex(const QString& s, int n);
QString Read_Str_FromIndex(const QString& s, int i);
QString Read_Str_Upto_Index(const QString& s, int i);

// The normalisation every phone number goes through before validation.
QString Replace_Char_For_Valid_Number(const QString& s);

// Line feeds inside a stored text travel as this separator so each record stays one line.
inline const QString kStoredNewLineSeparator = QStringLiteral("|AP*|DX/");
QString Replace_Sent_Item_and_Template_New_Line_with_Seprator(const QString& s);
QString Replace_Sent_Item_and_Template_Seprator_With_New_Line(const QString& s);
