#pragma once
// The validation every phone number passes before it may enter a list.
#include <QString>

inline constexpr int kMaxNumberLength = 20;
// The fewest digits a cell of a table (CSV file, pasted block) needs to be taken for a phone
// number: a local number without its area code ("555 0100"). Ids, ages, counts and amounts
// are shorter; dates and amounts are recognised by their shape.
inline constexpr int kMinPhoneDigits = 7;
inline constexpr int kMaxMessageLength = 1600;

// What an editor tells when a text (a paste, mostly) was longer than a message can be: what
// fits was kept, and how much was left out.
QString messageCutNotice(qsizetype leftOut);

// True when the number is INVALID: blank after trimming, longer than 20 characters, or
// holding anything but digits, "+" and "-" (and "," when test_flag is set).
bool Check_Ph_Number(const QString& number, bool test_flag);

// True when a "+" appears anywhere but as the very first character.
bool hasMisplacedPlus(const QString& number);

// The typed-number gate shared by the Add button and the single-record update: the
// normalised number, or "" when it is not a valid phone number.
QString validTypedNumber(const QString& raw);

// A number as people write it, made ready for the checks: no-break and thin spaces and
// non-breaking hyphens count as the separators they look like, E-notation
// ("4.47700900002E11", as some tools export numbers) becomes its digits, a "(0)" after an
// international prefix ("+44 (0)7700 900003") is dropped, and then the usual separators are
// removed (Replace_Char_For_Valid_Number).
QString normaliseNumberText(const QString& raw);

// True when a cell of a table looks like a phone number: not shaped like a date or an
// amount, and after normalising an optional leading "+" and kMinPhoneDigits to 20 digits.
bool looksLikePhoneNumber(const QString& cell);
