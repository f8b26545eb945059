#include "sim/ModemSession.h"
#include "FakeModemLine.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using sim::ModemBehaviour;
using sim::ModemIdentity;
using sim::ModemSession;
using simtest::FakeLine;
using simtest::Modem;

QByteArray ok(const QByteArray& info = {}) {
    return info.isEmpty() ? QByteArray("\r\nOK\r\n") : "\r\n" + info + "\r\n\r\nOK\r\n";
}

TEST(ModemSessionCommands, AnswersAsAModemDoes) {
    const struct {
        QByteArray command;
        QByteArray answer;
    } cases[] = {
        {"AT\r", ok()},
        {"at\r", ok()},
        {"AT+CGMI\r", ok("Virtual")},
        {"AT+GMI\r", ok("Virtual")},
        {"AT+CGMM\r", ok("VM-100")},
        {"AT+CGMR\r", ok("1.0.0")},
        {"AT+CGSN\r", ok("490154203237518")},
        {"AT+CIMI\r", ok("001010123456789")},
        {"AT+CCID\r", ok("+CCID: 8944901542032375182")}, // "894", the IMEI, a Luhn check digit
        {"AT+CCID?\r", ok("+CCID: 8944901542032375182")},
        {"AT+CCID=?\r", ok()},
        {"AT+QCCID\r", "\r\nERROR\r\n"}, // other makers' commands
        {"AT^ICCID?\r", "\r\nERROR\r\n"},
        {"AT+CBC\r", ok("+CBC: 0,80")},
        {"AT+CSQ\r", ok("+CSQ: 20,99")},
        {"AT+COPS?\r", ok("+COPS: 0,0,\"Net One\",0")},
        {"AT+CSCA?\r", ok("+CSCA: \"+447700900123\",145")},
        {"AT+CSMS=?\r", ok("+CSMS: (0,1)")},
        {"AT+CSMS=0\r", ok("+CSMS: 1,1,1")},
        {"AT+CMGF=?\r", ok("+CMGF: (0,1)")},
        {"AT+CMGF?\r", ok("+CMGF: 0")},
        {"AT+CSCS?\r", ok("+CSCS: \"IRA\"")},
        {"AT+CSCS=?\r", ok("+CSCS: (\"GSM\",\"IRA\",\"8859-1\",\"UTF-8\",\"UCS2\",\"HEX\")")},
        {"AT+CSMP?\r", ok("+CSMP: 17,167,0,0")},
        {"AT+CMMS=2\r", ok()},
        {"AT+CMGS=?\r", ok()},
        {"AT+CFUN?\r", ok("+CFUN: 1")},
        {"AT+CPIN?\r", ok("+CPIN: READY")},
        {"AT&F\r", ok()},
        {"ATZ\r", ok()},
        {"AT+CSQ;+CBC\r", "\r\n+CSQ: 20,99\r\n\r\n+CBC: 0,80\r\n\r\nOK\r\n"},
        {"AT+CSQ;+NOPE\r", "\r\n+CSQ: 20,99\r\n\r\nERROR\r\n"}, // the rest of the line is dropped
        {"AT+NOPE\r", "\r\nERROR\r\n"},
        {"ATD123;\r", "\r\nERROR\r\n"},         // no voice calls
        {"AT+CSCA=\"+4477\r", "\r\nERROR\r\n"}, // unclosed quote
        {"AT+CMGF=2\r", "\r\n+CMS ERROR: 303\r\n"},
        {"AT+CSMP=17,167,0,300\r", "\r\n+CMS ERROR: 305\r\n"},
        {"AT+CMGS=3\r", "\r\n+CMS ERROR: 304\r\n"},          // shorter than any TPDU
        {"AT+CMGS=\"+12345\"\r", "\r\n+CMS ERROR: 304\r\n"}, // a number in PDU mode
        {"hello\r", ""},                                     // not a command: ignored
        {"\r", ""},
    };
    for (const auto& c : cases) {
        Modem modem;
        EXPECT_EQ(modem.send(c.command), c.answer) << c.command.constData();
    }
}

