#pragma once
// How the bulk loaders cut a text into candidate numbers. Every candidate still goes
// through the window's insert filter; these only decide what a candidate is.
#include <QList>
#include <QString>
#include <QStringList>

namespace NumberCandidates {

// Text and RTF files: one candidate per line, without "\\", "{", "}", normalised.
QStringList fromTextLines(const QString& text);

// The records of a CSV text (RFC 4180): fields separated by separator, quoted fields may
// hold separators, doubled quotes and line breaks; records end at CRLF, LF or CR. startLines,
// when given, receives the line (0-based) each record starts on.
QList<QStringList> parseCsv(const QString& text, QChar separator, QList<qint64>* startLines = nullptr);

// The separator a CSV text uses: the one of ",", ";" and tab that splits its first
// records most consistently into more than one field ("," when none does).
QChar sniffCsvSeparator(const QString& text);

// CSV files (separator sniffed, or named by a first line "sep=;"): every cell (without "\\", "{", "}") that
// looks like a phone number, in file order. Cells that do not (names, ids, ages, amounts, dates, headers) are
// no candidates; ignored, when given, receives their number (blank cells not counted).
QStringList fromCsv(const QString& text, int* ignored = nullptr);

// The phone-like cells of CSV records with a known separator (what fromCsv does after it
// has found the separator), for a file read a part at a time; lines, when given, receives
// the line (0-based) of each cell's record.
QStringList fromCsvRecords(const QString& text, QChar separator, int* ignored = nullptr,
                           QList<qint64>* lines = nullptr);

// The line breaks in text (CR LF counted once).
qint64 countLineBreaks(QStringView text);

// Pasted blocks: one candidate per line, or, for a line with tabs (a block copied from a
// spreadsheet), every tab-separated cell that looks like a phone number.
QStringList fromPaste(const QString& text, int* ignored = nullptr);

} // namespace NumberCandidates
