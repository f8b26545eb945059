// The messages the virtual network delivers, read back by the sim's own decoder and checked
// against PDUs worked out by hand.
#include "sim/DeliverPdu.h"
#include "sim/PduDecoder.h"

#include <QTimeZone>

#include <gtest/gtest.h>

namespace {

using sim::DeliverPart;
using sim::IncomingMessage;

const QDateTime kNoon(QDate(2024, 5, 1), QTime(12, 0, 0), QTimeZone(0));

IncomingMessage message(const QString& from, const QString& text) {
    IncomingMessage m;
    m.from = from;
    m.text = text;
    return m;
}

TEST(DeliverPdu, MatchesAHandWorkedPdu) {
    // SMSC +447700900123, first octet 04, sender +447700900001, PID 00, DCS 00,
    // SCTS 24-05-01 12:00:00 +00, ten septets "hellohello".
    const QList<DeliverPart> parts =
        sim::DeliverPdu::encode(message("+447700900001", "hellohello"), "+447700900123", 1, kNoon);
    ASSERT_EQ(parts.size(), 1);
    EXPECT_EQ(parts.at(0).hex, "0791447700091032040C914477000900100000425010210000000AE8329BFD4697D9EC37");
    EXPECT_EQ(parts.at(0).tpduLength, 28);
}

TEST(DeliverPdu, TimeStampsKeepTheirOffsetFromUtc) {
    const struct {
        QDateTime time;
        const char* hex;
        const char* text;
    } cases[] = {
        {kNoon, "42501021000000", "24/05/01,12:00:00+00"},
        {QDateTime(QDate(2031, 12, 24), QTime(23, 59, 58), QTimeZone(5 * 3600 + 1800)), "13214232958522",
         "31/12/24,23:59:58+22"},
        {QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5), QTimeZone(-4 * 3600)), "42102030405069",
         "24/01/02,03:04:05-16"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(sim::DeliverPdu::timeStampHex(c.time), c.hex);
        EXPECT_EQ(sim::DeliverPdu::timeStampText(c.time), c.text);
        const auto parts = sim::DeliverPdu::encode(message("123", "x"), {}, 1, c.time);
        const sim::DecodedPdu back = sim::PduDecoder::decodeDeliver(parts.at(0).hex);
        ASSERT_TRUE(back.ok) << back.error.toStdString();
        EXPECT_EQ(back.timestamp, c.time) << c.text;
        EXPECT_EQ(back.timestamp.offsetFromUtc(), c.time.offsetFromUtc()) << c.text;
    }
}

struct RoundTrip {
    const char* name;
    IncomingMessage message;
    int parts;
    int dcs;
    int septetsOrOctetsInFirst; // TP-UDL of the first part
};

void PrintTo(const RoundTrip& c, std::ostream* out) { *out << c.name; }

class DeliverRoundTrip : public testing::TestWithParam<RoundTrip> {};

TEST_P(DeliverRoundTrip, DecodesToTheSameTextSenderAndHeader) {
    const RoundTrip& c = GetParam();
    const QList<DeliverPart> parts = sim::DeliverPdu::encode(c.message, "+447700900123", 0x1A2B, kNoon);
    ASSERT_EQ(parts.size(), c.parts);
    QString joined;
    for (const DeliverPart& part : parts) {
        const sim::DecodedPdu pdu = sim::PduDecoder::decodeDeliver(part.hex);
        ASSERT_TRUE(pdu.ok) << pdu.error.toStdString() << " " << part.hex.toStdString();
        const bool named = sim::DeliverPdu::isAlphanumeric(c.message);
        EXPECT_EQ(pdu.number, named ? c.message.from.left(11) : c.message.from); // names are cut to 11
        EXPECT_EQ(pdu.smsc, "+447700900123");
        EXPECT_EQ(pdu.dcs, c.dcs);
        EXPECT_EQ(pdu.text, part.text);
        EXPECT_EQ(part.hex.size() / 2 - 8, part.tpduLength); // the SMSC's 8 octets
        if (c.parts > 1) {
            EXPECT_EQ(pdu.concatenation.total, c.parts);
            EXPECT_EQ(pdu.concatenation.sequence, part.sequence);
            EXPECT_EQ(pdu.concatenation.reference, c.message.sixteenBitReference ? 0x1A2B : 0x2B);
        } else {
            EXPECT_EQ(pdu.concatenation.reference, -1);
        }
        joined += pdu.text;
    }
    EXPECT_EQ(joined, c.message.text);
    EXPECT_EQ(sim::PduDecoder::decodeDeliver(parts.at(0).hex).userDataLength, c.septetsOrOctetsInFirst);
}