TEST(ModemSessionCommands, BehaviourAndIdentityChangeTheAnswers) {
    const auto with = [](std::function<void(ModemBehaviour&)> change) {
        ModemBehaviour b = Modem::quiet();
        change(b);
        return b;
    };
    ModemIdentity ucs2Smsc;
    ucs2Smsc.smsc = "+44";
    ucs2Smsc.smscAsUcs2 = true;
    ModemIdentity unregistered;
    unregistered.operatorName.clear();
    unregistered.batteryState = 1;
    unregistered.rssi = 99;
    ModemIdentity padded; // answered as given, padding and all
    padded.iccid = "8944100000000000012F";
    ModemIdentity otherImei; // another IMEI, another SIM
    otherImei.imei = "356789123456789";

    using Exchange = std::pair<QByteArray, QByteArray>; // a command and its answer
    const struct {
        ModemBehaviour behaviour;
        ModemIdentity identity;
        QList<Exchange> exchanges; // on one modem, in order
    } cases[] = {
        {with([](auto& b) { b.undefinedIdentity = true; }),
         {},
         {{"AT+GMI\r", ok("Undefined")},
          {"AT+GSN\r", ok("Undefined")},
          {"AT+CGMI\r", ok("Virtual")},
          {"AT+CGSN\r", ok("490154203237518")}}},
        {with([](auto& b) { b.cmgsTestAnswersError = true; }), {}, {{"AT+CMGS=?\r", "\r\nERROR\r\n"}}},
        {with([](auto& b) { b.modes = ModemBehaviour::Modes::PduOnly; }),
         {},
         {{"AT+CMGF=?\r", ok("+CMGF: (0)")}, {"AT+CMGF=1\r", "\r\n+CMS ERROR: 303\r\n"}}},
        {with([](auto& b) { b.modes = ModemBehaviour::Modes::TextOnly; }),
         {},
         {{"AT+CMGF=?\r", ok("+CMGF: (1)")},
          {"AT+CMGF?\r", ok("+CMGF: 1")},
          {"AT+CMGF=0\r", "\r\n+CMS ERROR: 303\r\n"}}},
        {with([](auto& b) { b.silent = true; }), {}, {{"AT\r", ""}, {"AT+CMGS=12\r", ""}}},
        {with([](auto& b) { b.echoOnly = b.echo = true; }), {}, {{"AT\r\n", "AT\r\n"}}},
        {with([](auto& b) {
             b.scriptedAnswers.insert("AT+CMGS=?", "\r\nCOMMAND ERROR\r\n");
             b.scriptedAnswers.insert("AT+CSQ", "\r\n+CSQ: 1"); // a truncated answer
         }),
         {},
         {{"AT+CMGS=?\r", "\r\nCOMMAND ERROR\r\n"},
          {"AT+CSQ\r", "\r\n+CSQ: 1"},
          {"AT+CBC\r", ok("+CBC: 0,80")}}},
        {Modem::quiet(), ucs2Smsc, {{"AT+CSCA?\r", ok("+CSCA: \"002B00340034\",145")}}},
        {with([](auto& b) { b.iccidUnreadable = true; }),
         {},
         {{"AT+CCID\r", "\r\nERROR\r\n"}, {"AT+CGSN\r", ok("490154203237518")}}},
        {Modem::quiet(), padded, {{"AT+CCID\r", ok("+CCID: 8944100000000000012F")}}},
        {Modem::quiet(), otherImei, {{"AT+CCID\r", ok("+CCID: 8943567891234567899")}}},
        {Modem::quiet(),
         unregistered,
         {{"AT+COPS?\r", ok("+COPS: 0")}, {"AT+CBC\r", ok("+CBC: 1,80")}, {"AT+CSQ\r", ok("+CSQ: 99,99")}}},
    };
    for (const auto& c : cases) {
        Modem modem(c.behaviour, c.identity);
        for (const auto& [command, answer] : c.exchanges)
            EXPECT_EQ(modem.send(command), answer) << command.constData();
    }
}

