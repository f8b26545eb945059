#include "PduDecoder.h"

#include "Gsm7Decoder.h"

#include <QTimeZone>

namespace sim::PduDecoder {
namespace {

class OctetReader {
public:
    explicit OctetReader(const QByteArray& octets) : m_octets(octets) {}
    bool has(qsizetype count) const { return m_pos + count <= m_octets.size(); }
    int next() { return static_cast<quint8>(m_octets.at(m_pos++)); }
    QByteArray take(qsizetype count) {
        QByteArray part = m_octets.mid(m_pos, count);
        m_pos += count;
        return part;
    }
    QByteArray rest() { return take(m_octets.size() - m_pos); }
    qsizetype position() const { return m_pos; }

private:
    const QByteArray& m_octets;
    qsizetype m_pos = 0;
};

bool isInternational(int typeOfAddress) { return (typeOfAddress & 0x70) == 0x10; }
bool isAlphanumeric(int typeOfAddress) { return (typeOfAddress & 0x70) == 0x50; }

QString addressText(int typeOfAddress, const QByteArray& octets, int semiOctets) {
    if (isAlphanumeric(typeOfAddress))
        return Gsm7Decoder::toText(Gsm7Decoder::unpack(octets, semiOctets * 4 / 7));
    QString digits = swappedDigits(octets).left(semiOctets);
    return isInternational(typeOfAddress) ? QStringLiteral("+") + digits : digits;
}

DecodedPdu refuse(DecodedPdu pdu, const QString& reason) {
    pdu.ok = false;
    pdu.error = reason;
    return pdu;
}

void readCodingScheme(DecodedPdu& pdu, bool* compressed) {
    const int dcs = pdu.dcs;
    *compressed = false;
    int messageClass = -1;
    if ((dcs & 0x80) == 0) { // general data coding (with or without automatic deletion)
        *compressed = (dcs & 0x20) != 0;
        const int alphabet = (dcs >> 2) & 3;
        pdu.alphabet = alphabet == 1 ? Alphabet::EightBit : alphabet == 2 ? Alphabet::Ucs2 : Alphabet::Gsm7;
        if (dcs & 0x10)
            messageClass = dcs & 3;
    } else if ((dcs & 0xF0) == 0xE0) {
        pdu.alphabet = Alphabet::Ucs2;
    } else if ((dcs & 0xF0) == 0xF0) {
        pdu.alphabet = (dcs & 0x04) ? Alphabet::EightBit : Alphabet::Gsm7;
        messageClass = dcs & 3;
    } else {
        pdu.alphabet = Alphabet::Gsm7;
    }
    pdu.flash = messageClass == 0;
}

// Reads the information elements; only concatenation matters to the network side.
bool readHeader(DecodedPdu& pdu, QString* reason) {
    const QByteArray& h = pdu.userDataHeader;
    qsizetype pos = 0;
    while (pos < h.size()) {
        if (pos + 2 > h.size()) {
            *reason = QStringLiteral("truncated information element");
            return false;
        }
        const int id = static_cast<quint8>(h.at(pos));
        const int length = static_cast<quint8>(h.at(pos + 1));
        if (pos + 2 + length > h.size()) {
            *reason = QStringLiteral("information element longer than the header");
            return false;
        }
        const auto at = [&](int i) { return static_cast<quint8>(h.at(pos + 2 + i)); };
        if ((id == 0x00 && length == 3) || (id == 0x08 && length == 4)) {
            const int refOctets = id == 0x00 ? 1 : 2;
            pdu.concatenation.reference = refOctets == 1 ? at(0) : (at(0) << 8) | at(1);
            pdu.concatenation.total = at(refOctets);
            pdu.concatenation.sequence = at(refOctets + 1);
            if (pdu.concatenation.total == 0 || pdu.concatenation.sequence == 0 ||
                pdu.concatenation.sequence > pdu.concatenation.total) {
                *reason = QStringLiteral("concatenation part %1 of %2")
                              .arg(pdu.concatenation.sequence)
                              .arg(pdu.concatenation.total);
                return false;
            }
        } else if (id == 0x00 || id == 0x08) {
            *reason = QStringLiteral("concatenation element of length %1").arg(length);
            return false;
        }
        pos += 2 + length;
    }
    return true;
}

// The user data after TP-UDL: header, concatenation and text, checked against TP-UDL.
bool readUserData(const QByteArray& userData, DecodedPdu& pdu, QString* reason) {
    const auto fail = [](QString* why, const QString& text) {
        *why = text;
        return false;
    };

    const bool septets = pdu.alphabet == Alphabet::Gsm7;
    const qsizetype expectedOctets = septets ? (pdu.userDataLength * 7 + 7) / 8 : pdu.userDataLength;
    if (userData.size() != expectedOctets)
        return fail(reason, QStringLiteral("TP-UDL %1 needs %2 octets, %3 given")
                                .arg(pdu.userDataLength)
                                .arg(expectedOctets)
                                .arg(userData.size()));
    if (septets ? pdu.userDataLength > 160 : pdu.userDataLength > 140)
        return fail(reason, QStringLiteral("TP-UDL %1 exceeds one message").arg(pdu.userDataLength));

    int headerOctets = 0;
    if (pdu.firstOctet & 0x40) {
        if (userData.isEmpty())
            return fail(reason, QStringLiteral("header indicated but no user data"));
        headerOctets = 1 + static_cast<quint8>(userData.at(0));
        if (headerOctets > userData.size())
            return fail(reason, QStringLiteral("header longer than the user data"));
        pdu.userDataHeader = userData.mid(1, headerOctets - 1);
        if (!readHeader(pdu, reason))
            return false;
    }

    if (septets) {
        const int headerSeptets = (headerOctets * 8 + 6) / 7;
        const int textSeptets = pdu.userDataLength - headerSeptets;
        if (textSeptets < 0)
            return fail(reason, QStringLiteral("TP-UDL shorter than the header"));
        pdu.text = Gsm7Decoder::toText(Gsm7Decoder::unpack(userData, textSeptets, headerSeptets * 7));
    } else {
        const QByteArray body = userData.mid(headerOctets);
        if (pdu.alphabet == Alphabet::Ucs2) {
            if (body.size() % 2 != 0)
                return fail(reason, QStringLiteral("odd number of UCS2 octets"));
            QString text;
            for (qsizetype i = 0; i < body.size(); i += 2)
                text.append(QChar(
                    char16_t((static_cast<quint8>(body.at(i)) << 8) | static_cast<quint8>(body.at(i + 1)))));
            pdu.text = text;
        } else {
            pdu.text = QString::fromLatin1(body);
        }
    }
    return true;
}

int bcd(int octet) { return (octet & 0x0F) * 10 + ((octet >> 4) & 0x0F); }

// TP-SCTS: local time in swapped decimal digits, then the offset from UTC in quarter hours,
// its sign in bit 3.
QDateTime timeStamp(const QByteArray& octets) {
    const auto at = [&](int i) { return static_cast<quint8>(octets.at(i)); };
    const QDate date(2000 + bcd(at(0)), bcd(at(1)), bcd(at(2)));
    const QTime time(bcd(at(3)), bcd(at(4)), bcd(at(5)));
    const int quarters = bcd(at(6) & 0xF7);
    const int offset = ((at(6) & 0x08) ? -quarters : quarters) * 15 * 60;
    return QDateTime(date, time, QTimeZone(offset));
}

} // namespace

QByteArray octetsFromHex(const QString& hex, bool* ok) {
    *ok = false;
    if (hex.size() % 2 != 0)
        return {};
    for (const QChar c : hex) {
        const bool digit = (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F') || (c >= u'a' && c <= u'f');
        if (!digit)
            return {};
    }
    *ok = true;
    return QByteArray::fromHex(hex.toLatin1());
}

QString swappedDigits(const QByteArray& octets) {
    static const char kDigits[] = "0123456789*#abc";
    QString digits;
    for (const char octet : octets) {
        const int low = static_cast<quint8>(octet) & 0x0F;
        const int high = static_cast<quint8>(octet) >> 4;
        for (const int nibble : {low, high}) {
            if (nibble == 0x0F)
                return digits;
            digits.append(QLatin1Char(kDigits[nibble]));
        }
    }
    return digits;
}

DecodedPdu decode(const QString& hex, int declaredLength) {
    DecodedPdu pdu;
    bool hexOk = false;
    const QByteArray octets = octetsFromHex(hex, &hexOk);
    if (!hexOk)
        return refuse(pdu, QStringLiteral("not a hex text of whole octets"));
    if (octets.isEmpty())
        return refuse(pdu, QStringLiteral("empty PDU"));

    OctetReader in(octets);
    const int smscLength = in.next();
    if (smscLength > 0) {
        if (!in.has(smscLength))
            return refuse(pdu, QStringLiteral("SMSC information longer than the PDU"));
        const int type = in.next();
        const QByteArray digits = in.take(smscLength - 1);
        pdu.smsc = addressText(type, digits, int(digits.size()) * 2);
    }
    const qsizetype tpduLength = octets.size() - in.position();
    if (declaredLength >= 0 && tpduLength != declaredLength)
        return refuse(
            pdu, QStringLiteral("length %1 given, TPDU has %2 octets").arg(declaredLength).arg(tpduLength));

    if (!in.has(3))
        return refuse(pdu, QStringLiteral("TPDU too short"));
    pdu.firstOctet = in.next();
    if ((pdu.firstOctet & 0x03) != 0x01)
        return refuse(pdu, QStringLiteral("not an SMS-SUBMIT (first octet %1)")
                               .arg(pdu.firstOctet, 2, 16, QLatin1Char('0')));
    pdu.messageReference = in.next();

    const int addressDigits = in.next();
    if (addressDigits > 20)
        return refuse(pdu, QStringLiteral("destination of %1 digits").arg(addressDigits));
    const int addressOctets = (addressDigits + 1) / 2;
    if (!in.has(1 + addressOctets + 2))
        return refuse(pdu, QStringLiteral("truncated destination"));
    const int addressType = in.next();
    pdu.number =
        addressDigits == 0 ? QString() : addressText(addressType, in.take(addressOctets), addressDigits);
    if (addressDigits == 0)
        in.take(addressOctets);
    pdu.pid = in.next();
    pdu.dcs = in.next();
    bool compressed = false;
    readCodingScheme(pdu, &compressed);
    if (compressed)
        return refuse(pdu, QStringLiteral("compressed user data"));

    const int validityFormat = (pdu.firstOctet >> 3) & 0x03;
    const int validityOctets = validityFormat == 0 ? 0 : validityFormat == 2 ? 1 : 7;
    if (!in.has(validityOctets + 1))
        return refuse(pdu, QStringLiteral("truncated before the user data"));
    in.take(validityOctets);
    pdu.userDataLength = in.next();
    if (QString reason; !readUserData(in.rest(), pdu, &reason))
        return refuse(pdu, reason);
    pdu.ok = true;
    return pdu;
}

DecodedPdu decodeDeliver(const QString& hex) {
    DecodedPdu pdu;
    bool hexOk = false;
    const QByteArray octets = octetsFromHex(hex, &hexOk);
    if (!hexOk || octets.isEmpty())
        return refuse(pdu, QStringLiteral("not a hex text of whole octets"));
    OctetReader in(octets);
    const int smscLength = in.next();
    if (!in.has(smscLength))
        return refuse(pdu, QStringLiteral("SMSC information longer than the PDU"));
    if (smscLength > 0) {
        const int type = in.next();
        const QByteArray digits = in.take(smscLength - 1);
        pdu.smsc = addressText(type, digits, int(digits.size()) * 2);
    }
    if (!in.has(2))
        return refuse(pdu, QStringLiteral("TPDU too short"));
    pdu.firstOctet = in.next();
    if ((pdu.firstOctet & 0x03) != 0x00)
        return refuse(pdu, QStringLiteral("not an SMS-DELIVER (first octet %1)")
                               .arg(pdu.firstOctet, 2, 16, QLatin1Char('0')));
    const int semiOctets = in.next();
    const int addressOctets = (semiOctets + 1) / 2;
    if (semiOctets > 20 || !in.has(1 + addressOctets + 2 + 7 + 1))
        return refuse(pdu, QStringLiteral("truncated originating address"));
    pdu.addressType = in.next();
    pdu.number = addressText(pdu.addressType, in.take(addressOctets), semiOctets);
    pdu.pid = in.next();
    pdu.dcs = in.next();
    bool compressed = false;
    readCodingScheme(pdu, &compressed);
    if (compressed)
        return refuse(pdu, QStringLiteral("compressed user data"));
    pdu.timestamp = timeStamp(in.take(7));
    if (!pdu.timestamp.isValid())
        return refuse(pdu, QStringLiteral("invalid service centre time stamp"));
    pdu.userDataLength = in.next();
    if (QString reason; !readUserData(in.rest(), pdu, &reason))
        return refuse(pdu, reason);
    pdu.ok = true;
    return pdu;
}

} // namespace sim::PduDecoder
