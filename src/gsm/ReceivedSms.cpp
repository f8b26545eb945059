#include "ReceivedSms.h"

#include "text/GsmAlphabet.h"

#include <QDate>
#include <QTime>

#include <algorithm>
#include <array>

namespace {

constexpr char16_t kReplacement = u'\uFFFD';
constexpr int kMaxAddressDigits = 20;       // an address holds at most 10 octets of digits
constexpr int kMaxServiceCentreOctets = 11; // its type and 10 octets of digits
constexpr int kMaxSeptets = 160;
constexpr int kMaxUserDataOctets = 140;
constexpr int kStampOctets = 7;

// The alphabet's tables turned around: the character each septet stands for, read from the
// one table the encoder uses. 0 marks a septet with no character (the escape itself, or an
// extension code the table leaves undefined): the alphabet has no NUL character.
struct SeptetTables {
    std::array<char16_t, 128> basic{};
    std::array<char16_t, 128> extension{};
};

const SeptetTables& septetTables() {
    static const SeptetTables tables = [] {
        SeptetTables t;
        for (int u = 1; u <= 0xFFFF; ++u) {
            if (const std::optional<Gsm7Septet> septet = gsm7SeptetOf(QChar(char16_t(u))))
                (septet->extension ? t.extension : t.basic)[septet->code] = char16_t(u);
        }
        return t;
    }();
    return tables;
}

// Septets as text. An escape before a code the extension table lacks reads as the default
// table's character, and an escape before another escape (a table not yet defined) or at
// the end as a space, as a receiver is to show them.
QString gsm7Text(const QList<int>& septets) {
    const SeptetTables& tables = septetTables();
    QString text;
    text.reserve(septets.size());
    for (qsizetype i = 0; i < septets.size(); ++i) {
        const int septet = septets.at(i) & 0x7F;
        if (septet != kGsm7EscapeSeptet) {
            text += QChar(tables.basic[septet]);
            continue;
        }
        if (i + 1 >= septets.size()) {
            text += u' ';
            break;
        }
        const int code = septets.at(++i) & 0x7F;
        if (code == kGsm7EscapeSeptet)
            text += u' ';
        else if (tables.extension[code] != 0)
            text += QChar(tables.extension[code]);
        else
            text += QChar(tables.basic[code]);
    }
    return text;
}

// `count` septets packed least significant bit first, from septet `first` on; the caller
// has checked that the octets hold them.
QList<int> unpackSeptets(const QByteArray& octets, qsizetype start, int first, int count) {
    QList<int> septets;
    septets.reserve(count);
    for (int i = first; i < first + count; ++i) {
        const qsizetype bit = qsizetype(i) * 7;
        const qsizetype at = start + bit / 8;
        const int shift = int(bit % 8);
        int value = quint8(octets.at(at)) >> shift;
        if (shift > 1)
            value |= quint8(octets.at(at + 1)) << (8 - shift);
        septets << (value & 0x7F);
    }
    return septets;
}

std::optional<QByteArray> octetsOf(QStringView hex) {
    if (hex.size() % 2 != 0)
        return std::nullopt;
    const auto digit = [](QChar c) {
        const char16_t u = c.unicode();
        return u >= u'0' && u <= u'9'   ? u - u'0'
               : u >= u'A' && u <= u'F' ? u - u'A' + 10
               : u >= u'a' && u <= u'f' ? u - u'a' + 10
                                        : -1;
    };
    QByteArray octets;
    octets.reserve(hex.size() / 2);
    for (qsizetype i = 0; i < hex.size(); i += 2) {
        const int high = digit(hex.at(i)), low = digit(hex.at(i + 1));
        if (high < 0 || low < 0)
            return std::nullopt;
        octets += char(high << 4 | low);
    }
    return octets;
}

// Reads octets in order; every read is checked against the end.
class OctetReader {
public:
    explicit OctetReader(const QByteArray& octets, qsizetype at = 0) : m_octets(octets), m_at(at) {}
    bool has(qsizetype count) const { return count >= 0 && m_at + count <= m_octets.size(); }
    int next() { return quint8(m_octets.at(m_at++)); }
    qsizetype position() const { return m_at; }
    void skip(qsizetype count) { m_at += count; }

private:
    const QByteArray& m_octets;
    qsizetype m_at;
};

// The originating address: digits as semi-octets (low nibble first), or an alphanumeric
// name packed as septets.
std::optional<QString> readAddress(OctetReader& in, const QByteArray& octets, int& type) {
    if (!in.has(2))
        return std::nullopt;
    const int digits = in.next();
    type = in.next();
    const int valueOctets = (digits + 1) / 2;
    if (digits > kMaxAddressDigits || !in.has(valueOctets))
        return std::nullopt;
    const qsizetype start = in.position();
    in.skip(valueOctets);
    if (((type >> 4) & 0x07) == 5)
        return gsm7Text(unpackSeptets(octets, start, 0, digits * 4 / 7));
    static constexpr char16_t kSemiOctets[] = u"0123456789*#abc";
    QString number = ((type >> 4) & 0x07) == 1 ? QStringLiteral("+") : QString();
    for (int i = 0; i < digits; ++i) {
        const int pair = quint8(octets.at(start + i / 2));
        const int nibble = i % 2 == 0 ? pair & 0x0F : pair >> 4;
        if (nibble == 0x0F)
            break; // the filler of an odd count
        number += QChar(kSemiOctets[nibble]);
    }
    return number;
}

// Coding, class and compression from the data coding scheme. Reserved values read as the
// default alphabet, as a receiver is to take them.
void applyCodingScheme(ReceivedSms& sms) {
    const int dcs = sms.dataCodingScheme;
    const int group = dcs >> 4;
    const auto alphabet = [](int bits) {
        return bits == 1 ? ReceivedCoding::Data8 : bits == 2 ? ReceivedCoding::Ucs2 : ReceivedCoding::Gsm7;
    };
    if (group <= 0x07) { // general data coding, with or without automatic deletion
        sms.compressed = (dcs & 0x20) != 0;
        sms.coding = alphabet((dcs >> 2) & 0x03);
        if (dcs & 0x10)
            sms.messageClass = dcs & 0x03;
    } else if (group == 0x0E) { // message waiting indication, stored, UCS2
        sms.coding = ReceivedCoding::Ucs2;
    } else if (group == 0x0F) { // data coding and message class
        sms.coding = (dcs & 0x04) ? ReceivedCoding::Data8 : ReceivedCoding::Gsm7;
        sms.messageClass = dcs & 0x03;
    }
    // Compressed data is not unpacked: its length counts octets whatever the alphabet.
    if (sms.compressed)
        sms.coding = ReceivedCoding::Data8;
}

// Swapped decimal semi-octets; -1 when a nibble is no digit.
int semiOctetValue(int octet) {
    const int tens = octet & 0x0F, units = octet >> 4;
    return tens > 9 || units > 9 ? -1 : tens * 10 + units;
}

// The service centre time stamp: year, month, day, hour, minute, second and the zone in
// quarters of an hour (its sign in bit 3 of the first semi-octet). Years 90..99 are the
// 1990s, the others this century.
void readStamp(const QByteArray& octets, qsizetype at, ReceivedSms& sms) {
    int v[6];
    for (int i = 0; i < 6; ++i)
        v[i] = semiOctetValue(quint8(octets.at(at + i)));
    const int zone = quint8(octets.at(at + 6));
    const int quarters = semiOctetValue(zone & ~0x08);
    const QDate date(v[0] < 0 ? 0 : v[0] >= 90 ? 1900 + v[0] : 2000 + v[0], v[1], v[2]);
    const QTime time(v[3], v[4], v[5]);
    if (quarters < 0 || std::find(v, v + 6, -1) != v + 6 || !date.isValid() || !time.isValid())
        return;
    sms.utcOffsetMinutes = (zone & 0x08 ? -15 : 15) * quarters;
    sms.sentAt = QDateTime(date, time, Qt::UTC).addSecs(-60LL * sms.utcOffsetMinutes);
}

// The elements of a user data header this reader knows: concatenation with an 8-bit (0x00)
// or a 16-bit (0x08) reference. Others are skipped; an element with values out of range is
// ignored, and one that overruns the header ends the reading of the header.
std::optional<SmsConcatenation> readHeader(const QByteArray& octets, qsizetype start, int length) {
    std::optional<SmsConcatenation> found;
    for (qsizetype at = start; at + 2 <= start + length;) {
        const int element = quint8(octets.at(at));
        const int size = quint8(octets.at(at + 1));
        const qsizetype value = at + 2;
        if (value + size > start + length)
            break;
        at = value + size;
        const bool narrow = element == 0x00 && size == 3, wide = element == 0x08 && size == 4;
        if (!narrow && !wide)
            continue;
        SmsConcatenation part;
        part.wideReference = wide;
        part.reference =
            wide ? quint8(octets.at(value)) << 8 | quint8(octets.at(value + 1)) : quint8(octets.at(value));
        part.total = quint8(octets.at(value + size - 2));
        part.sequence = quint8(octets.at(value + size - 1));
        if (part.total >= 1 && part.sequence >= 1 && part.sequence <= part.total)
            found = part; // a repeated element: the last one counts
    }
    return found;
}

// The user data: its length (septets for GSM 7-bit, octets otherwise), the header when the
// first octet says there is one, then the text.
bool readUserData(OctetReader& in, const QByteArray& octets, bool hasHeader, ReceivedSms& sms) {
    if (!in.has(1))
        return false;
    const int length = in.next();
    const bool septets = sms.coding == ReceivedCoding::Gsm7;
    if (length > (septets ? kMaxSeptets : kMaxUserDataOctets))
        return false;
    const int dataOctets = septets ? (length * 7 + 7) / 8 : length;
    if (!in.has(dataOctets))
        return false;
    const qsizetype start = in.position();
    int headerOctets = 0;
    if (hasHeader) {
        if (dataOctets < 1)
            return false;
        headerOctets = 1 + quint8(octets.at(start));
        if (headerOctets > dataOctets)
            return false;
        sms.concatenation = readHeader(octets, start + 1, headerOctets - 1);
    }
    if (septets) {
        // The text starts at the first septet boundary after the header (the fill bits).
        const int headerSeptets = (headerOctets * 8 + 6) / 7;
        if (headerSeptets > length)
            return false;
        sms.text = gsm7Text(unpackSeptets(octets, start, headerSeptets, length - headerSeptets));
        return true;
    }
    sms.data = octets.mid(start + headerOctets, dataOctets - headerOctets);
    sms.text = sms.coding == ReceivedCoding::Ucs2 ? ucs2Text(sms.data)
                                                  : QString::fromLatin1(sms.data.toHex().toUpper());
    return true;
}

} // namespace

