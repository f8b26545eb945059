// Received messages (SMS-DELIVER) as modems list them. The PDUs are written out field by
// field (service centre +447785016005, then the delivery), one published example among them.
#include "gsm/ReceivedSms.h"

#include "QStringPrinting.h"

#include <gtest/gtest.h>

namespace {

QDateTime utc(const char* iso) { return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate); }

struct Case {
    const char* what;
    const char* pdu;
    QString sender;
    QString text;
    const char* sentAtUtc;
    int offsetMinutes;
    ReceivedCoding coding = ReceivedCoding::Gsm7;
    int messageClass = -1;
};

TEST(ReceivedSms, DeliveriesGiveSenderTimeAndText) {
    const Case cases[] = {
        {"published example, 7-bit",
         "07917283010010F5040BC87238880900F10000993092516195800AE8329BFD4697D9EC37", "27838890001",
         "hellohello", "1999-03-29T13:16:59Z", 120},
        {"extension table",
         "0791447758100650040C914477000900100000621132210000401D50797A5CD6816A9B3268C30B6F7C1B947893DA5036BDC"
         "D6B0304",
         "+447700900001", QString::fromUtf8("Price: 5\u20ac [a]{b}^~\\|"), "2026-11-23T11:00:00Z", 60},
        {"alphanumeric sender", "0791447758100650040BD0CDBC30EC5E0300006211322100004009C337B90C8AC96634",
         "MyBank", "Code 1234", "2026-11-23T11:00:00Z", 60},
        {"alphanumeric sender, odd semi-octets",
         "0791447758100650040BD0C7F7FBCC2E0300006211322100004015C7564C36A3D56CA0F41C947FD7E5A0F19B5C06",
         "Google", "G-123456 is your code", "2026-11-23T11:00:00Z", 60},
        {"national number", "0791447758100650040B817007900021F30000621132210000400ACF35685E2E83F2EF3A",
         "07700900123", "Ok see you", "2026-11-23T11:00:00Z", 60},
        {"UCS2 with a character outside the BMP",
         "0791447758100650040C9144770009001000086211322100004010004800690020D83DDE000020006F006B",
         "+447700900001", QString::fromUtf8("Hi \U0001F600 ok"), "2026-11-23T11:00:00Z", 60,
         ReceivedCoding::Ucs2},
        {"8-bit data, class 1", "0791447758100650040C9144770009001000F562113221000040040102FF41",
         "+447700900001", "0102FF41", "2026-11-23T11:00:00Z", 60, ReceivedCoding::Data8, 1},
        {"flash (class 0)", "0791447758100650040C9144770009001000106211322100004003CEF71D", "+447700900001",
         "Now", "2026-11-23T11:00:00Z", 60, ReceivedCoding::Gsm7, 0},
        {"zone behind UTC", "0791447758100650040B915155550501F000006210203040500A07C3309B0D6A9701",
         "+15555550100", "Call me", "2026-01-02T08:04:05Z", -300},
        {"zone behind UTC by a half hour, across the year",
         "0791447758100650040B917190550501F000005221132203004902C834", "+17095550100", "Hi",
         "2026-01-01T02:00:00Z", -210},
        // The escape before a code the extension table lacks, before another escape, and last.
        {"escapes without extension character",
         "0791447758100650040C91447700090010000062113221000040069BE06623DC00", "+447700900001", "A B ",
         "2026-11-23T11:00:00Z", 60},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::optional<ReceivedSms> sms = decodeDeliver(QString::fromLatin1(c.pdu));
        ASSERT_TRUE(sms);
        EXPECT_EQ(sms->sender, c.sender);
        EXPECT_EQ(sms->text, c.text);
        EXPECT_EQ(sms->sentAt, utc(c.sentAtUtc));
        EXPECT_EQ(sms->sentAt.timeSpec(), Qt::UTC);
        EXPECT_EQ(sms->utcOffsetMinutes, c.offsetMinutes);
        EXPECT_EQ(sms->coding, c.coding);
        EXPECT_EQ(sms->messageClass, c.messageClass);
        EXPECT_FALSE(sms->concatenation);
    }
}

TEST(ReceivedSms, SenderKindAndEightBitOctetsAreKept) {
    const auto alphanumeric =
        decodeDeliver(u"0791447758100650040BD0CDBC30EC5E0300006211322100004009C337B90C8AC96634");
    ASSERT_TRUE(alphanumeric);
    EXPECT_TRUE(alphanumeric->alphanumericSender());
    const auto data = decodeDeliver(u"0791447758100650040C9144770009001000F562113221000040040102FF41");
    ASSERT_TRUE(data);
    EXPECT_FALSE(data->alphanumericSender());
    EXPECT_EQ(data->data, QByteArray::fromHex("0102FF41"));
}

