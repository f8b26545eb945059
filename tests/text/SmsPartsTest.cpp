#include "text/SmsParts.h"

#include <gtest/gtest.h>

namespace {

const QString kEmoji = QStringLiteral("\U0001F600"); // two UTF-16 code units

TEST(SmsParts, CodingFollowsTheTextUnlessUnicodeIsAsked) {
    const struct {
        QString text;
        bool unicodeRequested;
        SmsCoding expected;
    } cases[] = {
        {"Hello {World} \u20AC5", false, SmsCoding::Gsm7},
        {"Gr\u00F6\u00DFe", false, SmsCoding::Gsm7},
        {"\u041F\u0440\u0438\u0432\u0435\u0442", false, SmsCoding::Ucs2},
        {"\u00E7", false, SmsCoding::Ucs2}, // small c with cedilla: not in the alphabet
        {"Hi " + kEmoji, false, SmsCoding::Ucs2},
        {"plain", true, SmsCoding::Ucs2},
        {"", false, SmsCoding::Gsm7},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SmsParts::codingFor(c.text, c.unicodeRequested), c.expected) << c.text.toStdString();
}

TEST(SmsParts, TypographicPunctuationBecomesPlain) {
    EXPECT_EQ(SmsParts::withPlainPunctuation("\u201Cdon\u2019t\u201D \u2013 ok\u2026 \u2018x\u2019\u2014y"),
              "\"don't\" - ok... 'x'-y");
    EXPECT_EQ(
        SmsParts::codingFor(SmsParts::withPlainPunctuation("\u201Cdon\u2019t\u201D \u2013 ok\u2026"), false),
        SmsCoding::Gsm7);
    EXPECT_EQ(SmsParts::withPlainPunctuation("caf\u00E9 \u20AC"), "caf\u00E9 \u20AC"); // nothing else changes
}

TEST(SmsParts, PartsHoldWholeCharacters) {
    const QString a151(151, QLatin1Char('a'));
    // "{" takes two septets: at septet 152 it would lose its escape, so it opens part 2.
    const QString b20(20, QLatin1Char('b'));
    EXPECT_EQ(SmsParts::partsOf(a151 + "{" + b20, SmsCoding::Gsm7), (QStringList{a151, "{" + b20}));
    EXPECT_EQ(SmsParts::partsOf(QString(150, QLatin1Char('a')) + "{" + QString(10, QLatin1Char('b')),
                                SmsCoding::Gsm7)
                  .first()
                  .size(),
              151); // "{" fits at septets 151 and 152
    const QString cyrillic65(65, QChar(0x0416));
    EXPECT_EQ(
        SmsParts::partsOf(cyrillic65 + kEmoji + "x" + QString(10, QChar(0x0416)), SmsCoding::Ucs2).first(),
        cyrillic65); // the emoji's halves stay together in part 2
    // Text-mode pieces: at most 150 characters, and never more septets than one message holds.
    const QStringList pieces = SmsParts::cut(QString(100, QLatin1Char('{')), SmsCoding::Gsm7, 160, 150);
    EXPECT_EQ(pieces, (QStringList{QString(80, QLatin1Char('{')), QString(20, QLatin1Char('{'))}));
}

TEST(SmsParts, EveryCutReassemblesAndRespectsItsCapacity) {
    for (const SmsCoding coding : {SmsCoding::Gsm7, SmsCoding::Ucs2}) {
        const int capacity = coding == SmsCoding::Gsm7 ? SmsParts::kPartSeptets : SmsParts::kPartUnits;
        const QString special = coding == SmsCoding::Gsm7 ? QStringLiteral("{") : kEmoji;
        const QChar filler = coding == SmsCoding::Gsm7 ? QLatin1Char('a') : QChar(0x0416);
        for (int length = 150; length <= 480; ++length) {
            for (int at = capacity - 2; at < length; at += capacity) {
                QString text(length, filler);
                text.replace(at, 1, special);
                const QStringList parts = SmsParts::partsOf(text, coding);
                EXPECT_EQ(parts.join(QString()), text) << length << " " << at;
                for (const QString& part : parts) {
                    const int units =
                        coding == SmsCoding::Gsm7 ? SmsParts::septetCount(part) : int(part.size());
                    EXPECT_LE(units, parts.size() == 1 ? 160 : capacity) << length << " " << at;
                    EXPECT_FALSE(part.front().isLowSurrogate() || part.back().isHighSurrogate());
                }
            }
        }
    }
}

TEST(SmsParts, CostAsTheComposerShowsIt) {
    const struct {
        QString text;
        bool unicodeRequested;
        QString expected;
    } cases[] = {
        {"", false, "Empty"},
        {QString(160, QLatin1Char('a')), false, "GSM 7-bit, 1 SMS"},
        {QString(159, QLatin1Char('a')) + "{", false, "GSM 7-bit, 2 SMS parts"}, // 161 septets
        {QString(305, QLatin1Char('a')), false, "GSM 7-bit, 3 SMS parts"},
        {QString(70, QChar(0x0416)), false, "Unicode, 1 SMS"},
        {QString(71, QChar(0x0416)), false, "Unicode, 2 SMS parts"},
        {"Hello", true, "Unicode, 1 SMS"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SmsParts::describe(SmsParts::costOf(c.text, c.unicodeRequested)), c.expected)
            << c.text.size();
}

} // namespace

// The footer is whole on a line of its own, counted within the longest message; a text that
// already ends with it does not get it twice.
TEST(SmsParts, FooterFollowsTheTextWithinTheLongestMessage) {
    const QString footer = "Reply STOP to opt out";
    EXPECT_EQ(SmsParts::withFooter("Hi", footer, 1600), "Hi\nReply STOP to opt out");
    EXPECT_EQ(SmsParts::withFooter("Hi\nReply STOP to opt out ", footer, 1600), "Hi\nReply STOP to opt out ");
    EXPECT_EQ(SmsParts::withFooter("Hi", "", 1600), "Hi");
    const QString full = SmsParts::withFooter(QString(1600, QLatin1Char('a')), footer, 1600);
    EXPECT_EQ(full.size(), 1600);
    EXPECT_TRUE(full.endsWith("a\n" + footer));
}
