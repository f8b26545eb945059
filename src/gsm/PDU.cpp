#include "PDU.h"

#include "core/Guard.h"
#include "text/GsmAlphabet.h"
#include "text/SmsParts.h"

#include <algorithm>

namespace {

// Word processors replace plain quotes with typographic ones. They are not in the alphabet
// (a text holding them counts as Unicode), but a text sent as 7-bit anyway carries them as
// the plain quotes rather than as whatever their low bits happen to be.
QChar plainQuoteFor(QChar c) {
    switch (c.unicode()) {
    case u'\u201C': return QLatin1Char('"');
    case u'\u2018': return QLatin1Char('\'');
    default: return c;
    }
}

// 06 header length, 08 concatenation with a 16-bit reference, 04 element length; then the
// reference, the total and this part's number.
const QString kConcatenationHeaderStart = QStringLiteral("060804");
constexpr int kHeaderOctets = 7;
constexpr int kHeaderSeptets = 8; // 7 octets are exactly 8 septets: the text needs no fill bits

QString hexOctet(int value) { return PDU::BCDEncode(value & 0xFF); }

} // namespace

QString PDU::dcsFor(bool flash_msg, bool unicode) {
    if (unicode)
        return flash_msg ? QStringLiteral("18") : QStringLiteral("08");
    return flash_msg ? QStringLiteral("10") : QStringLiteral("00");
}

QString PDU::firstOctet(bool userDataHeader) const {
    // SMS-SUBMIT with a relative validity period (0x11); 0x40 a user data header; 0x20 asks
    // the network for a status report.
    return hexOctet(0x11 | (userDataHeader ? 0x40 : 0) | (m_statusReportRequest ? 0x20 : 0));
}

QString PDU::EncodePDU(const QString& message, const QString& strDestinationAddress,
                       const QString& strSMSCAddress, int /*intActualPDULength*/, bool blnIncludeSMSC,
                       bool flash_msg, bool unicode) {
    if (!blnIncludeSMSC)
        return {};
    // Building the text of a long message allocates: a failure costs this message only.
    return Guard::run(
        "EncodePDU",
        [&]() -> QString {
            QString pdu = EncodeSMSCAddress(strSMSCAddress);
            pdu += firstOctet(false) + QStringLiteral("00") + EncodeDestinationAddress(strDestinationAddress);
            pdu += QStringLiteral("00") + dcsFor(flash_msg, unicode) + QStringLiteral("FF");
            if (unicode) {
                pdu += hexOctet(2 * static_cast<int>(message.size()));
                pdu += EncodeUserData_16_bit(message);
            } else {
                // An extension character counts two septets: the escape and its code.
                const QList<int> septets = MapTo7BitAlphabet(message);
                pdu += hexOctet(static_cast<int>(septets.size()));
                pdu += EncodeUserData(septets);
            }
            return pdu;
        },
        QString());
}

QString PDU::Encode_UDH_PDU(const QString& message, const QString& strDestinationAddress,
                            const QString& strSMSCAddress, int /*intActualPDULength*/, bool blnIncludeSMSC,
                            bool flash_msg, int tot_msg, int curr_msg, bool unicode) {
    if (!blnIncludeSMSC || tot_msg < 1 || tot_msg > 255 || curr_msg < 1 || curr_msg > tot_msg)
        return {};
    return Guard::run(
        "Encode_UDH_PDU",
        [&]() -> QString {
            const SmsCoding coding = unicode ? SmsCoding::Ucs2 : SmsCoding::Gsm7;
            if (curr_msg == 1 || m_cachedParts.isEmpty())
                m_cachedParts =
                    SmsParts::cut(message, coding, unicode ? SmsParts::kPartUnits : SmsParts::kPartSeptets);
            if (curr_msg > m_cachedParts.size())
                return {};
            const QString& part = m_cachedParts.at(curr_msg - 1);
            QString partData;
            int userDataLength = 0;
            if (unicode) {
                partData = EncodeUserData_16_bit(part);
                userDataLength = kHeaderOctets + 2 * static_cast<int>(part.size());
            } else {
                const QList<int> septets = MapTo7BitAlphabet(part);
                partData = EncodeUserData(septets);
                userDataLength = kHeaderSeptets + static_cast<int>(septets.size());
            }

            QString pdu = EncodeSMSCAddress(strSMSCAddress);
            pdu += firstOctet(true) + QStringLiteral("00") + EncodeDestinationAddress(strDestinationAddress);
            pdu += QStringLiteral("00") + dcsFor(flash_msg, unicode) + QStringLiteral("FF");
            pdu += hexOctet(userDataLength);
            pdu += kConcatenationHeaderStart + hexOctet(m_reference >> 8) + hexOctet(m_reference) +
                   hexOctet(tot_msg) + hexOctet(curr_msg);
            pdu += partData;
            return pdu;
        },
        QString());
}

QString PDU::EncodeAddress(const QString& number, bool bInCountBytes) {
    if (number.isEmpty())
        return QStringLiteral("00");
    const bool international = number.startsWith(QLatin1Char('+'));
    QString digits = international ? number.mid(1) : number;
    const int digitCount = static_cast<int>(digits.size());
    if (digits.size() % 2 != 0)
        digits += QLatin1Char('F');
    QString swapped;
    swapped.reserve(digits.size());
    for (qsizetype i = 0; i + 1 < digits.size(); i += 2) {
        swapped += digits.at(i + 1);
        swapped += digits.at(i);
    }
    const int length = bInCountBytes ? static_cast<int>(digits.size() / 2) + 1 : digitCount;
    return hexOctet(length) + (international ? QStringLiteral("91") : QStringLiteral("81")) +
           swapped.toUpper();
}