TEST(ReceivedSms, PartsOfLongMessagesGiveTheirPlaceAndTextAfterTheHeader) {
    const struct {
        const char* what;
        const char* pdu;
        SmsConcatenation part;
        QString text;
    } cases[] = {
        {"8-bit reference, one fill bit",
         "0791447758100650440C914477000900100000621132210000401D050003A70201A061391DF47697416F33888E2E83E8653"
         "C9D0502",
         {0xA7, 2, 1, false},
         "Part one of the text, "},
        {"8-bit reference, second part",
         "0791447758100650440C914477000900100000621132210050401B050003A70202C26E32081E96D341F4FB1BB4E195DDE48"
         "D0F",
         {0xA7, 2, 2, false},
         "and part two [end]"},
        {"16-bit reference, no fill bits",
         "0791447758100650440C914477000900100000621132210000401406080412340201D3349E5E2EBB5BE2341D04",
         {0x1234, 2, 1, true},
         "Sixteen-bit "},
        {"port numbers before the concatenation element, two fill bits",
         "0791447758100650440C91447700090010000062113221000040190B05040B8423F0000301020184CDF4B21C047FCBE973",
         {1, 2, 1, false},
         "after ports"},
        {"UCS2 part",
         "0791447758100650440C914477000900100008621132210000400C05000309020100610062D83D",
         {9, 2, 1, false},
         QStringLiteral("ab\uFFFD")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::optional<ReceivedSms> sms = decodeDeliver(QString::fromLatin1(c.pdu));
        ASSERT_TRUE(sms);
        ASSERT_TRUE(sms->concatenation);
        EXPECT_EQ(sms->concatenation->reference, c.part.reference);
        EXPECT_EQ(sms->concatenation->total, c.part.total);
        EXPECT_EQ(sms->concatenation->sequence, c.part.sequence);
        EXPECT_EQ(sms->concatenation->wideReference, c.part.wideReference);
        EXPECT_EQ(sms->text, c.text);
    }
}

// The header is the sender's: elements with impossible numbers, or overrunning the header,
// leave the text readable and the message on its own.
TEST(ReceivedSms, ConcatenationElementsOutOfRangeAreIgnored) {
    // Header, then the 7-bit "Hi" after one fill bit; only the header's element changes.
    const auto withHeader = [](const char* element) {
        return QStringLiteral("0791447758100650440C91447700090010000062113221000040090500") + element +
               QStringLiteral("9069");
    };
    for (const char* element : {"03A70200", "03A70203", "03A70001", "04A70201", "05A70201"}) {
        SCOPED_TRACE(element);
        const std::optional<ReceivedSms> sms = decodeDeliver(withHeader(element));
        ASSERT_TRUE(sms);
        EXPECT_FALSE(sms->concatenation);
        EXPECT_EQ(sms->text, "Hi");
    }
}

TEST(ReceivedSms, UnicodeThatIsNotWholeBecomesReplacementCharacters) {
    EXPECT_EQ(ucs2Text(QByteArray::fromHex("0041D83D0042DE00")), QStringLiteral("A\uFFFDB\uFFFD"));
    EXPECT_EQ(ucs2Text(QByteArray::fromHex("0041D83DDE0000")), QString::fromUtf8("A\U0001F600\uFFFD"));
    EXPECT_EQ(ucs2Text(QByteArray::fromHex("DE00D83D")), QStringLiteral("\uFFFD\uFFFD"));
    EXPECT_EQ(ucs2Text(QByteArray::fromHex("D83D")), QStringLiteral("\uFFFD"));
    EXPECT_EQ(ucs2Text({}), QString());
    const auto sms = decodeDeliver(u"0791447758100650040C914477000900100008621132210000400700"
                                   "41D83DDE0000");
    ASSERT_TRUE(sms);
    EXPECT_EQ(sms->text, QString::fromUtf8("A\U0001F600\uFFFD"));
}

TEST(ReceivedSms, CodingSchemesReadAsAReceiverIsToTakeThem) {
    // One delivery whose four user data octets read in any coding; only the scheme changes.
    const struct {
        const char* dcs;
        ReceivedCoding coding;
        int messageClass;
        bool compressed;
    } cases[] = {
        {"00", ReceivedCoding::Gsm7, -1, false}, {"04", ReceivedCoding::Data8, -1, false},
        {"08", ReceivedCoding::Ucs2, -1, false}, {"0C", ReceivedCoding::Gsm7, -1, false},
        {"12", ReceivedCoding::Gsm7, 2, false},  {"19", ReceivedCoding::Ucs2, 1, false},
        {"20", ReceivedCoding::Data8, -1, true}, {"48", ReceivedCoding::Ucs2, -1, false},
        {"80", ReceivedCoding::Gsm7, -1, false}, {"B4", ReceivedCoding::Gsm7, -1, false},
        {"C8", ReceivedCoding::Gsm7, -1, false}, {"D0", ReceivedCoding::Gsm7, -1, false},
        {"E0", ReceivedCoding::Ucs2, -1, false}, {"F0", ReceivedCoding::Gsm7, 0, false},
        {"F7", ReceivedCoding::Data8, 3, false}, {"FB", ReceivedCoding::Gsm7, 3, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.dcs);
        const QString pdu = QStringLiteral("0791447758100650040C91447700090010") + QStringLiteral("00") +
                            QLatin1String(c.dcs) + QStringLiteral("62113221000040040102FF41");
        const std::optional<ReceivedSms> sms = decodeDeliver(pdu);
        ASSERT_TRUE(sms);
        EXPECT_EQ(sms->coding, c.coding);
        EXPECT_EQ(sms->messageClass, c.messageClass);
        EXPECT_EQ(sms->compressed, c.compressed);
    }
}

TEST(ReceivedSms, APduWithoutServiceCentreIsReadWhenItsLengthSaysSo) {
    const QString tpdu = QStringLiteral("040BC87238880900F10000993092516195800AE8329BFD4697D9EC37");
    const std::optional<ReceivedSms> sms = decodeDeliver(tpdu, int(tpdu.size() / 2));
    ASSERT_TRUE(sms);
    EXPECT_EQ(sms->text, "hellohello");
    // The same octets with a service centre address before them are read as listed.
    EXPECT_TRUE(decodeDeliver(QStringLiteral("00") + tpdu, int(tpdu.size() / 2)));
}

TEST(ReceivedSms, StampsThatAreNoDateLeaveTheTimeInvalidAndTheTextRead) {
    for (const char* stamp : {"62F13221000040", "62113221000A40", "62112321000040", "621132210000F0"}) {
        SCOPED_TRACE(stamp);
        const std::optional<ReceivedSms> sms =
            decodeDeliver(QStringLiteral("0791447758100650040C914477000900100000") + QLatin1String(stamp) +
                          QStringLiteral("02C834"));
        ASSERT_TRUE(sms);
        EXPECT_FALSE(sms->sentAt.isValid());
        EXPECT_EQ(sms->text, "Hi");
    }
}

TEST(ReceivedSms, WhatIsNoReadableDeliveryGivesNothing) {
    const char* const notDeliveries[] = {
        "",
        "00",
        "zz",
        "079",
        "-C",
        " 7",
        "0791447758100650",
        // A submission kept on the SIM and a status report.
        "0011000C914477000900100000FF024834",
        "0791447758100650060C914477000900106211322100004062113221000040",
        // An address longer than an address can be, a service centre longer than its field.
        "0791447758100650041591447700090010000000621132210000400248340000000000000000",
        "FF91447758100650040C91447700090010000062113221000040024834",
        // More septets or octets announced than a message holds, or than the PDU holds.
        "0791447758100650040C914477000900100000621132210000A1E8329BFD4697D9EC37",
        "0791447758100650040C91447700090010000862113221000040900041",
        "0791447758100650040C914477000900100000621132210000400BE8329BFD4697D9EC37",
        // A header longer than the user data, and a header flag with no user data at all.
        "0791447758100650440C91447700090010000062113221000040020900",
        "0791447758100650440C9144770009001000006211322100004000",
        // A header that takes more septets than the length gives.
        "0791447758100650440C91447700090010000062113221000040060500030102010000",
    };
    for (const char* pdu : notDeliveries)
        EXPECT_FALSE(decodeDeliver(QString::fromLatin1(pdu))) << pdu;
}

TEST(ReceivedSms, EveryTruncationOfADeliveryGivesNothing) {
    for (const QString& full :
         {QStringLiteral(
              "0791447758100650440C914477000900100000621132210000401D050003A70201A061391DF47697416F33888E2E"
              "83E8653C9D0502"),
          QStringLiteral(
              "0791447758100650040BD0C7F7FBCC2E0300006211322100004015C7564C36A3D56CA0F41C947FD7E5A0F19B5C06"),
          QStringLiteral(
              "0791447758100650040C9144770009001000086211322100004010004800690020D83DDE000020006F006B")}) {
        ASSERT_TRUE(decodeDeliver(full));
        for (qsizetype length = 0; length < full.size(); ++length)
            EXPECT_FALSE(decodeDeliver(QStringView(full).left(length))) << length;
    }
}

} // namespace
