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

TEST(NumberRules, CheckPhNumberAllowsCommaOnlyInTestMode) {
    EXPECT_TRUE(Check_Ph_Number("123,456", false));
    EXPECT_FALSE(Check_Ph_Number("123,456", true));
    EXPECT_FALSE(Check_Ph_Number(" 12-3 ", false)); // trimmed first; "-" is allowed
    EXPECT_TRUE(Check_Ph_Number("", false));
}

} // namespace
