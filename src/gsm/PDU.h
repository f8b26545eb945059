#pragma once
// SMS-SUBMIT protocol data units as the uppercase hexadecimal text a modem takes in PDU
// mode: a whole message, or one part of a concatenated message with its user data header.
// Whether a text goes as GSM 7-bit or UCS2 is decided by the caller.
#include <QList>
#include <QString>
#include <QStringList>

class PDU {
public:
    PDU() = default;
    PDU(const PDU&) = delete;
    PDU& operator=(const PDU&) = delete;

    // One whole message. The length argument is not used; without the SMSC information
    // (blnIncludeSMSC false) the result is empty.
    QString EncodePDU(const QString& message, const QString& strDestinationAddress,
                      const QString& strSMSCAddress, int intActualPDULength, bool blnIncludeSMSC,
                      bool flash_msg, bool unicode);

    // Part curr_msg (from 1) of tot_msg. Parts are asked for in order: part 1 cuts the
    // message into parts of whole characters once and the later parts take theirs from that.
    // Every part carries the concatenation reference set last.
    QString Encode_UDH_PDU(const QString& message, const QString& strDestinationAddress,
                           const QString& strSMSCAddress, int intActualPDULength, bool blnIncludeSMSC,
                           bool flash_msg, int tot_msg, int curr_msg, bool unicode);

    // Length octet, type of address ("91" with a leading "+", else "81") and swapped digits.
    static QString EncodeAddress(const QString& number, bool bInCountBytes);
    static QString EncodeSMSCAddress(const QString& number) { return EncodeAddress(number, true); }
    static QString EncodeDestinationAddress(const QString& number) { return EncodeAddress(number, false); }

    // GSM 7-bit code of one character; sets the flag for extension-table characters.
    static int MapChar(QChar c, bool& blnEscapeChar);
    // Septet values of a text, 27 before each extension character.
    static QList<int> MapTo7BitAlphabet(const QString& text);
    // Septets packed least significant bit first, as hex.
    static QString EncodeUserData(const QList<int>& septets);
    // Each UTF-16 code unit as four hex digits, big-endian.
    static QString EncodeUserData_16_bit(const QString& text);

    // Inverses of the two user data encodings (septetCount septets / every code unit).
    static QList<int> DecodeUserData(const QString& hex, int septetCount);
    static QString DecodeUserData_16_bit(const QString& hex);

    // Octets a PDU gives to its SMSC information, read from its first octet; -1 if unreadable.
    static int smscInformationOctets(const QString& pdu);
    // The TPDU length "AT+CMGS=<n>" announces: the PDU's octets less the SMSC information.
    static int actualPduLength(const QString& pdu);
    // Parts a long message is cut into (at most 152 septets or 66 code units each).
    static int partCount(const QString& message, bool unicode);

    // The reference that ties the parts of one long message together (0..65535); the handset
    // joins parts by sender, reference and total, so each long message needs its own.
    void setConcatenationReference(int reference) { m_reference = reference & 0xFFFF; }

    // Whether the messages ask the network for a status report (delivered or not).
    void setStatusReportRequest(bool requested) { m_statusReportRequest = requested; }

    static QString BCDEncode(int value);
    static QString PadZero(const QString& text, int bytLength);
    static QString reverseString(const QString& text);
    static QString Mid_String(const QString& text, int iFirst, int nCount);
    static int hex2int(const QString& hex);
    static QString ConvertToBinary(int value, int bits);
    static int BinToDec(const QString& binary);
    static int Power2(int exponent) { return 1 << exponent; }

private:
    static QString dcsFor(bool flash_msg, bool unicode);
    QString firstOctet(bool userDataHeader) const;

    QStringList m_cachedParts; // the message being sent in parts, cut once
    int m_reference = 0;
    bool m_statusReportRequest = false;
};

// An integer as uppercase hex without a leading zero (5 -> "5", 26 -> "1A").
QString Hex(int value);
// Low 8 bits of the first character's code; 0 for an empty text.
int Asc(const QString& text);
// First UTF-16 code unit; 0 for an empty text.
int AscW(const QString& text);