std::optional<ReceivedSms> decodeDeliver(QStringView pduHex, int tpduLength) {
    const std::optional<QByteArray> octets = octetsOf(pduHex.trimmed());
    if (!octets || octets->isEmpty())
        return std::nullopt;
    OctetReader in(*octets);
    if (tpduLength < 0 || octets->size() != tpduLength) {
        const int serviceCentre = in.next();
        if (serviceCentre > kMaxServiceCentreOctets || !in.has(serviceCentre))
            return std::nullopt;
        in.skip(serviceCentre);
    }
    if (!in.has(1))
        return std::nullopt;
    const int first = in.next();
    if ((first & 0x03) != 0x00)
        return std::nullopt; // not a delivery: a submission kept on the SIM, a status report
    ReceivedSms sms;
    sms.statusReportIndication = (first & 0x20) != 0;
    sms.replyPath = (first & 0x80) != 0;
    const std::optional<QString> sender = readAddress(in, *octets, sms.senderType);
    if (!sender || !in.has(2 + kStampOctets))
        return std::nullopt;
    sms.sender = *sender;
    sms.protocolIdentifier = in.next();
    sms.dataCodingScheme = in.next();
    applyCodingScheme(sms);
    readStamp(*octets, in.position(), sms);
    in.skip(kStampOctets);
    if (!readUserData(in, *octets, (first & 0x40) != 0, sms))
        return std::nullopt;
    return sms;
}

QString ucs2Text(const QByteArray& octets) {
    QString text;
    text.reserve(octets.size() / 2 + 1);
    for (qsizetype i = 0; i + 1 < octets.size(); i += 2)
        text += QChar(char16_t(quint8(octets.at(i)) << 8 | quint8(octets.at(i + 1))));
    if (octets.size() % 2 != 0)
        text += QChar(kReplacement);
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i; // a whole pair
        else if (text.at(i).isSurrogate())
            text[i] = QChar(kReplacement);
    }
    return text;
}
