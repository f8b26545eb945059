// Long received messages put back together from their parts as modems list them.
#include "gsm/ConcatenatedSmsAssembler.h"

#include "QStringPrinting.h"

#include <gtest/gtest.h>

namespace {

QDateTime utc(const char* iso) { return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate); }

ReceivedSms decoded(const char* pdu) {
    const std::optional<ReceivedSms> sms = decodeDeliver(QString::fromLatin1(pdu));
    EXPECT_TRUE(sms) << pdu;
    return sms.value_or(ReceivedSms{});
}

// Two parts with an 8-bit reference (0xA7), sent at 12:00:00 and 12:00:05 (+01:00).
const char* const kEightBitOne = "0791447758100650440C914477000900100000621132210000401D050003A70201A061391DF"
                                 "47697416F33888E2E83E8653C9D0502";
const char* const kEightBitTwo =
    "0791447758100650440C914477000900100000621132210050401B050003A70202C26E32081E96D341F4FB1BB4E195DDE48D0F";
// Two parts with a 16-bit reference (0x1234).
const char* const kWideOne =
    "0791447758100650440C914477000900100000621132210000401406080412340201D3349E5E2EBB5BE2341D04";
const char* const kWideTwo =
    "0791447758100650440C914477000900100000621132210000401106080412340202F2B2B92C2FBBC765";

const QDateTime kNow = utc("2026-11-23T11:01:00Z");

TEST(ConcatenatedSmsAssembler, PartsInAnyOrderMakeOneMessageAndRepeatsArePassedOver) {
    ConcatenatedSmsAssembler assembler(60);
    EXPECT_FALSE(assembler.add(decoded(kWideTwo), kNow, 5));
    EXPECT_FALSE(assembler.add(decoded(kWideTwo), kNow, 6)); // listed again
    EXPECT_EQ(assembler.pendingCount(), 1);
    const std::optional<AssembledSms> message = assembler.add(decoded(kWideOne), kNow.addSecs(2), 4);
    ASSERT_TRUE(message);
    EXPECT_TRUE(message->complete());
    EXPECT_EQ(message->text, "Sixteen-bit reference");
    EXPECT_EQ(message->sender, "+447700900001");
    EXPECT_EQ(message->total, 2);
    EXPECT_EQ(message->storageIndexes, (QList<int>{5, 6, 4})); // every place, to clear them all
    EXPECT_EQ(assembler.pendingCount(), 0);

    // The first part's time, whichever part came last.
    EXPECT_FALSE(assembler.add(decoded(kEightBitOne), kNow));
    const std::optional<AssembledSms> eightBit = assembler.add(decoded(kEightBitTwo), kNow);
    ASSERT_TRUE(eightBit);
    EXPECT_EQ(eightBit->text, "Part one of the text, and part two [end]");
    EXPECT_EQ(eightBit->sentAt, utc("2026-11-23T11:00:00Z"));
}

TEST(ConcatenatedSmsAssembler, PartsOfOtherSendersOrMessagesAreNotMixed) {
    ConcatenatedSmsAssembler assembler(60);
    ReceivedSms otherSender = decoded(kEightBitOne);
    otherSender.sender = QStringLiteral("+447700900002");
    ReceivedSms otherReference = decoded(kEightBitOne);
    otherReference.concatenation->reference = 0xA8;
    ReceivedSms otherTotal = decoded(kEightBitOne);
    otherTotal.concatenation->total = 3;
    for (const ReceivedSms& part : {otherSender, otherReference, otherTotal})
        EXPECT_FALSE(assembler.add(part, kNow));
    EXPECT_FALSE(assembler.add(decoded(kEightBitOne), kNow));
    EXPECT_EQ(assembler.pendingCount(), 4);
    const std::optional<AssembledSms> message = assembler.add(decoded(kEightBitTwo), kNow);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->sender, "+447700900001");
    EXPECT_EQ(message->text, "Part one of the text, and part two [end]");
}

