#pragma once
// Text mode: the character set ("AT+CSCS") a message is typed in, chosen from the sets the
// modem offers and the characters the text holds, and the bytes it is typed as. A text that
// none of the offered sets carries exactly is not sent at all: typing it anyway would send
// other characters than the ones written.
#include <QString>
#include <QStringList>

#include <optional>

struct TextModeCharset {
    enum class Kind {
        Unchanged, // the modem lists no set: its own, for texts that read alike in all of them
        Gsm,       // "GSM": one byte per septet, the escape byte before an extension character
        Hex7,      // "HEX" with 7-bit coding: two hex digits per septet
        Ira,       // "IRA": ASCII, for texts of characters that ASCII and the GSM alphabet share
        Ucs2,      // "UCS2": four hex digits per UTF-16 code unit
        Hex16,     // "HEX" with UCS2 coding: two hex digits per octet of UTF-16
    };
    Kind kind = Kind::Gsm;

    // The name "AT+CSCS" takes ("" for Unchanged: no "AT+CSCS" is sent).
    QString name() const;
    // True when the message goes with the UCS2 data coding ("AT+CSMP" fourth value 8).
    bool ucs2Coding() const { return kind == Kind::Ucs2 || kind == Kind::Hex16; }
    // The body typed after the prompt.
    QString body(const QString& text) const;
    // The destination number as "AT+CMGS" takes it under this set (UCS2: hex of UTF-16).
    QString number(const QString& number) const;
};

namespace TextModeCharsets {

// The set names an answer to "AT+CSCS=?" lists ("+CSCS: ("IRA","GSM","UCS2")").
QStringList offered(const QString& supportedAnswer);

// The set to type the text in, or nothing when no offered set carries it exactly.
std::optional<TextModeCharset> choose(const QStringList& offered, const QString& text);

} // namespace TextModeCharsets
