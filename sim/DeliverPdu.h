#pragma once
// What the network hands a modem for an incoming message: SMS-DELIVER PDUs. The text goes in
// the GSM 7-bit alphabet (with its extension table) when every character has a code there,
// else in UCS2 (characters beyond the basic plane as surrogate pairs), or as 8-bit data when
// asked. A text longer than one message becomes concatenated parts, never splitting an escape
// pair or a surrogate pair between two parts.
#include "ModemConfig.h"

#include <QDateTime>
#include <QList>
#include <QString>

namespace sim {

struct DeliverPart {
    int sequence = 1; // from 1
    int total = 1;
    QString hex;        // the whole PDU, service centre information first
    int tpduLength = 0; // octets after the service centre information ("+CMGL: ...,<length>")
    QString text;       // this part's share of the text
    int dcs = 0;
    QString sender;        // as the address field reads back: "+4477...", "0770...", "MyBank"
    int senderType = 0x91; // type of address
    QDateTime timestamp;   // TP-SCTS
};

namespace DeliverPdu {

// The parts of one message, in sequence order. `reference` is the concatenation reference
// (its low 8 bits with an 8-bit reference); `timestamp` becomes TP-SCTS in its own offset.
QList<DeliverPart> encode(const IncomingMessage& message, const QString& smsc, int reference,
                          const QDateTime& timestamp);

// The SMS-SUBMIT a part's text and address make (no service centre, relative validity), as a
// message the computer wrote to the SIM in text mode reads in PDU mode.
QString submitHex(const DeliverPart& part);

// TP-SCTS octets in hex: local time in swapped decimal digits, then the offset from UTC in
// quarter hours with its sign in bit 3.
QString timeStampHex(const QDateTime& time);

// The time stamp as text mode shows it: "yy/MM/dd,hh:mm:ss+zz" (zz in quarter hours).
QString timeStampText(const QDateTime& time);

// Whether a sender is written as a name rather than as a number.
bool isAlphanumeric(const IncomingMessage& message);

} // namespace DeliverPdu
} // namespace sim
