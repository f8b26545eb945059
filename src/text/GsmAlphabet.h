#pragma once
// The GSM 7-bit alphabet (the default table and its extension table): which UTF-16 code
// units it holds and the septet each is sent as. Membership and the PDU encoder both read
// this one table, so a character is "GSM" exactly when it can be sent as a septet.
#include <QChar>
#include <QString>

#include <optional>

// The septet that switches to the extension table for the septet after it.
inline constexpr int kGsm7EscapeSeptet = 27;

struct Gsm7Septet {
    int code = 0;           // 0..127
    bool extension = false; // sent as kGsm7EscapeSeptet followed by code
};

// The septet of a character, or nothing when the alphabet lacks it.
std::optional<Gsm7Septet> gsm7SeptetOf(QChar c);

// True when the character is in the GSM 7-bit default alphabet or its extension table.
bool isGsm7Character(QChar c);

// True when the text needs Unicode (UCS-2): some unit is outside the GSM 7-bit sets.
// An empty text needs none; characters outside the BMP (surrogates) always need it.
bool Check_UNICODE_Message(const QString& text);