TEST(ModemSessionCommands, SettingsPersistAndResetWithTheFactoryProfile) {
    const struct {
        QList<QByteArray> script;
        QByteArray command;
        QByteArray answer;
    } cases[] = {
        {{"AT+CMGF=1\r"}, "AT+CMGF?\r", ok("+CMGF: 1")},
        {{"AT+CMGF=1\r", "AT&F\r"}, "AT+CMGF?\r", ok("+CMGF: 0")},
        {{"AT+CSCS=\"ucs2\"\r"}, "AT+CSCS?\r", ok("+CSCS: \"UCS2\"")},
        {{"AT+CSCA=\"+919876543210\",145\r"}, "AT+CSCA?\r", ok("+CSCA: \"+919876543210\",145")},
        {{"AT+CSCA=\"919876543210\",145\r"}, "AT+CSCA?\r", ok("+CSCA: \"+919876543210\",145")},
        {{"AT+CSCA=\"0123\",129\r"}, "AT+CSCA?\r", ok("+CSCA: \"0123\",129")},
        // under UCS2 the number travels as hex both ways
        {{"AT+CSCS=\"UCS2\"\r", "AT+CSCA=\"002B0034\",145\r"}, "AT+CSCA?\r", ok("+CSCA: \"002B0034\",145")},
        {{"AT+CSCS=\"UCS2\"\r", "AT+CSCA=\"002B0034\",145\r", "AT+CSCS=\"IRA\"\r"},
         "AT+CSCA?\r",
         ok("+CSCA: \"+4\",145")},
        {{"AT+CSMP=17,255,0,8\r"}, "AT+CSMP?\r", ok("+CSMP: 17,255,0,8")},
        {{"AT+CMEE=1\r"}, "AT+CSCS=\"KOI8\"\r", "\r\n+CME ERROR: 4\r\n"},
        {{"AT+CMEE=2\r"}, "AT+CSCS=\"KOI8\"\r", "\r\n+CME ERROR: operation not supported\r\n"},
        {{}, "AT+CSCS=\"KOI8\"\r", "\r\nERROR\r\n"},
        {{"AT+CFUN=0\r"}, "AT+CMGS=20\r", "\r\n+CMS ERROR: 331\r\n"},
    };
    for (const auto& c : cases) {
        Modem modem;
        for (const QByteArray& step : c.script)
            modem.send(step);
        EXPECT_EQ(modem.send(c.command), c.answer) << c.script.value(0).constData() << c.command.constData();
    }
}

TEST(ModemSessionEcho, EchoFollowsAteAndTheBehaviour) {
    Modem modem(ModemBehaviour{});
    EXPECT_EQ(modem.send("AT\r"), QByteArray("AT\r") + ok());
    EXPECT_EQ(modem.send("ATE0\r"), QByteArray("ATE0\r") + ok());
    EXPECT_EQ(modem.send("AT\r"), ok());
    EXPECT_EQ(modem.send("ATZ\r"), ok());
    EXPECT_EQ(modem.send("AT\r"), QByteArray("AT\r") + ok()); // the profile echoes again
    modem.behaviour.echo = false;
    EXPECT_EQ(modem.send("AT\r"), ok());
    // characters arrive one by one, as typed in a terminal; backspace edits the line
    modem.behaviour.echo = true;
    QByteArray typed;
    for (const char c : QByteArray("ATX\bE0\r"))
        typed += modem.send(QByteArray(1, c));
    EXPECT_EQ(typed, QByteArray("ATX\bE0\r") + ok());
    EXPECT_EQ(modem.line.lines.last(), QStringLiteral("ATE0"));
}

TEST(ModemSessionPdu, PromptInputAndResult) {
    Modem modem(ModemBehaviour{});
    EXPECT_EQ(modem.send("ATE1\r"), QByteArray("ATE1\r") + ok());
    EXPECT_EQ(modem.send("AT+CMGS=12\r"), QByteArray("AT+CMGS=12\r\r\n> "));
    // the PDU is echoed as typed; the answer follows Ctrl-Z after the network delay
    EXPECT_EQ(modem.send("00110005912143F5"), QByteArray("00110005912143F5"));
    EXPECT_EQ(modem.send("0000FF0141\x1a"), QByteArray("0000FF0141\r\n+CMGS: 1\r\n\r\nOK\r\n"));
    EXPECT_EQ(modem.line.networkWaits, QList<int>{200});
    EXPECT_EQ(modem.send("\r\n"), QByteArray("\r\n")); // the line end after Ctrl-Z is an empty line
    ASSERT_EQ(modem.line.parts.size(), 1);
    EXPECT_EQ(modem.line.parts.at(0).pduHex, QStringList{"00110005912143F50000FF0141"});
    EXPECT_EQ(modem.line.lines, (QStringList{"ATE1", "AT+CMGS=12"}));
}

