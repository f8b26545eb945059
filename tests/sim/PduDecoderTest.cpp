#include "sim/PduDecoder.h"

#include <gtest/gtest.h>

namespace {

using sim::Alphabet;
using sim::PduDecoder::decode;

struct Accepted {
    const char* name;
    const char* hex;
    int declaredLength;
    const char* smsc;
    const char* number;
    int dcs;
    Alphabet alphabet;
    bool flash;
    const char* text;
    int reference, total, sequence;
};

// Vectors written out by hand octet by octet (addresses swapped, septets packed on paper).
const Accepted kAccepted[] = {
    {"single letter, five-digit international number", "00110005912143F50000FF0141", 12, "", "+12345", 0,
     Alphabet::Gsm7, false, "A", -1, 1, 1},
    {"classic hellohello, relative validity AA", "0011000B916407281553F80000AA0AE8329BFD4697D9EC37", 23, "",
     "+46708251358", 0, Alphabet::Gsm7, false, "hellohello", -1, 1, 1},
    {"SMSC information is not part of the length", "0791198967452301110005912143F50000FF0141", 12,
     "+919876543210", "+12345", 0, Alphabet::Gsm7, false, "A", -1, 1, 1},
    {"national number type 81", "001100048121430000FF0141", 11, "", "1234", 0, Alphabet::Gsm7, false, "A", -1,
     1, 1},
    {"extension character costs two septets", "00110005912143F50000FF021B14", 13, "", "+12345", 0,
     Alphabet::Gsm7, false, "{", -1, 1, 1},
    {"flash 7-bit", "00110005912143F50010FF0141", 12, "", "+12345", 0x10, Alphabet::Gsm7, true, "A", -1, 1,
     1},
    {"UCS2", "0011000C911989674523010008FF0400480069", 18, "", "+919876543210", 8, Alphabet::Ucs2, false,
     "Hi", -1, 1, 1},
    {"UCS2 flash, non-Latin text", "00110005912143F50018FF04041F0440", 15, "", "+12345", 0x18, Alphabet::Ucs2,
     true, "\u041F\u0440", -1, 1, 1},
    {"no validity period", "00010005912143F500000141", 11, "", "+12345", 0, Alphabet::Gsm7, false, "A", -1, 1,
     1},
    {"empty destination", "00110000810000FF0141", 9, "", "", 0, Alphabet::Gsm7, false, "A", -1, 1, 1},
    {"concatenated, 16-bit reference, header on a septet boundary",
     "00510005912143F50000FF0A0608040000 0201C834", -1, "", "+12345", 0, Alphabet::Gsm7, false, "Hi", 0, 2,
     1},
    {"concatenated, 8-bit reference, one fill bit", "00510005912143F50000FF09050003AA02029069", 19, "",
     "+12345", 0, Alphabet::Gsm7, false, "Hi", 0xAA, 2, 2},
    // TP-UDL counted from whole octets: seven septets fill seven octets, which the length
    // then calls eight septets; the pad bits arrive as "@", as handsets show them
    {"last part whose padding reads as an extra septet",
     "00510005912143F50000FF10060804000002"
     "0261F1985C369F01",
     -1, "", "+12345", 0, Alphabet::Gsm7, false, "abcdefg@", 0, 2, 2},
    {"concatenated UCS2", "00510005912143F50008FF09060804000003030041", -1, "", "+12345", 8, Alphabet::Ucs2,
     false, "A", 0, 3, 3},
};

void PrintTo(const Accepted& v, std::ostream* out) { *out << v.name; }

class PduAccepted : public testing::TestWithParam<Accepted> {};

TEST_P(PduAccepted, DecodesEveryField) {
    const Accepted& v = GetParam();
    QString hex = QString::fromLatin1(v.hex);
    hex.remove(u' ');
    const sim::DecodedPdu pdu = decode(hex, v.declaredLength);
    ASSERT_TRUE(pdu.ok) << pdu.error.toStdString();
    EXPECT_EQ(pdu.smsc, QString::fromUtf8(v.smsc));
    EXPECT_EQ(pdu.number, QString::fromUtf8(v.number));
    EXPECT_EQ(pdu.dcs, v.dcs);
    EXPECT_EQ(pdu.alphabet, v.alphabet);
    EXPECT_EQ(pdu.flash, v.flash);
    EXPECT_EQ(pdu.text, QString::fromUtf8(v.text));
    EXPECT_EQ(pdu.concatenation.reference, v.reference);
    EXPECT_EQ(pdu.concatenation.total, v.total);
    EXPECT_EQ(pdu.concatenation.sequence, v.sequence);
}

INSTANTIATE_TEST_SUITE_P(Vectors, PduAccepted, testing::ValuesIn(kAccepted),
                         [](const testing::TestParamInfo<Accepted>& info) {
                             return "v" + std::to_string(info.index);
                         });

struct Refused {
    const char* hex;
    int declaredLength;
    const char* reasonFragment;
};

const Refused kRefused[] = {
    {"00110005912143F50000FF014", -1, "hex"},  // odd digit count
    {"00110005912143F50000FF01G1", -1, "hex"}, // not hex
    {"", -1, "empty"},
    {"00110005912143F50000FF0141", 14, "length 14"}, // length counts the SMSC
    {"0791198967452301110005912143F50000FF0141", 21, "length 21"},
    {"04110005912143F50000FF0141", -1, "destination"}, // SMSC length swallows the TPDU
    {"00000005912143F50000FF0141", -1, "SUBMIT"},      // a DELIVER
    {"00110005912143F50000FF0241", -1, "TP-UDL 2"},    // two septets need two octets
    {"00110005912143F50000FF014141", -1, "TP-UDL 1"},  // a stray octet after the text
    {"00110005912143F50008FF030041", -1, "TP-UDL 3"},
    {"00110005912143F50008FF03004100", -1, "odd number of UCS2"},
    {"00110005912143F50020FF0141", -1, "compressed"},
    {"0011000591214365", -1, "truncated"},
    {"00510005912143F50000FF0A0608040000 0200C834", -1, "part 0 of 2"},
    {"00510005912143F50000FF0A0608040000 0203C834", -1, "part 3 of 2"},
    {"00510005912143F50000FF0A0908040000 0201C834", -1, "header longer"},
};

TEST(PduRefused, NamesTheFault) {
    for (const Refused& v : kRefused) {
        QString hex = QString::fromLatin1(v.hex);
        hex.remove(u' ');
        const sim::DecodedPdu pdu = decode(hex, v.declaredLength);
        EXPECT_FALSE(pdu.ok) << v.hex;
        EXPECT_TRUE(pdu.error.contains(QLatin1String(v.reasonFragment)))
            << v.hex << " -> " << pdu.error.toStdString();
    }
}

TEST(PduRefused, MoreThanOneMessageOfUserData) {
    const QString septets161 = QStringLiteral("00110005912143F50000FFA1") + QString(141 * 2, u'0');
    const QString septets160 = QStringLiteral("00110005912143F50000FFA0") + QString(140 * 2, u'0');
    const QString octets141 = QStringLiteral("00110005912143F50008FF8D") + QString(141 * 2, u'0');
    EXPECT_TRUE(decode(septets161).error.contains(u"exceeds one message"));
    EXPECT_TRUE(decode(octets141).error.contains(u"exceeds one message"));
    const sim::DecodedPdu full = decode(septets160, 151);
    ASSERT_TRUE(full.ok) << full.error.toStdString();
    EXPECT_EQ(full.text, QString(160, u'@'));
}

TEST(PduAddress, SwappedDigitsStopAtPaddingAndKeepKeypadSymbols) {
    const struct {
        QByteArray octets;
        QString digits;
    } cases[] = {
        {QByteArray::fromHex("2143F5"), "12345"},
        {QByteArray::fromHex("1032547698"), "0123456789"},
        {QByteArray::fromHex("BAF1"), "*#1"},
        {QByteArray(), ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(sim::PduDecoder::swappedDigits(c.octets), c.digits) << c.octets.toHex().constData();
}

} // namespace
