#pragma once
// Messages a modem received (SMS-DELIVER), read from the PDU a modem lists in PDU mode:
// the sender, the service centre's time stamp, the coding and the text, with the header
// that ties the parts of a long message together. A pure function: text in, value out.
// The PDU comes from the network through the modem and is read as untrusted input.
#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringView>

#include <optional>

// How the user data is coded (from the data coding scheme).
enum class ReceivedCoding {
    Gsm7,  // septets of the GSM 7-bit default alphabet and its extension table
    Data8, // octets the alphabet does not interpret (also compressed data, which is not unpacked)
    Ucs2,  // UTF-16 big-endian code units
};

// The concatenation element of a user data header: this part's place in a long message.
struct SmsConcatenation {
    int reference = 0; // 0..255, or 0..65535 with a 16-bit reference
    int total = 0;     // parts of the message, 1..255
    int sequence = 0;  // this part, 1..total
    bool wideReference = false;
};

struct ReceivedSms {
    // "+447700900001" (international), "07700900001" (other numbering), or the name an
    // alphanumeric sender gave ("MyBank").
    QString sender;
    int senderType = 0; // type-of-address octet of the originating address
    bool alphanumericSender() const { return ((senderType >> 4) & 0x07) == 5; }

    int protocolIdentifier = 0;
    int dataCodingScheme = 0;
    ReceivedCoding coding = ReceivedCoding::Gsm7;
    bool compressed = false; // the text is compressed: kept as octets, not read
    int messageClass = -1;   // 0..3 when the coding scheme gives one
    bool statusReportIndication = false;
    bool replyPath = false;

    // The service centre's time stamp in UTC, and the zone it was written in (minutes ahead
    // of UTC). Invalid when the stamp holds no real date and time.
    QDateTime sentAt;
    int utcOffsetMinutes = 0;

    std::optional<SmsConcatenation> concatenation;

    // The text. 8-bit data is not text: it shows as uppercase hex of its octets.
    QString text;
    // The user data octets after the header, as received, for 8-bit and UCS2 (a long
    // message's UCS2 parts are decoded again joined, so that a character whose surrogate
    // pair the sender split between two parts comes out whole). Empty for GSM 7-bit.
    QByteArray data;
};

// The message in a PDU as a modem lists it (hex; the service centre address first), or
// nothing when it is not a readable SMS-DELIVER. `tpduLength` is the length a listing gives
// for it ("+CMGL: ...,<length>"), -1 when unknown: a PDU of exactly that many octets carries
// no service centre address, as some modems list them.
std::optional<ReceivedSms> decodeDeliver(QStringView pduHex, int tpduLength = -1);

// UTF-16 big-endian octets as text: a trailing odd octet and every surrogate without its
// partner become U+FFFD, so whatever arrives reads as valid text.
QString ucs2Text(const QByteArray& octets);
