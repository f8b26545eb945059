#pragma once
// What a modem can send as ONE message in each mode. In text mode the modem puts no
// concatenation header before a part, and nothing typed after "AT+CMGS" can add one: the parts
// of a long text would reach the handset as separate, unlinked messages. So a text that takes
// more than one part goes in PDU mode, or not at all. A single part goes in text mode where the
// modem offers a character set that carries it exactly: for a text outside the GSM alphabet,
// "UCS2" or "HEX" (TextModeCharsets::choose, asked of the modem with every message).
#include "SmsMode.h"
#include "device/SendingDevice.h"
#include "text/SmsParts.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace TextModeLimits {

// The coding text mode sends the text in, unless the modem offers UCS2 only: UCS2 for a text
// outside the GSM alphabet, GSM 7-bit for the others whatever the Unicode option says.
SmsCoding codingOf(const QString& text);

// Whether a modem in this mode sends the message as one, as far as its mode tells: a modem of
// unknown mode takes everything, for it sends nothing anyway.
bool carries(SmsMode mode, const OutgoingMessage& message);

// What a modem in text mode answers a text of more than one part in the coding it goes in:
// "Not sent: the message needs 2 linked parts (Unicode), which text mode cannot send as one
// message (PDU mode can)."
QString notSent(const QString& text, SmsCoding coding);

struct Port {
    QString path;
    SmsMode mode = SmsMode::Unknown;
};

// Before a run: "" when each message has a port of the run that sends it as one message; else
// why not, for the first that has none, naming the devices that offer PDU mode (`offeringPdu`).
QString refusal(const QList<OutgoingMessage>& messages, const QList<Port>& ports,
                const QStringList& offeringPdu);

} // namespace TextModeLimits