TEST(ModemSessionPdu, RefusalsAndReferences) {
    const QByteArray goodPdu = "00110005912143F50000FF0141";
    const struct {
        const char* name;
        QByteArray length;
        QByteArray body;
        QByteArray answer;
        int accepted;
        int waits;
    } cases[] = {
        {"accepted", "12", goodPdu, "\r\n+CMGS: 1\r\n\r\nOK\r\n", 1, 1},
        {"line breaks inside the hex are skipped", "12", "00110005912143F5\r\n0000FF0141",
         "\r\n+CMGS: 1\r\n\r\nOK\r\n", 1, 1},
        {"length counts the SMSC octet", "13", goodPdu, "\r\n+CMS ERROR: 304\r\n", 0, 0},
        {"not hex", "12", "00110005912143F50000FF01ZZ", "\r\n+CMS ERROR: 304\r\n", 0, 0},
        {"refused number", "12", "00110005912143F50000FF0141", "\r\n+CMS ERROR: 38\r\n", 0, 1},
    };
    for (const auto& c : cases) {
        ModemBehaviour b = Modem::quiet();
        if (QByteArray(c.name) == "refused number")
            b.cmsErrorForNumber.insert("12345", 38); // matches with or without "+"
        Modem modem(b);
        modem.send("AT+CMGS=" + c.length + "\r");
        EXPECT_EQ(modem.send(c.body + "\x1a"), c.answer) << c.name;
        EXPECT_EQ(modem.line.parts.size(), c.accepted) << c.name;
        EXPECT_EQ(modem.line.networkWaits.size(), c.waits) << c.name;
        EXPECT_EQ(modem.send("AT\r"), ok()) << c.name << ": back in command mode";
    }

    Modem modem;
    for (int i = 1; i <= 3; ++i) {
        modem.send("AT+CMGS=12\r");
        EXPECT_EQ(modem.send(goodPdu + "\x1a"), "\r\n+CMGS: " + QByteArray::number(i) + "\r\n\r\nOK\r\n");
    }
    modem.send("AT+CMGS=12\r");
    EXPECT_EQ(modem.send(goodPdu.left(10) + "\x1b"), ok()); // escape abandons the message
    EXPECT_EQ(modem.line.parts.size(), 3);
}

TEST(ModemSessionPdu, UnplugsAfterTheGivenNumberOfAcceptedParts) {
    ModemBehaviour b = Modem::quiet();
    b.unplugAfterParts = 2;
    Modem modem(b);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(modem.line.hangUps, 0);
        modem.send("AT+CMGS=12\r");
        modem.send("00110005912143F50000FF0141\x1a");
    }
    EXPECT_EQ(modem.line.hangUps, 1);
    EXPECT_EQ(modem.line.parts.size(), 2); // the last part counts: it was accepted, then the line went
}

