#pragma once
// How cell texts travel inside workbook parts.
//
// XML 1.0 cannot carry most control characters, and parsers turn a carriage return into a
// line feed. Workbooks therefore write such characters as "_xHHHH_" (and a literal
// "_xHHHH_" with its underscore escaped as "_x005F_"), which every spreadsheet program decodes.
#include <QString>

// Decodes every "_xHHHH_" escape (hex digits in either case).
QString decodeXlsxEscapes(const QString& text);

// Escapes what XML cannot carry as it is, and literal escapes, so decoding gives text back.
QString encodeXlsxEscapes(const QString& text);

// The most bytes writeXlsxTextAsXml makes of a text of this many UTF-16 units.
constexpr qsizetype xlsxTextXmlBound(qsizetype units) { return units * 7; }

// Writes text as the UTF-8 character data of a workbook part in one pass: encoded as
// encodeXlsxEscapes does, then "&", "<" and ">" as entities. out must have room for
// xlsxTextXmlBound(text.size()) bytes; returns the end of what was written.
char* writeXlsxTextAsXml(QStringView text, char* out);

// True when the text is a number that every spreadsheet program shows exactly as written:
// an optional "-", digits without a leading zero, an optional fraction without trailing
// zeros, at most 15 significant digits. "0123", "+1", "12.50", "1e5" and 20-digit numbers
// stay texts so that no digit a person typed is lost when the cell is shown.
bool isPlainNumber(const QString& text);
