#pragma once
// How the bulk loaders cut a text into candidate numbers. Every candidate still goes
// through the window's insert filter; these only decide what a candidate is.
#include <QString>
#include <QStringList>

namespace NumberCandidates {

// Text and RTF files: one candidate per "\n" line, without "\\", "{", "}", normalised.
QStringList fromTextLines(const QString& text);

// CSV files: lines end at "\r" only; a line without "," is ignored, otherwise each
// ","-separated cell (without "\\", "{", "}") is a candidate.
QStringList fromCsv(const QString& text);

// Pasted blocks: one candidate per "\n" line, or per tab-separated cell of a line with tabs.
QStringList fromPaste(const QString& text);

} // namespace NumberCandidates
