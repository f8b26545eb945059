#include "DeliverPdu.h"

#include "Gsm7Encoder.h"

#include <QRegularExpression>

namespace sim::DeliverPdu {
namespace {

constexpr int kUserDataOctets = 140;
constexpr int kFirstOctet = 0x04;    // SMS-DELIVER, no more messages waiting (TP-MMS)
constexpr int kHeaderPresent = 0x40; // TP-UDHI
constexpr int kDcsGsm7 = 0x00, kDcsEightBit = 0x04, kDcsUcs2 = 0x08;

QString octet(int value) { return QStringLiteral("%1").arg(value & 0xFF, 2, 16, QLatin1Char('0')).toUpper(); }

QString hexOf(const QByteArray& octets) { return QString::fromLatin1(octets.toHex().toUpper()); }

int swappedDigits(int twoDigits) { return ((twoDigits % 10) << 4) | (twoDigits / 10 % 10); }

// An address field: length, type, value. Numbers count their digits; names count the
// semi-octets their packed septets fill.
QString addressField(const QString& sender, bool alphanumeric, int* type) {
    if (alphanumeric) {
        QList<quint8> septets;
        QString name = sender.left(11);
        if (!Gsm7Encoder::toSeptets(name, &septets)) {
            for (QChar& c : name) {
                QList<quint8> one;
                if (!Gsm7Encoder::toSeptets(QString(c), &one))
                    c = u'?';
            }
            Gsm7Encoder::toSeptets(name, &septets);
        }
        *type = 0xD0;
        return octet(int((septets.size() * 7 + 3) / 4)) + octet(*type) + hexOf(Gsm7Encoder::pack(septets));
    }
    const bool international = sender.startsWith(u'+');
    QString digits = international ? sender.mid(1) : sender;
    *type = international ? 0x91 : 0x81;
    const int count = int(digits.size());
    if (digits.size() % 2 != 0)
        digits += u'F';
    QString out = octet(count) + octet(*type);
    for (qsizetype i = 0; i + 1 < digits.size(); i += 2)
        out += digits.at(i + 1) + QString(digits.at(i));
    return out;
}

QString serviceCentreField(const QString& smsc) {
    if (smsc.isEmpty())
        return QStringLiteral("00");
    int type = 0;
    const QString field = addressField(smsc, false, &type);
    // the service centre's length counts octets (type included), not digits
    return octet(int(field.size() / 2 - 1)) + field.mid(2);
}

struct Coding {
    int dcs = kDcsGsm7;
    QList<QList<quint8>> septetParts; // 7-bit: the codes of each part
    QList<QByteArray> octetParts;     // 8-bit and UCS2: the octets of each part
    QStringList texts;
};

// Cuts the text into parts of at most `room` units (septets or octets) each, keeping an
// escape pair or a surrogate pair whole.
Coding split(const QString& text, bool eightBit, int headerOctets) {
    Coding coding;
    QList<quint8> septets;
    if (!eightBit && Gsm7Encoder::toSeptets(text, &septets)) {
        coding.dcs = kDcsGsm7;
        const bool single = septets.size() <= 160;
        const int room = single ? 160 : (kUserDataOctets - headerOctets) * 8 / 7;
        QList<quint8> part;
        QString partText;
        for (const QChar c : text) {
            QList<quint8> codes;
            Gsm7Encoder::toSeptets(QString(c), &codes);
            if (part.size() + codes.size() > room) {
                coding.septetParts.append(part);
                coding.texts.append(partText);
                part.clear();
                partText.clear();
            }
            part += codes;
            partText += c;
        }
        coding.septetParts.append(part);
        coding.texts.append(partText);
        return coding;
    }
    coding.dcs = eightBit ? kDcsEightBit : kDcsUcs2;
    const int unitOctets = eightBit ? 1 : 2;
    const bool single = text.size() * unitOctets <= kUserDataOctets;
    const int room = single ? kUserDataOctets : kUserDataOctets - headerOctets;
    QByteArray part;
    QString partText;
    for (qsizetype i = 0; i < text.size(); ++i) {
        QString unit(text.at(i));
        if (!eightBit && text.at(i).isHighSurrogate() && i + 1 < text.size() &&
            text.at(i + 1).isLowSurrogate())
            unit += text.at(++i);
        QByteArray octets;
        for (const QChar c : unit) {
            if (eightBit) {
                octets.append(char(c.unicode() < 256 ? c.unicode() : u'?'));
            } else {
                octets.append(char(c.unicode() >> 8));
                octets.append(char(c.unicode() & 0xFF));
            }
        }
        if (part.size() + octets.size() > room) {
            coding.octetParts.append(part);
            coding.texts.append(partText);
            part.clear();
            partText.clear();
        }
        part += octets;
        partText += unit;
    }
    coding.octetParts.append(part);
    coding.texts.append(partText);
    return coding;
}

} // namespace

bool isAlphanumeric(const IncomingMessage& message) {
    static const QRegularExpression number(QStringLiteral("^\\+?[0-9]+$"));
    return message.alphanumericSender || !number.match(message.from).hasMatch();
}

QString timeStampHex(const QDateTime& time) {
    const QDate d = time.date();
    const QTime t = time.time();
    const int offsetQuarters = time.offsetFromUtc() / (15 * 60);
    const int quarters = std::abs(offsetQuarters);
    const int zone = swappedDigits(quarters) | (offsetQuarters < 0 ? 0x08 : 0);
    return octet(swappedDigits(d.year() % 100)) + octet(swappedDigits(d.month())) +
           octet(swappedDigits(d.day())) + octet(swappedDigits(t.hour())) + octet(swappedDigits(t.minute())) +
           octet(swappedDigits(t.second())) + octet(zone);
}

QString timeStampText(const QDateTime& time) {
    const int quarters = time.offsetFromUtc() / (15 * 60);
    return time.toString(QStringLiteral("yy/MM/dd,HH:mm:ss")) + (quarters < 0 ? u'-' : u'+') +
           QStringLiteral("%1").arg(std::abs(quarters), 2, 10, QLatin1Char('0'));
}

QList<DeliverPart> encode(const IncomingMessage& message, const QString& smsc, int reference,
                          const QDateTime& timestamp) {
    const bool wideReference = message.sixteenBitReference;
    const int headerOctets = wideReference ? 7 : 6; // with its length octet
    const Coding coding = split(message.text, message.eightBit, headerOctets);
    const int total = int(coding.texts.size());
    int senderType = 0;
    const QString sender = addressField(message.from, isAlphanumeric(message), &senderType);
    QList<DeliverPart> parts;
    for (int i = 0; i < total; ++i) {
        QString header;
        if (total > 1)
            header = wideReference ? QStringLiteral("060804") + octet(reference >> 8) + octet(reference)
                                   : QStringLiteral("050003") + octet(reference);
        if (total > 1)
            header += octet(total) + octet(i + 1);
        QString userData;
        int userDataLength = 0;
        if (coding.dcs == kDcsGsm7) {
            const QList<quint8>& septets = coding.septetParts.at(i);
            const int headerBits = int(header.size() / 2) * 8;
            const int fillBits = (7 - headerBits % 7) % 7;
            userDataLength = (headerBits + fillBits) / 7 + int(septets.size());
            userData = header + hexOf(Gsm7Encoder::pack(septets, fillBits));
        } else {
            userDataLength = int(header.size() / 2 + coding.octetParts.at(i).size());
            userData = header + hexOf(coding.octetParts.at(i));
        }
        const QString tpdu = octet(kFirstOctet | (total > 1 ? kHeaderPresent : 0)) + sender + octet(0) +
                             octet(coding.dcs) + timeStampHex(timestamp) + octet(userDataLength) + userData;
        DeliverPart part;
        part.sequence = i + 1;
        part.total = total;
        part.hex = serviceCentreField(smsc) + tpdu;
        part.tpduLength = int(tpdu.size() / 2);
        part.text = coding.texts.at(i);
        part.dcs = coding.dcs;
        part.sender = isAlphanumeric(message) ? message.from.left(11) : message.from;
        part.senderType = senderType;
        part.timestamp = timestamp;
        parts.append(part);
    }
    return parts;
}

QString submitHex(const DeliverPart& part) {
    // The part's TPDU: first octet, address, PID, DCS, TP-SCTS (7 octets), TP-UDL and data.
    const QString tpdu = part.hex.right(qsizetype(part.tpduLength) * 2);
    const qsizetype addressOctets = 2 + (tpdu.mid(2, 2).toInt(nullptr, 16) + 1) / 2;
    const QString address = tpdu.mid(2, addressOctets * 2);
    const QString pidAndDcs = tpdu.mid(2 + addressOctets * 2, 4);
    const QString userData = tpdu.mid(2 + addressOctets * 2 + 4 + 14);
    return QStringLiteral("001100") + address + pidAndDcs + QStringLiteral("AA") + userData;
}

} // namespace sim::DeliverPdu
