#pragma once
// The receiving side of the GSM 7-bit default alphabet: septet unpacking and the default
// and extension tables, kept apart from the product's encoder so that each checks the other.
#include <QByteArray>
#include <QList>
#include <QString>

namespace sim::Gsm7Decoder {

// Unpacks `count` septets from `octets`, starting `skipBits` bits into the stream (bits are
// laid down least significant first). Returns fewer septets when the octets run out.
QList<quint8> unpack(const QByteArray& octets, int count, int skipBits = 0);

// Turns septet codes into text: 27 escapes into the extension table; an escape before a
// code the extension table lacks shows the default character, as handsets do.
QString toText(const QList<quint8>& septets);

// The character of one default-alphabet code (0..127).
QChar defaultCharacter(quint8 code);

// The character of an extension code, or a null QChar when the table has none.
QChar extensionCharacter(quint8 code);

// Septets a character takes in the alphabet: 1 (default table), 2 (escape and extension),
// 0 when the alphabet lacks it.
int septetsFor(QChar character);

} // namespace sim::Gsm7Decoder
