#pragma once
// Column letters of cell references (A, B, ..., Z, AA, ...) and their numbers.
#include <QString>

// The characters of a cell reference before its first digit 1..9 ("AB12" gives "AB").
QString Get_Column_Char_Str(const QString& reference);

// One letter: its code minus base. Two letters: (first - 64) * 26 + last - base. Base 65
// gives a 0-based index (A = 0, AA = 26), base 64 a 1-based number (A = 1, AA = 27).
// Three letters (up to XFD) count on in the same sequence; anything else gives -1.
int Get_Col_index(const QString& letters, int base);

// The low 8 bits of the code of the first character (0 for an empty string).
int Asc_Val(const QString& s);

// 1-based column number to letters: 1 = A, 26 = Z, 27 = AA. Non-positive numbers give "".
QString columnLettersFromNumber(int number);
