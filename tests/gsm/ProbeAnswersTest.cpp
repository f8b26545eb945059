// Identification answers as modems give them, echo and framing included.
#include "gsm/ProbeAnswers.h"

#include <gtest/gtest.h>

namespace {

using namespace ProbeAnswers;

TEST(ProbeAnswers, CleaningStripsEchoFramingAndCommandWords) {
    const struct {
        const char* answer;
        const QStringList* words;
        bool keepQuotes;
        const char* expected;
    } cases[] = {
        {"AT+CSQ\r\r\n+CSQ: 14,0\r\n\r\nOK", &kSignalWords, false, "14,0"},
        {"+CGMI: \"QUALCOMM INCORPORATED\"\r\n\r\nOK", &kMakerWords, false, "QUALCOMM INCORPORATED"},
        {"huawei\r\n\r\nOK", &kMakerWords, false, "huawei"},
        {"+COPS: 0,0,\"Net One\",2\r\n\r\nOK", &kOperatorWords, true, "0,0,\"Net One\",2"},
        {"AT+CSCA?\\r\\n+CSCA: \"+447700900123\",145\\r\\nOK", &kSmscWords, true, "\"+447700900123\",145"},
        {"<ERROR>", &kSignalWords, false, "ERROR"},
        {"", &kSignalWords, false, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(clean(c.answer, *c.words, c.keepQuotes), c.expected) << c.answer;
}

TEST(ProbeAnswers, SignalClasses) {
    const struct {
        const char* answer;
        const char* text;
    } cases[] = {
        {"+CSQ: 99,99", "No signal"}, {"+CSQ: 14,0", "Medium (14)"}, {"+CSQ: 15,0", "Good (15)"},
        {"+CSQ: 19,0", "High (19)"},  {"+CSQ: 8,99", "Low (8)"},     {"+CSQ: 9,0", "Medium (9)"},
        {"+CSQ: 18,0", "Good (18)"},  {"+CSQ: 31,0", "High (31)"},   {"+CSQ: ,", "Low (0)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(signalText(clean(c.answer, kSignalWords)), c.text) << c.answer;
}

TEST(ProbeAnswers, BatteryStates) {
    const struct {
        const char* answer;
        const char* text;
    } cases[] = {
        {"+CBC: 1,80", "80% ( Charging )"},
        {"+CBC: 0,55", "55%"},
        {"+CBC: 2,0", "Device does not have a battery connected."},
        {"+CBC: 3,0", "Recognized power fault."},
        {"+CBC: 5,40", "40"},
        {"+CBC: 0", "%"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(batteryText(clean(c.answer, kBatteryWords)), c.text) << c.answer;
}

TEST(ProbeAnswers, IdentityFields) {
    EXPECT_EQ(imeiDigits(clean("AT+CGSN\r\r\n+CGSN: IMEI 490154203237518\r\n\r\nOK", kImeiWords)),
              "490154203237518");
    EXPECT_EQ(imeiDigits(clean("356938035643809\r\nOK", kImeiWords)), "356938035643809");
    EXPECT_EQ(modelName(clean("+CGMM: MODEL=E173", kModelWords)), "E173");
    EXPECT_EQ(modelName(clean("E3372", kModelWords)), "E3372");
    EXPECT_EQ(firstQuoted(clean("+COPS: 0,0,\"Net One\",2", kOperatorWords, true)), "Net One");
    EXPECT_EQ(firstQuoted("0"), "0"); // registered nowhere: no quotes
}

TEST(ProbeAnswers, ServiceCentreNumbers) {
    const struct {
        const char* answer;
        const char* number;
    } cases[] = {
        {"+CSCA: \"+447700900123\",145", "+447700900123"},
        {"+CSCA: \"002B00340034\",145", "+44"},            // UCS2 hex
        {"+CSCA: \"2B1A0D\",145", "+44"},                  // packed 7-bit hex of "+44"
        {"+CSCA: \"447700900123\", 145", "+447700900123"}, // international type with a space
        {"+CSCA: \"447700900123\",145", "+447700900123"},  // ... and without it, as most modems write it
        {"+CSCA: \"447700900123\",129", "447700900123"},   // unknown type: as it stands
        {"+CSCA: \"0031003200330034\",129", "1234"},       // UCS2 of a national number
        {"+CSCA: \"\",145", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(smscNumber(clean(c.answer, kSmscWords, true)), c.number) << c.answer;
}

// The SIM's number as each maker's command gives it; anything else reads as no number, so that
// a modem is never filed under a SIM it does not hold.
TEST(ProbeAnswers, IccidOfEachMakersAnswer) {
    const struct {
        const char* modem;
        const char* answer;
        const char* iccid;
    } cases[] = {
        {"3GPP, echo on", "AT+CCID\r\r\n+CCID: 8944100000000000012\r\n\r\nOK", "8944100000000000012"},
        {"3GPP, quoted", "+CCID: \"89441000000000000120\"\r\nOK", "89441000000000000120"},
        {"SIM file padding", "+CCID: 8944100000000000012F\r\nOK", "8944100000000000012"},
        {"padding in lower case", "+CCID: 8944100000000000012f\r\nOK", "8944100000000000012"},
        {"Quectel", "AT+QCCID\r\r\n+QCCID: 89860318760220195372\r\n\r\nOK", "89860318760220195372"},
        {"bare digits", "8944100000000000012\r\n\r\nOK", "8944100000000000012"},
        {"SIMCom SIM7600", "AT+CICCID\r\r\n+ICCID: 89860318760220195372\r\n\r\nOK", "89860318760220195372"},
        {"Huawei, swapped nibbles", "^ICCID: 98441000000000001032\r\nOK", "89440100000000000123"},
        {"swapped with padding", "^ICCID: 984410000000000010F2\r\nOK", "8944010000000000012"},
        {"among unsolicited lines", "^RSSI: 14\r\n+CCID: 8944100000000000012\r\n+CREG: 1\r\nOK",
         "8944100000000000012"},
        {"same number twice", "+CCID: 8944100000000000012\r\n8944100000000000012\r\nOK",
         "8944100000000000012"},
        {"two different numbers", "+CCID: 8944100000000000012\r\n8944100000000000013\r\nOK", ""},
        {"error", "ERROR", ""},
        {"no SIM", "+CME ERROR: 10", ""},
        {"too short", "+CCID: 894410000000000001\r\nOK", ""},
        {"too long", "+CCID: 894410000000000001234\r\nOK", ""},
        {"not a telecom number", "+CCID: 1244100000000000012\r\nOK", ""},
        {"letters inside", "+CCID: 89441000000A0000012\r\nOK", ""},
        {"padding inside", "+CCID: 89441000F00000000012\r\nOK", ""},
        {"the IMEI instead", "+CGSN: 490154203237518\r\nOK", ""},
        {"empty", "", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(iccidDigits(c.answer), c.iccid) << c.modem;
}

} // namespace