TEST(ModemSessionText, CharacterSetsAndCodingDecideTheText) {
    const struct {
        const char* cscs;
        int dcs;
        QByteArray body;
        QString text;
        QByteArray answer;
    } cases[] = {
        {"IRA", 0, "Hello", "Hello", "\r\n+CMGS: 1\r\n\r\nOK\r\n"},
        {"GSM", 0, "Price: $5 @ 10_", "Price: ¤5 ¡ 10§", {}}, // bytes are GSM codes, not ASCII
        {"GSM", 0, "\x1b\x65 \x01", "€ £", {}},
        {"GSM", 0, "caf\xc3\xa9", "caf??", {}}, // UTF-8 is not GSM
        {"UTF-8", 0, "caf\xc3\xa9 \xe2\x82\xac", "café €", {}},
        {"UTF-8", 0, "\xd0\x9f\xd1\x80", "??", {}}, // not in the 7-bit alphabet
        {"8859-1", 0, "\xe9", "é", {}},
        {"UCS2", 8, "041F0440", "Пр", {}},
        {"UCS2", 0, "00480069", "Hi", {}},
        {"HEX", 8, "041F0440", "Пр", {}},
        {"HEX", 0, "48691B65", "Hi€", {}},
        {"IRA", 0, "line1\rline2", "line1\rline2", "\r\n> \r\n+CMGS: 1\r\n\r\nOK\r\n"},
        {"UCS2", 8, "041F044", "", "\r\n+CMS ERROR: 305\r\n"}, // not whole code units
        {"IRA", 0, QByteArray(160, 'a'), QString(160, u'a'), {}},
        {"IRA", 0, QByteArray(161, 'a'), "", "\r\n+CMS ERROR: 305\r\n"},
        {"UTF-8", 0, QByteArray(80, '{').append(QByteArray(1, 'x')), "",
         "\r\n+CMS ERROR: 305\r\n"}, // 161 septets
        {"UCS2", 8, QByteArray(70 * qsizetype(4), '1'), QString(70, QChar(0x1111)), {}},
        {"UCS2", 8, QByteArray(71 * qsizetype(4), '1'), "", "\r\n+CMS ERROR: 305\r\n"},
    };
    for (const auto& c : cases) {
        Modem modem;
        modem.send("AT+CMGF=1\r");
        modem.send(QByteArray("AT+CSCS=\"") + c.cscs + "\"\r");
        modem.send("AT+CSMP=17,167,0," + QByteArray::number(c.dcs) + "\r");
        EXPECT_EQ(modem.send("AT+CMGS=\"+12345\"\r"), QByteArray("\r\n> ")) << c.cscs;
        const QByteArray answer = modem.send(c.body + "\x1a");
        const QByteArray expected = c.answer.isEmpty() ? QByteArray("\r\n+CMGS: 1\r\n\r\nOK\r\n") : c.answer;
        EXPECT_EQ(answer, expected) << c.cscs << " " << c.body.left(20).toHex().constData();
        if (expected.contains("+CMGS")) {
            ASSERT_EQ(modem.line.parts.size(), 1) << c.cscs;
            EXPECT_EQ(modem.line.parts.at(0).text, c.text) << c.cscs << " " << c.body.left(20).constData();
            EXPECT_EQ(modem.line.parts.at(0).dcs, c.dcs);
            EXPECT_EQ(modem.line.parts.at(0).mode, QStringLiteral("TEXT"));
        } else {
            EXPECT_TRUE(modem.line.parts.isEmpty()) << c.cscs;
        }
    }
}

TEST(ModemSessionText, DestinationAndServiceCentre) {
    const struct {
        QList<QByteArray> setup;
        QByteArray cmgs;
        QByteArray prompt;
        QString number;
        QString smsc;
    } cases[] = {
        {{}, "AT+CMGS=\"+447700900555\"\r", "\r\n> ", "+447700900555", "+447700900123"},
        {{}, "AT+CMGS=\"0770\",129\r", "\r\n> ", "0770", "+447700900123"},
        {{"AT+CSCA=\"+15550001\",145\r"}, "AT+CMGS=\"+1\"\r", "\r\n> ", "+1", "+15550001"},
        {{"AT+CSCS=\"UCS2\"\r"}, "AT+CMGS=\"002B0031\"\r", "\r\n> ", "+1", "+447700900123"},
        {{"AT+CSCS=\"UCS2\"\r"},
         "AT+CMGS=\"+4477\"\r",
         "\r\n> ",
         "+4477",
         "+447700900123"},                                          // plain digits too
        {{}, "AT+CMGS=+4477\r", "\r\n+CMS ERROR: 305\r\n", "", ""}, // unquoted
        {{}, "AT+CMGS=\"\"\r", "\r\n+CMS ERROR: 305\r\n", "", ""},
    };
    for (const auto& c : cases) {
        Modem modem;
        modem.send("AT+CMGF=1\r");
        for (const QByteArray& step : c.setup)
            modem.send(step);
        ASSERT_EQ(modem.send(c.cmgs), c.prompt) << c.cmgs.constData();
        if (c.number.isEmpty())
            continue;
        const QByteArray body = modem.session.settings().cscs == u"UCS2" ? "0041" : "A";
        modem.send(body + "\x1a");
        ASSERT_EQ(modem.line.parts.size(), 1) << c.cmgs.constData();
        EXPECT_EQ(modem.line.parts.at(0).number, c.number);
        EXPECT_EQ(modem.line.parts.at(0).smsc, c.smsc);
    }
}

} // namespace
