#include "sheets/XlsxText.h"

#include <gtest/gtest.h>

namespace {

TEST(XlsxText, PlainNumbersAreThoseEveryProgramShowsAsWritten) {
    const std::pair<const char*, bool> cases[] = {
        {"5550100", true},
        {"0", true},
        {"-42", true},
        {"12.5", true},
        {"0.0001", true},
        {"123456789012345", true},
        {"0.123456789012345", true},
        {"1234567890123456", false}, // a 16th digit would be rounded away
        {"0123", false},
        {"+15550100", false},
        {"12.50", false},
        {"1e5", false},
        {"1.", false},
        {".5", false},
        {"-", false},
        {"", false},
        {" 12", false},
        {"12 ", false},
        {"-0", false},
        {"1,000", false},
        {"inf", false},
        {"nan", false},
        {"٣", false},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(isPlainNumber(QString::fromUtf8(text)), expected) << text;
}

TEST(XlsxText, EscapesDecode) {
    const std::pair<const char*, QString> cases[] = {
        {"a_x000D_b", QString("a\rb")},
        {"_x0041__x0062_", QString("Ab")},
        {"_x00e9_", QString::fromUtf8("é")},
        {"_x005F_x0041_", QString("_x0041_")}, // escaped underscore keeps the rest literal
        {"_x00G1_", QString("_x00G1_")},       // not hex: left alone
        {"_x41_", QString("_x41_")},
        {"trailing _x00", QString("trailing _x00")},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(decodeXlsxEscapes(QString::fromUtf8(text)), expected) << text;
}

TEST(XlsxText, EncodingRoundTripsAndLeavesOnlyXmlSafeCharacters) {
    const QString texts[] = {
        "plain",
        "cr\r\nlf",
        QString("nul") + QChar(0) + "bel\007vt\013",
        "_x0041_ and _x005F_",
        QString::fromUtf8("emoji 🎉 ok"),
        QString("lone ") + QChar(0xD800) + " surrogate",
        QString("non-character ") + QChar(0xFFFE),
    };
    for (const QString& text : texts) {
        const QString encoded = encodeXlsxEscapes(text);
        for (qsizetype i = 0; i < encoded.size(); ++i) {
            const char16_t u = encoded.at(i).unicode();
            EXPECT_FALSE(u < 0x20 && u != '\t' && u != '\n') << text.toStdString();
            EXPECT_FALSE(u == 0xFFFE || u == 0xFFFF);
        }
        EXPECT_EQ(decodeXlsxEscapes(encoded), text) << text.toStdString();
    }
    EXPECT_EQ(encodeXlsxEscapes("a\rb"), "a_x000D_b");
}

} // namespace
