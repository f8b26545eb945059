// Judging answers as modems give them: echoes, blank lines, unsolicited lines, error forms
// and lines cut short.
#include "QStringPrinting.h"

#include "gsm/MFCSMS.h"
#include "gsm/ModemAnswers.h"

#include <gtest/gtest.h>

namespace {

using namespace ModemAnswers;

TEST(ModemAnswers, ReadRule) {
    const struct {
        const char* name;
        QString answer;
        QString expected;
        bool holds;
    } cases[] = {
        {"plain OK", "\r\nOK\r\n", "\r\nOK\r\n", true},
        {"echo, blank line, OK", "AT\r\r\n\r\nOK\r\n", "\r\nOK\r\n", true},
        {"unsolicited line before OK", "\r\n+CREG: 1\r\n\r\nOK\r\n", "\r\nOK\r\n", true},
        {"prompt", "\r\n> ", ">\r\n", true},
        {"echoed command then prompt", "AT+CMGS=23\r\r\n> ", ">\r\n", true},
        {"ERROR fails whatever was expected", "\r\nERROR\r\n", "ERROR", false},
        {"ERROR fails a prompt read", "\r\n> \r\n+CMS ERROR: 304\r\n", ">\r\n", false},
        {"CME error", "\r\n+CME ERROR: 10\r\n", "\r\nOK\r\n", false},
        {"empty", "", "\r\nOK\r\n", false},
        {"blank lines only", "\r\n\r\n", "\r\nOK\r\n", false},
        {"truncated before OK", "\r\n+CMGS: 12\r\n", "\r\nOK\r\n", false},
        {"case matters", "\r\nok\r\n", "\r\nOK\r\n", false},
        {"only an echo", "AT\r", "\r\nOK\r\n", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(answerHolds(c.answer, c.expected), c.holds) << c.name;
}

TEST(ModemAnswers, ErrorText) {
    const struct {
        QString answer;
        QString expected;
    } cases[] = {
        {"ERROR", "ERROR"},
        {"\r\nERROR\r\n", "ERROR"},
        {"+CMS ERROR: 38", "+CMS ERROR: 38"},
        {"AT+CMGS=23\r\r\n> 0011000B\r\n+CMS ERROR: 38\r\n", "+CMS ERROR: 38"},
        {"+CME ERROR: SIM not inserted", "+CME ERROR: SIM not inserted"},
        {"+CMS ERROR: 500 +CME ERROR: 3", "+CMS ERROR: 500 +CME ERROR: 3"},
        {"COMMAND ERROR", "+CMS ERROR:500"},
        {"\r\n+CMGS: 7\r\n\r\nERROR", "+CMS ERROR:500"},
        {"\r\n+CMGS: 7\r\n\r\nOK\r\n", ""},
        {"> ", ""},
        {"", ""},
        {"error", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(smsErrorText(c.answer), c.expected) << c.answer.toStdString();
        EXPECT_EQ(MFCSMS::Get_SMS_Error(c.answer), c.expected);
    }
}

TEST(ModemAnswers, MessageFormats) {
    const struct {
        QString answer;
        int supported;
        SmsFormat selected;
    } cases[] = {
        {"+CMGF: (0,1)\r\n\r\nOK", 3, SmsFormat::Both},
        {"+CMGF: (0-1)\r\n\r\nOK", 3, SmsFormat::Both},
        {"AT+CMGF=?\r\r\n+CMGF: (0)\r\n\r\nOK", 1, SmsFormat::Pdu},
        {"+CMGF: (1)\r\n\r\nOK", 2, SmsFormat::Text},
        {"+CMGF: 1\r\n\r\nOK", 2, SmsFormat::Text},
        {"+CMGF: 0\r\n\r\nOK", 1, SmsFormat::Pdu},
        {"OK", 0, SmsFormat::Unknown},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(supportedSmsFormats(c.answer), c.supported) << c.answer.toStdString();
        EXPECT_EQ(selectedSmsFormat(c.answer), c.selected) << c.answer.toStdString();
    }
}

TEST(ModemAnswers, FinalResultEndsTheAnswerWait) {
    const struct {
        const char* name;
        QString arrived;
        bool final;
    } cases[] = {
        {"nothing yet", "", false},
        {"message reference, no result yet", "\r\n+CMGS: 12\r\n", false},
        {"reference and OK", "\r\n+CMGS: 12\r\n\r\nOK\r\n", true},
        {"OK still arriving", "\r\n+CMGS: 12\r\n\r\nOK", false},
        {"refusal", "\r\n+CMS ERROR: 38\r\n", true},
        {"equipment error", "\r\n+CME ERROR: 3\r\n", true},
        {"bare error", "\r\nERROR\r\n", true},
        {"vendor error", "COMMAND ERROR\r\n", true},
        {"echoed body then Ctrl-Z", "hello world\x1A", false},
        {"echoed body that reads OK mid-line", "it is OK now\r\n", false},
        {"no carrier", "\r\nNO CARRIER\r\n", true},
        {"command not supported", "AT+CBC\r\r\nCOMMAND NOT SUPPORT\r\n", true},
        {"echo only", "AT+CMEE=1\r\r\n", false},
        {"echo of a command naming an error", "AT+CMEE=ERROR\r\r\n", false},
        {"prompt not awaited", "\r\n> ", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(holdsFinalResult(c.arrived), c.final) << c.name;

    const struct {
        const char* name;
        QString arrived;
        bool final;
    } prompts[] = {
        {"prompt", "\r\n> ", true},
        {"echo then prompt", "AT+CMGS=23\r\r\n> ", true},
        {"echo only", "AT+CMGS=23\r", false},
        {"refused instead", "AT+CMGS=23\r\r\n+CMS ERROR: 302\r\n", true},
        {"greater-than inside a line", "\r\n+CSCS: >\"GSM\"", false},
    };
    for (const auto& c : prompts)
        EXPECT_EQ(holdsFinalResult(c.arrived, true), c.final) << c.name;
}

TEST(ModemAnswers, UnsolicitedLinesTakenOut) {
    const struct {
        const char* modem;
        QString command;
        QString answer;
        QString kept;
        QStringList removed;
    } cases[] = {
        {"USB stick reporting signal",
         "AT+CGMI\r",
         "\r\n^RSSI: 14\r\n\r\nMaker Ltd\r\n\r\nOK\r\n",
         "\r\nMaker Ltd\r\n\r\nOK\r\n",
         {"^RSSI: 14"}},
        {"USB stick, mode and boot reports",
         "AT\r",
         "^MODE: 5,4\r\n^BOOT: 1,0,0,4\r\n\r\nOK\r\n",
         "OK\r\n",
         {"^MODE: 5,4", "^BOOT: 1,0,0,4"}},
        {"USB stick asked its own report",
         "AT^SYSINFO\r",
         "\r\n^SYSINFO: 2,3,0,5,1\r\n\r\nOK\r\n",
         "\r\n^SYSINFO: 2,3,0,5,1\r\n\r\nOK\r\n",
         {}},
        {"module registering",
         "AT+CSQ\r",
         "\r\n+CREG: 1\r\n\r\n+CSQ: 20,99\r\n\r\nOK\r\n",
         "\r\n+CSQ: 20,99\r\n\r\nOK\r\n",
         {"+CREG: 1"}},
        {"module asked its registration",
         "AT+CREG?\r",
         "\r\n+CREG: 0,1\r\n\r\nOK\r\n",
         "\r\n+CREG: 0,1\r\n\r\nOK\r\n",
         {}},
        {"phone receiving a call and a message",
         "AT+CBC\r",
         "\r\nRING\r\n\r\n+CLIP: \"+447700900001\",145\r\n\r\n+CMTI: \"SM\",3\r\n\r\n+CBC: "
         "0,80\r\n\r\nOK\r\n",
         "\r\n+CBC: 0,80\r\n\r\nOK\r\n",
         {"RING", "+CLIP: \"+447700900001\",145", "+CMTI: \"SM\",3"}},
        {"report in the middle of a submission answer",
         "AT+CMGS=23\r",
         "\r\n+CMGS: 7\r\n\r\n+CDSI: \"SM\",1\r\n\r\nOK\r\n",
         "\r\n+CMGS: 7\r\n\r\nOK\r\n",
         {"+CDSI: \"SM\",1"}},
        {"status report in PDU mode takes its PDU line along",
         "AT+CMGS=23\r",
         "\r\n+CMGS: 8\r\n\r\n+CDS: 25\r\n0006070C9144770090010000\r\n\r\nOK\r\n",
         "\r\n+CMGS: 8\r\n\r\nOK\r\n",
         {"+CDS: 25", "0006070C9144770090010000"}},
        {"a report head whose PDU has not come yet leaves the next answer line alone",
         "AT+CMGF?\r",
         "\r\n+CDS: 25\r\nOK\r\n",
         "\r\nOK\r\n",
         {"+CDS: 25"}},
        {"network message, command unknown",
         "",
         "\r\n+CUSD: 0,\"Balance 5\",15\r\n\r\nOK\r\n",
         "\r\nOK\r\n",
         {"+CUSD: 0,\"Balance 5\",15"}},
        {"echo and answer untouched",
         "AT+CGMM\r",
         "AT+CGMM\r\r\nVM-100\r\n\r\nOK\r\n",
         "AT+CGMM\r\r\nVM-100\r\n\r\nOK\r\n",
         {}},
        // Modules still starting when the port is opened report their progress between answers.
        {"SIM800: SIM and SMS ready while the formats are asked",
         "AT+CMGF=?\r",
         "\r\n+CPIN: READY\r\n\r\n+CMGF: (0)\r\n\r\nCall Ready\r\n\r\nSMS Ready\r\n\r\nOK\r\n",
         "\r\n+CMGF: (0)\r\n\r\nOK\r\n",
         {"+CPIN: READY", "Call Ready", "SMS Ready"}},
        {"EC25: radio and SIM up inside the model's answer",
         "AT+CGMM\r",
         "\r\nRDY\r\n\r\n+CFUN: 1\r\n\r\nEC25\r\n\r\n+QUSIM: 1\r\n\r\n+QIND: SMS DONE\r\n\r\nOK\r\n",
         "\r\nEC25\r\n\r\nOK\r\n",
         {"RDY", "+CFUN: 1", "+QUSIM: 1", "+QIND: SMS DONE"}},
        {"BG96 and SIM7600: their own words for the same",
         "AT+CMGF?\r",
         "\r\nAPP RDY\r\n\r\n+CMGF: 0\r\n\r\nSMS DONE\r\n\r\nPB DONE\r\n\r\nOK\r\n",
         "\r\n+CMGF: 0\r\n\r\nOK\r\n",
         {"APP RDY", "SMS DONE", "PB DONE"}},
        {"the SIM's state asked for is the answer",
         "AT+CPIN?\r",
         "\r\n+CPIN: READY\r\n\r\nOK\r\n",
         "\r\n+CPIN: READY\r\n\r\nOK\r\n",
         {}},
        {"Wavecom: a general indication",
         "AT+CGMR\r",
         "\r\n+WIND: 4\r\n\r\n657e09gg.Q2403A\r\n\r\nOK\r\n",
         "\r\n657e09gg.Q2403A\r\n\r\nOK\r\n",
         {"+WIND: 4"}},
        {"a word that merely starts like a report",
         "AT+CGMI\r",
         "\r\nRINGTONE Ltd\r\n\r\nOK\r\n",
         "\r\nRINGTONE Ltd\r\n\r\nOK\r\n",
         {}},
    };
    for (const auto& c : cases) {
        QStringList removed;
        EXPECT_EQ(withoutUnsolicited(c.answer, c.command, &removed), c.kept) << c.modem;
        EXPECT_EQ(removed, c.removed) << c.modem;
    }
}

TEST(ModemAnswers, MessageReferenceOnlyFromTheSubmissionAnswer) {
    const struct {
        QString answer;
        std::optional<int> reference;
    } cases[] = {
        {"+CMGS: 17\r\n\r\nOK", 17},
        {"AT+CMGS=23\r\r\n> \r\n+CMGS: 0\r\nOK", 0},        // echo and prompt before it
        {"+CMGS: 255,\"26/11/23,12:00:00+00\"\r\nOK", 255}, // phase 2+: the service centre's time
        {"OK", std::nullopt},
        {"+CMGS:\r\nOK", std::nullopt},
        {"+CMGL: 3\r\nOK", std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(messageReference(c.answer), c.reference) << c.answer.toStdString();
}

TEST(ModemAnswers, CommandsBuiltFromSettings) {
    EXPECT_EQ(textModeParametersCommand(false, false), "AT+CSMP=17,255,0,0\r\n");
    EXPECT_EQ(textModeParametersCommand(false, true), "AT+CSMP=17,255,0,8\r\n");
    EXPECT_EQ(textModeParametersCommand(true, false), "AT+CSMP=17,255,0,16\r\n");
    EXPECT_EQ(textModeParametersCommand(true, true), "AT+CSMP=17,255,0,24\r\n");
    EXPECT_EQ(textModeParametersCommand(false, false, true), "AT+CSMP=49,255,0,0\r\n"); // report asked
    EXPECT_EQ(serviceCentreCommand("+447785016005"), "AT+CSCA=\"+447785016005\",145\r\n");
    EXPECT_EQ(serviceCentreCommand("07785016005"), "AT+CSCA=\"07785016005\",129\r\n");
}

} // namespace