int PDU::MapChar(QChar c, bool& blnEscapeChar) {
    const QChar sent = plainQuoteFor(c);
    const std::optional<Gsm7Septet> septet = gsm7SeptetOf(sent);
    blnEscapeChar = septet && septet->extension;
    // Outside the alphabet only the low 7 bits of the code unit go out.
    return septet ? septet->code : sent.unicode();
}

QList<int> PDU::MapTo7BitAlphabet(const QString& text) {
    QList<int> septets;
    septets.reserve(text.size());
    for (QChar c : text) {
        bool escape = false;
        const int code = MapChar(c, escape);
        if (escape)
            septets.append(kGsm7EscapeSeptet);
        septets.append(code);
    }
    return septets;
}

QString PDU::EncodeUserData(const QList<int>& septets) {
    QString hex;
    hex.reserve((septets.size() * 7 / 8 + 1) * 2);
    quint32 pending = 0;
    int pendingBits = 0;
    for (int septet : septets) {
        pending |= static_cast<quint32>(septet & 0x7F) << pendingBits;
        pendingBits += 7;
        while (pendingBits >= 8) {
            hex += hexOctet(static_cast<int>(pending & 0xFF));
            pending >>= 8;
            pendingBits -= 8;
        }
    }
    if (pendingBits > 0)
        hex += hexOctet(static_cast<int>(pending & 0xFF));
    return hex;
}

QString PDU::EncodeUserData_16_bit(const QString& text) {
    QString hex;
    hex.reserve(text.size() * 4);
    for (QChar c : text)
        hex += PadZero(Hex(c.unicode()), 4);
    return hex;
}

QList<int> PDU::DecodeUserData(const QString& hex, int septetCount) {
    QList<int> septets;
    quint32 pending = 0;
    int pendingBits = 0;
    for (qsizetype i = 0; i + 1 < hex.size() && septets.size() < septetCount; i += 2) {
        bool ok = false;
        const uint octet = hex.mid(i, 2).toUInt(&ok, 16);
        if (!ok)
            break;
        pending |= octet << pendingBits;
        pendingBits += 8;
        while (pendingBits >= 7 && septets.size() < septetCount) {
            septets.append(static_cast<int>(pending & 0x7F));
            pending >>= 7;
            pendingBits -= 7;
        }
    }
    return septets;
}

QString PDU::DecodeUserData_16_bit(const QString& hex) {
    QString text;
    for (qsizetype i = 0; i + 3 < hex.size(); i += 4) {
        bool ok = false;
        const uint unit = hex.mid(i, 4).toUInt(&ok, 16);
        if (!ok)
            break;
        text += QChar(static_cast<char16_t>(unit));
    }
    return text;
}

int PDU::smscInformationOctets(const QString& pdu) {
    bool ok = false;
    const int lengthOctet = pdu.left(2).toInt(&ok, 16);
    return ok && pdu.size() >= 2 ? lengthOctet + 1 : -1;
}

int PDU::actualPduLength(const QString& pdu) {
    const int smsc = smscInformationOctets(pdu);
    return smsc < 0 ? 0 : static_cast<int>(pdu.size() / 2) - smsc;
}

int PDU::partCount(const QString& message, bool unicode) {
    return static_cast<int>(SmsParts::cut(message, unicode ? SmsCoding::Ucs2 : SmsCoding::Gsm7,
                                          unicode ? SmsParts::kPartUnits : SmsParts::kPartSeptets)
                                .size());
}

QString PDU::BCDEncode(int value) { return PadZero(Hex(value & 0xFF), 2); }

QString PDU::PadZero(const QString& text, int bytLength) {
    return text.size() >= bytLength ? text : QString(bytLength - text.size(), QLatin1Char('0')) + text;
}

QString PDU::reverseString(const QString& text) {
    QString reversed;
    reversed.reserve(text.size());
    for (qsizetype i = text.size() - 1; i >= 0; --i)
        reversed += text.at(i);
    return reversed;
}

QString PDU::Mid_String(const QString& text, int iFirst, int nCount) {
    if (iFirst < 0)
        iFirst = 0;
    if (iFirst >= text.size() || nCount <= 0)
        return {};
    return text.mid(iFirst, nCount);
}

int PDU::hex2int(const QString& hex) {
    bool ok = false;
    const int value = hex.toInt(&ok, 16);
    return ok ? value : 0;
}

QString PDU::ConvertToBinary(int value, int bits) {
    QString binary;
    for (int bit = bits - 1; bit >= 0; --bit)
        binary += (value >> bit) & 1 ? QLatin1Char('1') : QLatin1Char('0');
    return binary;
}

int PDU::BinToDec(const QString& binary) {
    int value = 0;
    for (QChar c : binary) {
        if (c != QLatin1Char('0') && c != QLatin1Char('1'))
            return 0;
        value = value * 2 + (c == QLatin1Char('1') ? 1 : 0);
    }
    return value;
}

QString Hex(int value) { return QString::number(static_cast<uint>(value), 16).toUpper(); }

int Asc(const QString& text) { return text.isEmpty() ? 0 : text.at(0).unicode() & 0xFF; }

int AscW(const QString& text) { return text.isEmpty() ? 0 : text.at(0).unicode(); }