IncomingMessage with(IncomingMessage m, void (*change)(IncomingMessage&)) {
    change(m);
    return m;
}

// Where the 153rd septet falls on an escape, the pair moves whole to the next part.
const QString kEscapeAtTheCut = QString(152, u'a') + QStringLiteral("€") + QString(20, u'b');
// Where the 67th UCS2 unit is the first of a surrogate pair, the pair moves whole.
const QString kEmojiAtTheCut = QStringLiteral("й").repeated(66) + QStringLiteral("😀") + QStringLiteral("end");

const RoundTrip kRoundTrips[] = {
    {"extension_table", message("+447700900001", "5€ [ok] {a|b} ~^\\"), 1, 0x00, 26},
    {"national_number", message("07700900", "@£$¥ èé"), 1, 0x00, 7},
    {"ucs2_with_emoji", message("+447700900002", "Emoji 😀 ok"), 1, 0x08, 22},
    {"alphanumeric_sender", message("MyBank", "Code 1234"), 1, 0x00, 9},
    {"long_name_cut_to_eleven", message("A Very Long Sender", "x"), 1, 0x00, 1},
    {"full_single_7bit", message("+1555", QString(160, u'x')), 1, 0x00, 160},
    {"three_parts_7bit", message("+1555", QString(400, u'x')), 3, 0x00, 160},
    {"escape_kept_whole", message("+1555", kEscapeAtTheCut), 2, 0x00, 159},
    {"surrogate_kept_whole", message("+1555", kEmojiAtTheCut), 2, 0x08, 138},
    {"sixteen_bit_reference",
     with(message("+1555", QString(200, u'y')), [](IncomingMessage& m) { m.sixteenBitReference = true; }), 2,
     0x00, 160},
    {"eight_bit",
     with(message("+1555", QStringLiteral("Caf\u00e9 data")), [](IncomingMessage& m) { m.eightBit = true; }),
     1, 0x04, 9},
    {"eight_bit_long",
     with(message("+1555", QString(141, u'z')), [](IncomingMessage& m) { m.eightBit = true; }), 2, 0x04, 140},
};

INSTANTIATE_TEST_SUITE_P(Messages, DeliverRoundTrip, testing::ValuesIn(kRoundTrips),
                         [](const testing::TestParamInfo<RoundTrip>& info) { return info.param.name; });

TEST(DeliverPdu, DecoderRefusesWhatIsNoDeliver) {
    const struct {
        const char* hex;
        const char* reason;
    } cases[] = {
        {"00110005912143F50000FF0141", "SMS-DELIVER"}, // a SUBMIT
        {"00040C9144770009", "truncated"},
        {"0004", "too short"},
        {"00040391214300004250102100000002C8", "TP-UDL 2"},
        {"0004039121430000425010210000000", "hex"},
    };
    for (const auto& c : cases) {
        const sim::DecodedPdu pdu = sim::PduDecoder::decodeDeliver(QString::fromLatin1(c.hex));
        EXPECT_FALSE(pdu.ok) << c.hex;
        EXPECT_TRUE(pdu.error.contains(QLatin1String(c.reason))) << c.hex << ": " << pdu.error.toStdString();
    }
}

TEST(DeliverPdu, WrittenTextReadsAsASubmitInPduMode) {
    const auto parts = sim::DeliverPdu::encode(message("+447700900001", "Hi"), "+447700900123", 0, kNoon);
    const sim::DecodedPdu submit = sim::PduDecoder::decode(sim::DeliverPdu::submitHex(parts.at(0)));
    ASSERT_TRUE(submit.ok) << submit.error.toStdString();
    EXPECT_EQ(submit.number, "+447700900001");
    EXPECT_EQ(submit.text, "Hi");
}

} // namespace
