#pragma once
// The TE character sets of "AT+CSCS" as a modem applies them to what the computer types in
// text mode: the message body after "AT+CMGS=" and quoted parameters such as numbers.
#include <QByteArray>
#include <QString>
#include <QStringList>

namespace sim::TextCharset {

// The sets this modem offers, in the order "AT+CSCS=?" lists them.
QStringList supported();

bool isSupported(const QString& charset);

// Decodes a body typed under `charset`. "GSM": one byte per default-alphabet code, 27
// escaping into the extension table (bytes above 127 are not GSM and become U+FFFD).
// "IRA": 7-bit ASCII. "8859-1": Latin-1. "UTF-8". "UCS2": four hex digits per UTF-16 code
// unit. "HEX": two hex digits per octet; the octets are UTF-16 when `ucs2Coding` is set
// (the coding chosen with "AT+CSMP"), else GSM codes. Returns ok false for malformed hex.
QString decodeBody(const QByteArray& bytes, const QString& charset, bool ucs2Coding, bool* ok);

// A quoted parameter (a number, an SMSC) typed under `charset`. Under "UCS2" a modem
// expects hex; plain digits are accepted as well, as many modems do.
QString decodeParameter(const QString& value, const QString& charset);

// Encodes a parameter the way it is reported under `charset` ("UCS2": hex of UTF-16).
QString encodeParameter(const QString& value, const QString& charset);

} // namespace sim::TextCharset
