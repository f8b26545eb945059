#pragma once
// The validation every phone number passes before it may enter a list.
#include <QString>

inline constexpr int kMaxNumberLength = 20;
inline constexpr int kMaxMessageLength = 1600;

// True when the number is INVALID: blank after trimming, longer than 20 characters, or
// holding anything but digits, "+" and "-" (and "," when test_flag is set).
bool Check_Ph_Number(const QString& number, bool test_flag);

// True when a "+" appears anywhere but as the very first character.
bool hasMisplacedPlus(const QString& number);

// The typed-number gate shared by the Add button and the single-record update: the
// normalised number, or "" when it is not a valid phone number.
QString validTypedNumber(const QString& raw);
