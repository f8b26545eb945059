#pragma once
// Reads an SMS-SUBMIT PDU as a modem receives it after "AT+CMGS=<length>": SMSC
// information, destination, coding, validity, user data header and user data. Every field
// is checked against what the PDU declares; anything inconsistent is refused with a reason.
// Also reads SMS-DELIVER PDUs, as a phone reads what the network delivers.
#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace sim {

struct Concatenation {
    int reference = -1; // -1: not a part of a concatenated message
    int total = 1;
    int sequence = 1;
};

enum class Alphabet { Gsm7, EightBit, Ucs2 };

struct DecodedPdu {
    bool ok = false;
    QString error; // why the PDU was refused (empty when ok)
    QString smsc;  // "" when the PDU carries no SMSC ("00")
    int firstOctet = 0;
    int messageReference = 0;
    QString number;      // destination (originator of a DELIVER), "+" in front of international numbers
    int addressType = 0; // of the originator of a DELIVER: 0x91, 0x81, 0xD0 (a name)
    QDateTime timestamp; // TP-SCTS of a DELIVER, in its own offset from UTC
    int pid = 0;
    int dcs = 0;
    Alphabet alphabet = Alphabet::Gsm7;
    bool flash = false;        // message class 0
    int userDataLength = 0;    // TP-UDL as declared (septets or octets)
    QByteArray userDataHeader; // without its length octet
    Concatenation concatenation;
    QString text;
};

namespace PduDecoder {

// Decodes the hex text of a whole PDU. `declaredLength` is the length given with
// "AT+CMGS=" (the octets after the SMSC information); -1 skips that check.
DecodedPdu decode(const QString& hex, int declaredLength = -1);

// Decodes the hex text of an SMS-DELIVER (SMSC information first, as "+CMGR" shows it).
DecodedPdu decodeDeliver(const QString& hex);

// The octets of a hex text, or an empty array with ok false for odd length or non-hex.
QByteArray octetsFromHex(const QString& hex, bool* ok);

// Semi-octet (swapped BCD) digits, as used in addresses; "F" padding dropped.
QString swappedDigits(const QByteArray& octets);

} // namespace PduDecoder
} // namespace sim