TEST(ConcatenatedSmsAssembler, APartThatNeverComesLeavesAnIncompleteMessageWhenTimeIsUp) {
    ConcatenatedSmsAssembler assembler(60);
    EXPECT_FALSE(assembler.add(decoded(kEightBitOne), kNow, 1));
    EXPECT_FALSE(assembler.add(decoded(kWideTwo), kNow.addSecs(30), 2));
    EXPECT_TRUE(assembler.expire(kNow.addSecs(59)).isEmpty());

    const QList<AssembledSms> first = assembler.expire(kNow.addSecs(60));
    ASSERT_EQ(first.size(), 1);
    EXPECT_FALSE(first.first().complete());
    EXPECT_EQ(first.first().missingParts, QList<int>{2});
    EXPECT_EQ(first.first().text, "Part one of the text, ");
    EXPECT_EQ(first.first().storageIndexes, QList<int>{1});
    EXPECT_EQ(assembler.pendingCount(), 1);

    // Without its first part, the message takes the earliest time a part carries.
    const QList<AssembledSms> second = assembler.expire(kNow.addSecs(600));
    ASSERT_EQ(second.size(), 1);
    EXPECT_EQ(second.first().missingParts, QList<int>{1});
    EXPECT_EQ(second.first().text, "reference");
    EXPECT_EQ(second.first().sentAt, utc("2026-11-23T11:00:00Z"));
    EXPECT_EQ(assembler.pendingCount(), 0);

    // A part arriving after its group was handed over starts a group of its own.
    EXPECT_FALSE(assembler.add(decoded(kEightBitTwo), kNow.addSecs(700)));
    const QList<AssembledSms> rest = assembler.flush();
    ASSERT_EQ(rest.size(), 1);
    EXPECT_EQ(rest.first().missingParts, QList<int>{1});
    EXPECT_EQ(rest.first().sentAt, utc("2026-11-23T11:00:05Z"));
}

TEST(ConcatenatedSmsAssembler, GroupsDueTogetherComeOldestFirst) {
    ConcatenatedSmsAssembler assembler(10);
    ReceivedSms later = decoded(kEightBitOne);
    later.sender = QStringLiteral("+15555550100"); // a key that sorts before the other
    EXPECT_FALSE(assembler.add(decoded(kEightBitOne), kNow));
    EXPECT_FALSE(assembler.add(later, kNow.addSecs(5)));
    const QList<AssembledSms> due = assembler.expire(kNow.addSecs(100));
    ASSERT_EQ(due.size(), 2);
    EXPECT_EQ(due.at(0).sender, "+447700900001");
    EXPECT_EQ(due.at(1).sender, "+15555550100");
}

TEST(ConcatenatedSmsAssembler, SinglesAndHeadersThatNumberNoRealPartPassStraightThrough) {
    ConcatenatedSmsAssembler assembler(60);
    const std::optional<AssembledSms> single = assembler.add(
        decoded("07917283010010F5040BC87238880900F10000993092516195800AE8329BFD4697D9EC37"), kNow, 8);
    ASSERT_TRUE(single);
    EXPECT_TRUE(single->complete());
    EXPECT_EQ(single->text, "hellohello");
    EXPECT_EQ(single->sentAt, utc("1999-03-29T13:16:59Z"));
    EXPECT_EQ(single->storageIndexes, QList<int>{8});

    for (const SmsConcatenation& header :
         {SmsConcatenation{1, 1, 1, false}, SmsConcatenation{1, 2, 0, false},
          SmsConcatenation{1, 2, 3, false}, SmsConcatenation{1, 1000, 1, true}}) {
        ReceivedSms sms = decoded(kEightBitOne);
        sms.concatenation = header;
        const std::optional<AssembledSms> message = assembler.add(sms, kNow);
        ASSERT_TRUE(message);
        EXPECT_EQ(message->text, "Part one of the text, ");
        EXPECT_EQ(message->total, 1);
    }
    EXPECT_EQ(assembler.pendingCount(), 0);
}

// A sender that cuts UCS2 text by code units may split a surrogate pair between two parts;
// each part alone cannot show the character, the message joined does.
TEST(ConcatenatedSmsAssembler, ACharacterSplitBetweenUnicodePartsIsWholeAgain) {
    const ReceivedSms one =
        decoded("0791447758100650440C914477000900100008621132210000400C05000309020100610062D83D");
    const ReceivedSms two =
        decoded("0791447758100650440C914477000900100008621132210000400C050003090202DE0000630064");
    EXPECT_EQ(one.text, QStringLiteral("ab\uFFFD"));
    EXPECT_EQ(two.text, QStringLiteral("\uFFFDcd"));
    ConcatenatedSmsAssembler assembler(60);
    EXPECT_FALSE(assembler.add(two, kNow));
    const std::optional<AssembledSms> message = assembler.add(one, kNow);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->text, QString::fromUtf8("ab\U0001F600cd"));

    // Incomplete, the part shows what it can.
    EXPECT_FALSE(assembler.add(one, kNow));
    const QList<AssembledSms> incomplete = assembler.flush();
    ASSERT_EQ(incomplete.size(), 1);
    EXPECT_EQ(incomplete.first().text, QStringLiteral("ab\uFFFD"));
}

} // namespace
