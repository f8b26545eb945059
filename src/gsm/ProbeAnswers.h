#pragma once
// Reading a modem's identification answers: pure functions, text in, value out.
#include <QString>
#include <QStringList>

namespace ProbeAnswers {

// The command words removed from each answer, longest first (echo included).
extern const QStringList kMakerWords, kModelWords, kImeiWords, kBatteryWords, kSignalWords, kOperatorWords,
    kRevisionWords, kSmscWords;

// Removes "?", double quotes (unless kept), "<", ">", "OK", literal backslash-r/-n texts and
// the command words; trims; drops one leading ":"; trims again.
QString clean(const QString& answer, const QStringList& commandWords, bool keepQuotes = false);

// "MODEL xyz" keeps the text six characters after the word; anything else as it is.
QString modelName(const QString& cleaned);
// A leading "IMEI" dropped, trimmed.
QString imeiDigits(const QString& cleaned);
// The SIM's ICCID in an answer to "AT+CCID", "AT+QCCID", "AT^ICCID?" or "AT+CICCID" (echo and framing
// included): "+CCID: 8944...", "+QCCID: ...", "^ICCID: ..." or the bare number. 19 or 20
// digits beginning "89"; a padding "F" is dropped, and the nibble-swapped form some modems
// give of the SIM's file ("98..."), read back. "" when the answer holds no such number, or
// more than one.
QString iccidDigits(const QString& answer);
// "0,55" -> "55%", "1,80" -> "80% ( Charging )", "2,..." no battery, "3,..." power fault.
QString batteryText(const QString& cleaned);
inline const QString kNoBattery = QStringLiteral("Device does not have a battery connected.");
// "14,0" -> "Medium (14)", "99,99" -> "Unknown".
QString signalText(const QString& cleaned);
// The text between the first two double quotes, or the whole text without two quotes.
QString firstQuoted(const QString& cleanedWithQuotes);
// The service centre number of a "+CSCA?" answer cleaned with its quotes kept: plain,
// UCS2 hex or packed 7-bit hex, with "+" added for a ", 145" international address.
QString smscNumber(const QString& cleanedWithQuotes);

// Four hex digits per UTF-16 unit; "" when the text is not such hex.
QString decodeUcs2Hex(const QString& hex);
// Packed GSM 7-bit septets in hex; only the characters a number uses are decoded.
QString decodePacked7BitHex(const QString& hex);

} // namespace ProbeAnswers
