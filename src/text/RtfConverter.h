#pragma once
// RTF to plain text, for number files, templates and exclusion lists written in a word
// processor. Only the text survives: groups and formatting are dropped, paragraph and
// line breaks become "\n", tabs and table cells "\t". Font, colour and style tables,
// pictures, objects and every "\*" destination are skipped. "\'hh" bytes are decoded in
// the document's code page ("\ansicpg"), "\uN" gives the character N and skips its
// fallback ("\ucN" characters, 1 by default). Malformed input yields what could be read.
#include <QByteArray>
#include <QString>

class RtfConverter {
public:
    static QString toPlainText(const QByteArray& rtf);
    // True when the bytes start like an RTF document ("{\rtf").
    static bool looksLikeRtf(const QByteArray& bytes);
};
