#include "text/NumberRules.h"

#include <gtest/gtest.h>

namespace {

TEST(NumberRules, TypedNumbersAreNormalisedOrRefused) {
    const struct {
        const char* raw;
        const char* expected; // "" = refused
    } cases[] = {
        {"+91 98765-43210", "+919876543210"},
        {"91+9876543210", ""},
        {"(0)12.34,56", "0123456"},
        {"12345678901234567890", "12345678901234567890"}, // 20 digits
        {"123456789012345678901", ""},                    // 21 digits
        {"++44", ""},
        {"+", "+"}, // a lone plus passes every rule
        {"  \t ", ""},
        {"12a4", ""},
        {"12/34", ""},
        {"\xD9\xA1\xD9\xA2", ""}, // Arabic-Indic digits are not "0"-"9"
        {"[+44] 20 7946 0958", "+442079460958"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(validTypedNumber(QString::fromUtf8(c.raw)), QString::fromUtf8(c.expected)) << c.raw;
}

TEST(NumberRules, NumbersAsPeopleWriteThemAreNormalised) {
    const std::pair<const char*, const char*> cases[] = {
        {"4.47700900002E11", "447700900002"}, // as Java-based tools export numbers
        {"4.477009E+11", "447700900000"},
        {"1.5e3", "1500"},
        {"1.25E1", "125E1"}, // not a whole number: left as written, and refused later
        {"+44 (0)7700 900003", "+447700900003"},
        {"0044 (0) 20 7946 0958", "00442079460958"},
        {"(0)20 7946 0958", "02079460958"}, // no international prefix: the 0 is dialled
        {"+44\u00A07700\u202F900003", "+447700900003"},
        {"0770\u2011090\u20110456", "07700900456"},
        {"447700900003", "447700900003"},
    };
    for (const auto& [raw, expected] : cases)
        EXPECT_EQ(normaliseNumberText(QString::fromUtf8(raw)), QString::fromUtf8(expected)) << raw;
}

TEST(NumberRules, OnlyCellsThatLookLikePhoneNumbersAreCandidates) {
    const std::pair<const char*, bool> cases[] = {
        {"+44 7700 900123", true},
        {"07700900123", true},
        {"555 0100", true},
        {"4.47700900002E11", true},
        {"+44 (0)7700 900003", true},
        {"12345678901234567890", true},
        {"123456789012345678901", false},
        {"1", false},
        {"34", false},
        {"1250", false},
        {"123456", false},
        {"+1234567", true},
        {"+123456", true}, // short, but written as a number: refused and counted by the filter
        {"+44 12", true},
        {"+123", false},
        {"+", false},
        {"+12345678901234567890", true}, // a candidate; the insert filter refuses its length
        {"1250.00", false},
        {"12,50", false},
        {"1.250,00", false},
        {"2024-03-05", false},
        {"05/03/2024", false},
        {"5.3.2024", false},
        {"2024-03-05 10:00", false},
        {"Smith, John", false},
        {"Phone", false},
        {"", false},
        {"0770090012a", false},
        {"+44+7700900123", false},
    };
    for (const auto& [cell, phone] : cases)
        EXPECT_EQ(looksLikePhoneNumber(QString::fromUtf8(cell)), phone) << cell;
}

TEST(NumberRules, CheckPhNumberAllowsCommaOnlyInTestMode) {
    EXPECT_TRUE(Check_Ph_Number("123,456", false));
    EXPECT_FALSE(Check_Ph_Number("123,456", true));
    EXPECT_FALSE(Check_Ph_Number(" 12-3 ", false)); // trimmed first; "-" is allowed
    EXPECT_TRUE(Check_Ph_Number("", false));
}

} // namespace
