#include "gsm/PDU.h"

#include "QStringPrinting.h"

#include <gtest/gtest.h>

namespace {

const QString kTwelveDigits = QStringLiteral("+919876543210");

TEST(PDU, AddressEncoding) {
    const struct {
        QString number;
        bool countOctets;
        QString expected;
    } cases[] = {
        {kTwelveDigits, false, "0C91198967452301"},
        {kTwelveDigits, true, "0791198967452301"},
        {"+12345", false, "05912143F5"}, // odd: padded with F before the swap
        {"+12345", true, "04912143F5"},
        {"12345", false, "05812143F5"}, // no "+": unknown numbering plan
        {"", false, "00"},
        {"", true, "00"},
        {"0044", false, "04810044"}, // leading zeros are digits like any other
    };
    for (const auto& c : cases)
        EXPECT_EQ(PDU::EncodeAddress(c.number, c.countOctets), c.expected) << c.number.toStdString();
}

TEST(PDU, SingleMessageVectors) {
    const struct {
        const char* name;
        QString message;
        QString destination;
        QString smsc;
        bool flash;
        bool unicode;
        QString expected;
    } cases[] = {
        {"one letter, no SMSC", "A", "+12345", "", false, false, "00110005912143F50000FF0141"},
        {"flash changes only the DCS", "A", "+12345", "", true, false, "00110005912143F50010FF0141"},
        {"with SMSC", "hellohello", kTwelveDigits, kTwelveDigits, false, false,
         "07911989674523011100"
         "0C91198967452301"
         "0000FF0A"
         "E8329BFD4697D9EC37"},
        {"empty destination", "A", "", "", false, false, "001100000000FF0141"},
        {"empty text", "", "+12345", "", false, false, "00110005912143F50000FF00"},
        {"extension character counts two septets", "Hi\u20AC", "+12345", "", false, false,
         "00110005912143F50000FF04C8F4A60C"},
        {"characters off the ASCII positions", "@\u00A3$", "+12345", "", false, false,
         "00110005912143F50000FF03808000"},
        {"UCS2", "\u03A91", "12345", "", false, true, "00110005812143F50008FF0403A90031"},
        {"UCS2 flash", "\u03A91", "12345", "", true, true, "00110005812143F50018FF0403A90031"},
    };
    for (const auto& c : cases) {
        PDU encoder;
        EXPECT_EQ(encoder.EncodePDU(c.message, c.destination, c.smsc, 0, true, c.flash, c.unicode),
                  c.expected)
            << c.name;
    }
}

TEST(PDU, AStatusReportRequestSetsOnlyItsBitOfTheFirstOctet) {
    PDU encoder;
    encoder.setStatusReportRequest(true);
    EXPECT_EQ(encoder.EncodePDU("A", "+12345", "", 0, true, false, false), "00310005912143F50000FF0141");
    EXPECT_TRUE(encoder.Encode_UDH_PDU(QString(200, u'a'), "+12345", "", 0, true, false, 2, 1, false)
                    .startsWith("00710005912143F5"));
}

TEST(PDU, WithoutSmscInformationNothingIsBuilt) {
    PDU encoder;
    EXPECT_EQ(encoder.EncodePDU("A", "+12345", "", 0, false, false, false), QString());
    EXPECT_EQ(encoder.Encode_UDH_PDU("A", "+12345", "", 0, false, false, 1, 1, false), QString());
}

TEST(PDU, CharacterMapping) {
    const struct {
        QChar character;
        int code;
        bool escaped;
    } cases[] = {
        {u'@', 0, false},       {u'$', 2, false},       {u'_', 17, false},       {u'\u039B', 20, false},
        {u'\u00A4', 36, false}, {u'\u00A1', 64, false}, {u'\u00E0', 127, false}, {u'a', 97, false},
        {u'\n', 10, false},     {u'\u201C', 34, false}, {u'\u2018', 39, false},  {u'{', 40, true},
        {u'\\', 47, true},      {u'|', 64, true},       {u'\u20AC', 101, true},  {u'^', 20, true},
        {u'~', 61, true},       {u'[', 60, true},       {u']', 62, true},
    };
    for (const auto& c : cases) {
        bool escape = !c.escaped;
        EXPECT_EQ(PDU::MapChar(c.character, escape), c.code) << int(c.character.unicode());
        EXPECT_EQ(escape, c.escaped) << int(c.character.unicode());
    }
    EXPECT_EQ(PDU::MapTo7BitAlphabet("a{b"), (QList<int>{97, 27, 40, 98}));
}

TEST(PDU, AnnouncedLengthExcludesSmscInformation) {
    const QString full160(160, QLatin1Char('a'));
    const QString withBrace = QString(159, QLatin1Char('a')) + QLatin1Char('{');
    const struct {
        const char* name;
        QString message;
        QString smsc;
        bool unicode;
        int expected;
    } cases[] = {
        {"160 characters to 12 digits fit a single TPDU", full160, "", false, 154},
        {"SMSC information is not counted", full160, kTwelveDigits, false, 154},
        {"an extension character pushes it over", withBrace, "", false, 155},
        {"70 UCS2 units", QString(70, QChar(0x0416)), "", true, 154},
    };
    for (const auto& c : cases) {
        PDU encoder;
        EXPECT_EQ(PDU::actualPduLength(
                      encoder.EncodePDU(c.message, "+123456789012", c.smsc, 0, true, false, c.unicode)),
                  c.expected)
            << c.name;
    }
}

// Fields of a concatenated part, read at fixed offsets (destination +12345, no SMSC).
struct PartFields {
    QString firstOctet, dcs, userDataLength, header, userData;
};
PartFields split(const QString& pdu) {
    return {pdu.mid(2, 2), pdu.mid(18, 2), pdu.mid(22, 2), pdu.mid(24, 14), pdu.mid(38)};
}

TEST(PDU, SevenBitPartsSplitOnSeptetBoundaries) {
    // 162 septets: part 2 must start with the 153rd character and carry 10 septets.
    QString text;
    for (int i = 0; i < 162; ++i)
        text += QChar(u'A' + i % 26);
    ASSERT_EQ(PDU::partCount(text, false), 2);

    PDU encoder;
    const PartFields part1 = split(encoder.Encode_UDH_PDU(text, "+12345", "", 0, true, false, 2, 1, false));
    const PartFields part2 = split(encoder.Encode_UDH_PDU(text, "+12345", "", 0, true, false, 2, 2, false));

    EXPECT_EQ(part1.firstOctet, "51");
    EXPECT_EQ(part1.userDataLength, "A0"); // 160 septets: 8 of header, 152 of text
    EXPECT_EQ(part1.header, "06080400000201");
    EXPECT_EQ(part1.userData, PDU::EncodeUserData(PDU::MapTo7BitAlphabet(text.left(152))));
    EXPECT_EQ(part2.userDataLength, "12"); // 18 = 8 of header + 10
    EXPECT_EQ(part2.header, "06080400000202");
    EXPECT_EQ(part2.userData, PDU::EncodeUserData(PDU::MapTo7BitAlphabet(text.mid(152))));
}

TEST(PDU, Ucs2PartsHoldSixtySixUnits) {
    QString text;
    for (int i = 0; i < 71; ++i)
        text += QChar(0x0410 + i % 32);
    ASSERT_EQ(PDU::partCount(text, true), 2);
    PDU encoder;
    const PartFields part1 = split(encoder.Encode_UDH_PDU(text, "+12345", "", 0, true, true, 2, 1, true));
    const PartFields part2 = split(encoder.Encode_UDH_PDU(text, "+12345", "", 0, true, true, 2, 2, true));
    EXPECT_EQ(part1.dcs, "18");
    EXPECT_EQ(part1.userDataLength, "8B"); // 132 + 7 = 139, the most a part holds
    EXPECT_EQ(PDU::DecodeUserData_16_bit(part1.userData), text.left(66));
    EXPECT_EQ(part2.userDataLength, "11"); // 10 + 7
    EXPECT_EQ(PDU::DecodeUserData_16_bit(part2.userData), text.mid(66));
}

TEST(PDU, PartsBeyondTheMessageAreEmpty) {
    PDU encoder;
    const QString text(200, QLatin1Char('x'));
    EXPECT_FALSE(encoder.Encode_UDH_PDU(text, "1", "", 0, true, false, 2, 1, false).isEmpty());
    EXPECT_TRUE(encoder.Encode_UDH_PDU(text, "1", "", 0, true, false, 3, 3, false).isEmpty());
    EXPECT_TRUE(encoder.Encode_UDH_PDU(text, "1", "", 0, true, false, 2, 0, false).isEmpty());
}

TEST(PDU, PartCount) {
    const struct {
        QString message;
        bool unicode;
        int expected;
    } cases[] = {
        {QString(300, QLatin1Char('a')), false, 2}, {QString(304, QLatin1Char('a')), false, 2},
        {QString(305, QLatin1Char('a')), false, 3}, {QString(76, QLatin1Char('{')), false, 1},
        {QString(77, QLatin1Char('{')), false, 2},  {QString(71, QChar(0x0416)), true, 2},
        {QString(66, QChar(0x0416)), true, 1},      {QString(), false, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(PDU::partCount(c.message, c.unicode), c.expected) << c.message.size();
}

TEST(PDU, SeptetPackingRoundTrips) {
    const QList<int> septets = {0, 127, 27, 101, 64, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    for (int n = 0; n <= septets.size(); ++n) {
        const QList<int> head = septets.mid(0, n);
        EXPECT_EQ(PDU::DecodeUserData(PDU::EncodeUserData(head), n), head) << n;
    }
}

TEST(PDU, HexHelpers) {
    EXPECT_EQ(Hex(5), "5");
    EXPECT_EQ(Hex(26), "1A");
    EXPECT_EQ(PDU::BCDEncode(5), "05");
    EXPECT_EQ(PDU::BCDEncode(300), "2C"); // only the low octet is written
    EXPECT_EQ(PDU::Mid_String("abcdef", 4, 10), "ef");
    EXPECT_EQ(PDU::Mid_String("abcdef", 6, 1), "");
    EXPECT_EQ(PDU::BinToDec(PDU::ConvertToBinary(93, 7)), 93);
    EXPECT_EQ(Asc(QString(QChar(0x0141))), 0x41);
    EXPECT_EQ(AscW(QString(QChar(0x0141))), 0x0141);
}

} // namespace
