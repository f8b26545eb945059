#pragma once
// How a text travels as SMS: the coding it goes in (GSM 7-bit or UCS2) and the parts it is
// cut into. Parts hold whole characters: an extension character never leaves its escape
// behind, and the two halves of a surrogate pair stay together.
#include <QString>
#include <QStringList>

#include <climits>

enum class SmsCoding { Gsm7, Ucs2 };

namespace SmsParts {

// What one SMS holds: 160 septets or 70 UTF-16 code units; a part of a concatenated
// message loses 7 octets to its header (16-bit reference): 152 septets or 66 code units.
inline constexpr int kSingleSeptets = 160;
inline constexpr int kSingleUnits = 70;
inline constexpr int kPartSeptets = 152;
inline constexpr int kPartUnits = 66;

// Septets of a text in GSM 7-bit: two for an extension character, one for any other.
int septetCount(const QString& text);

// UCS2 when asked for, or when the GSM alphabet cannot carry the text; GSM 7-bit otherwise.
SmsCoding codingFor(const QString& text, bool unicodeRequested);

// The text with typographic quotes, dashes and the ellipsis in their plain forms
// (’ ‘ ” “ – — …), so that a text written in a word processor stays in 7-bit.
QString withPlainPunctuation(const QString& text);

// The text with the footer ("Reply STOP to opt out") on a line of its own after it, unless it
// is "" or the text already ends with it; the text is cut so that the whole stays within
// maxLength characters, and the footer is never cut.
QString withFooter(const QString& text, const QString& footer, int maxLength);

// The text cut into consecutive pieces of whole characters, each at most `maxUnits` units of
// the coding (septets or UTF-16 code units) and at most `maxCharacters` characters.
QStringList cut(const QString& text, SmsCoding coding, int maxUnits, int maxCharacters = INT_MAX);

// True when the text fits one SMS in the coding.
bool fitsSingle(const QString& text, SmsCoding coding);

// The parts of the text as one SMS or a concatenated message: one part when it fits.
QStringList partsOf(const QString& text, SmsCoding coding);

// What a message costs, as the composer shows it.
struct Cost {
    int characters = 0;
    SmsCoding coding = SmsCoding::Gsm7;
    int parts = 0;
};
Cost costOf(const QString& text, bool unicodeRequested);

// "GSM 7-bit, 1 SMS" or "Unicode, 3 SMS parts" ("Empty" for an empty text).
QString describe(const Cost& cost);

} // namespace SmsParts
