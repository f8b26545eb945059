#pragma once
// The sending side of the GSM 7-bit default alphabet, as the network uses it to deliver
// messages to the modem: characters to septet codes (27 and an extension code for the
// extension table) and septet packing after a header's fill bits. Built on the sim's own
// tables, independent of the product's encoder.
#include <QByteArray>
#include <QList>
#include <QString>

namespace sim::Gsm7Encoder {

// The septet codes of a text; false when a character has no code in either table.
bool toSeptets(const QString& text, QList<quint8>* septets);

// Packs septets least significant bit first, after `fillBits` zero bits (0..6) that align
// them behind a user data header.
QByteArray pack(const QList<quint8>& septets, int fillBits = 0);

} // namespace sim::Gsm7Encoder
