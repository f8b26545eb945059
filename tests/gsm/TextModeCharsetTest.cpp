#include "gsm/TextModeCharset.h"

#include "QStringPrinting.h"

#include <gtest/gtest.h>

namespace {

using Kind = TextModeCharset::Kind;

TEST(TextModeCharset, OfferedSetsAreReadFromTheAnswer) {
    EXPECT_EQ(TextModeCharsets::offered("+CSCS: (\"IRA\",\"GSM\",\"UCS2\")\r\nOK"),
              (QStringList{"IRA", "GSM", "UCS2"}));
    EXPECT_EQ(TextModeCharsets::offered("+CSCS: (\"8859-1\",\"hex\")"), (QStringList{"8859-1", "HEX"}));
    EXPECT_TRUE(TextModeCharsets::offered("").isEmpty());
}

TEST(TextModeCharset, TheSetFollowsTheTextAndWhatTheModemOffers) {
    const QStringList all = {"IRA", "GSM", "UCS2", "HEX"};
    const struct {
        const char* name;
        QStringList offered;
        QString text;
        std::optional<Kind> expected;
    } cases[] = {
        {"7-bit text under GSM", all, "Price {5}", Kind::Gsm},
        {"Cyrillic needs UCS2", all, "\u041F\u0440\u0438", Kind::Ucs2},
        {"Cyrillic through HEX", {"IRA", "GSM", "HEX"}, "\u041F\u0440\u0438", Kind::Hex16},
        {"Cyrillic without a 16-bit set", {"IRA", "GSM"}, "\u041F\u0440\u0438", std::nullopt},
        {"Xi would end the message under GSM", all, "\u039E", Kind::Hex7},
        {"Xi without HEX goes as UCS2", {"GSM", "UCS2"}, "\u039E", Kind::Ucs2},
        {"ASCII under IRA", {"IRA"}, "Hello, 100% #1", Kind::Ira},
        {"braces are not IRA-safe", {"IRA"}, "{x}", std::nullopt},
        {"accents are not IRA", {"IRA"}, "caf\u00E9", std::nullopt},
        {"nothing useful offered", {"8859-1"}, "Hi", std::nullopt},
        {"no list: plain text as the modem has it", {}, "Hi, 100% (ok)?", Kind::Unchanged},
        {"no list: @ differs between sets", {}, "a@b", std::nullopt},
    };
    for (const auto& c : cases) {
        const std::optional<TextModeCharset> chosen = TextModeCharsets::choose(c.offered, c.text);
        ASSERT_EQ(chosen.has_value(), c.expected.has_value()) << c.name;
        if (chosen) {
            EXPECT_EQ(chosen->kind, *c.expected) << c.name;
        }
    }
}

TEST(TextModeCharset, BodiesAndNumbersAsTyped) {
    EXPECT_EQ(TextModeCharset{Kind::Gsm}.body("@a{"), QString(QChar(0)) + "a" + QChar(27) + QChar(40));
    EXPECT_EQ(TextModeCharset{Kind::Hex7}.body("@a\u20AC"), "00611B65");
    EXPECT_EQ(TextModeCharset{Kind::Ucs2}.body("A\u0416"), "00410416");
    EXPECT_EQ(TextModeCharset{Kind::Hex16}.body("\U0001F600"), "D83DDE00");
    EXPECT_EQ(TextModeCharset{Kind::Ira}.body("Hi!"), "Hi!");
    EXPECT_EQ(TextModeCharset{Kind::Ucs2}.number("+44"), "002B00340034");
    EXPECT_EQ(TextModeCharset{Kind::Gsm}.number("+44"), "+44");
    EXPECT_EQ(TextModeCharset{Kind::Hex16}.name(), "HEX");
    EXPECT_TRUE(TextModeCharset{Kind::Hex16}.ucs2Coding());
    EXPECT_FALSE(TextModeCharset{Kind::Hex7}.ucs2Coding());
}

} // namespace
