// Module families as profiles: each built-in one is whole and names its sources; a session
// playing one answers as its maker's manual has it; a bad profile is refused, not half taken.
#include "sim/ModemProfile.h"
#include "FakeModemLine.h"
#include "sim/SimOptions.h"

#include "core/Clock.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <thread>

namespace {

using simtest::Modem;

struct Profiled {
    sim::ModemIdentity identity;
    sim::ModemBehaviour behaviour;
};

Profiled profiled(const QString& name) {
    Profiled p;
    QString error;
    EXPECT_TRUE(sim::ModemProfile::apply(name, p.identity, p.behaviour, &error)) << error.toStdString();
    p.behaviour.echo = false;
    p.behaviour.networkDelayMs = 0;
    return p;
}

TEST(ModemProfile, EveryFamilyIsBuiltInAndEveryDetailNamesItsManual) {
    const QStringList names = sim::ModemProfile::names();
    EXPECT_EQ(names,
              (QStringList{"bg96", "e173", "e3131", "ec25", "m35", "q2303", "sim7600", "sim800", "ublox"}));
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const QJsonObject root = QJsonDocument::fromJson(sim::ModemProfile::text(name)).object();
        EXPECT_EQ(root.value("name").toString(), name);
        const QString manual = root.value("manual").toString();
        EXPECT_FALSE(manual.isEmpty());
        // Each detail cites that manual, and what the session must do is there for every family.
        for (const char* key : {"identity", "echo", "prompt", "modes", "charsets", "answers", "indications",
                                "unknownCommands", "cmeTexts"}) {
            const QJsonObject detail = root.value(key).toObject();
            EXPECT_TRUE(detail.value("source").toString().startsWith(manual)) << key;
            EXPECT_TRUE(detail.contains("value")) << key;
        }
        Profiled p = profiled(name);
        EXPECT_NE(p.identity.manufacturer, "Virtual");
    }
}

TEST(ModemProfile, ASessionAnswersAsTheManualHasIt) {
    const struct {
        const char* profile;
        QByteArray command, answer;
    } cases[] = {
        {"sim800", "AT+CGMI\r", "\r\nSIMCOM_Ltd\r\n\r\nOK\r\n"},
        {"sim800", "ATI\r", "\r\nSIM800 R14.18\r\n\r\nOK\r\n"},
        {"sim800", "AT+QCCID\r", "\r\nERROR\r\n"},
        {"sim800", "AT+CMGF=1;+CMGS=\"+447700900555\"\r", "\r\n> "},
        // worded as its manual's table of CMS codes has them, not as the standard's
        {"sim800", "AT+CMGF=1;+CMEE=2;+CMGS=\"\"\r", "\r\n+CMS ERROR: invalid text mode\r\n"},
        {"sim800", "AT+CMGF=0;+CMEE=2;+CMGS=\"\"\r", "\r\n+CMS ERROR: invalid PDU mode\r\n"},
        {"sim7600", "AT+CGMR\r", "\r\n+CGMR: LE11B12SIM7600M22\r\n\r\nOK\r\n"},
        {"sim7600", "AT+CCID\r", "\r\nERROR\r\n"},
        {"sim7600", "AT+CICCID\r", "\r\n+ICCID: 8944901542032375182\r\n\r\nOK\r\n"},
        {"ec25", "ATI\r", "\r\nQuectel\r\n\r\nEC25\r\n\r\nRevision: EC25EFAR06A03M4G\r\n\r\nOK\r\n"},
        {"ec25", "AT+CSCS=?\r", "\r\n+CSCS: (\"GSM\",\"IRA\",\"UCS2\")\r\n\r\nOK\r\n"},
        {"ec25", "AT+CSCS=\"HEX\"\r", "\r\nERROR\r\n"}, // not among its sets
        {"m35", "AT+QCCID\r", "\r\n8944901542032375182\r\n\r\nOK\r\n"},
        {"e173", "AT^ICCID?\r", "\r\n^ICCID: 8944901542032375182\r\n\r\nOK\r\n"},
        {"e173", "AT+CGMM\r", "\r\nE173\r\n\r\nOK\r\n"},
        {"q2303", "AT+CCID\r", "\r\n+CCID: \"8944901542032375182\"\r\n\r\nOK\r\n"},
        {"ublox", "AT+CMGF=1;+CMGS=\"+447700900555\"\r", "\r\n>"}, // no space after the prompt
        {"ublox", "AT+CMGF=1;+CMEE=2;+CMGS=\"\"\r", "\r\n+CMS ERROR: invalid text mode parameter\r\n"},
        {"ublox", "AT+CMEE=1;+CMGS=\"\"\r", "\r\n+CMS ERROR: 304\r\n"}, // numeric, PDU mode,
        // The whole line fails at a command the modem does not know.
        {"e3131", "AT+CMGF=1;+CCID\r", "\r\nERROR\r\n"},
        {"q2303", "AT+CMEE=0;+CSCS=\"UTF-8\"\r", "\r\nERROR\r\n"}, // a set the simulator has, the module not
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.profile) + " " + c.command.toStdString());
        Profiled p = profiled(c.profile);
        Modem modem(p.behaviour, p.identity);
        EXPECT_EQ(modem.send(c.command), c.answer);
    }
}

TEST(ModemProfile, TextModeInputGetsThePromptOfItsMaker) {
    for (const char* name : {"sim800", "ublox"}) {
        Profiled p = profiled(name);
        p.behaviour.echo = true;
        Modem modem(p.behaviour, p.identity);
        modem.send("AT+CMGF=1\r");
        const QByteArray prompt = std::string(name) == "ublox" ? ">" : "> ";
        EXPECT_EQ(modem.send("AT+CMGS=\"+447700900555\"\r"), "AT+CMGS=\"+447700900555\"\r\r\n" + prompt)
            << name;
        // a second line of text is prompted alike
        EXPECT_EQ(modem.send("Hello\r"), "Hello\r\n" + prompt) << name;
        modem.send("there\x1A");
        ASSERT_EQ(modem.line.parts.size(), 1) << name;
        EXPECT_EQ(modem.line.parts[0].text, "Hello\rthere") << name;
    }
}

// Start-up reports go out once after the line is first opened, in order; periodic ones again
// and again; none while a message is typed.
TEST(ModemProfile, ReportsOfItsOwnFollowTheFirstOpen) {
    Clock::setScale(0.001);
    Profiled sim800 = profiled("sim800");
    Modem modem(sim800.behaviour, sim800.identity);
    modem.session.releaseDue();
    EXPECT_EQ(modem.line.take(), ""); // nobody opened the line yet
    EXPECT_FALSE(modem.session.nextDue().has_value());
    modem.session.lineOpened();
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (modem.session.nextDue() && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_until(*modem.session.nextDue());
        modem.session.releaseDue();
    }
    EXPECT_EQ(modem.line.take(),
              "\r\nRDY\r\n\r\n+CFUN: 1\r\n\r\n+CPIN: READY\r\n\r\nCall Ready\r\n\r\nSMS Ready\r\n");
    modem.session.lineOpened(); // a later client sees none of it again
    EXPECT_FALSE(modem.session.nextDue().has_value());

    Profiled e173 = profiled("e173");
    Modem huawei(e173.behaviour, e173.identity);
    huawei.session.lineOpened();
    huawei.send("AT+CMGF=1\r");
    huawei.send("AT+CMGS=\"+447700900555\"\r");
    EXPECT_FALSE(huawei.session.nextDue().has_value()); // held while the text is typed
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    huawei.session.releaseDue();
    EXPECT_EQ(huawei.line.take(), "");
    huawei.send("Hi\x1A");
    int boots = 0;
    for (int round = 0; round < 3; ++round) {
        std::this_thread::sleep_until(*huawei.session.nextDue());
        huawei.session.releaseDue();
        boots += int(huawei.line.take().count("^BOOT:20291915,0,0,0,72\r\n"));
    }
    EXPECT_GE(boots, 2); // 3 s apart on the modem's clock: more than once in three releases
}

TEST(ModemProfile, ABadProfileIsRefusedWholeAndNamesWhy) {
    const struct {
        QByteArray json;
        const char* why;
    } cases[] = {
        {"not json", "illegal"},
        {"[]", "not a JSON object"},
        {R"({"echo": {"value": false}})", "echo does not name its source"},
        {R"({"eccho": {"value": false, "source": "m"}})", "unknown detail \"eccho\""},
        {R"({"echo": {"value": "no", "source": "m"}})", "echo is true or false"},
        {R"({"echo": {"value": false, "source": "m", "sure": 1}})", "unknown key \"sure\""},
        {R"({"prompt": {"value": "$ ", "source": "m"}})", "prompt is a text beginning"},
        {R"({"charsets": {"value": ["KOI8"], "source": "m"}})", "no KOI8"},
        {R"({"cmsTexts": {"value": {"abc": "x"}, "source": "m"}})", "needs a code"},
        {R"({"indications": {"value": [{"line": "A\r\nOK", "afterMs": 1}], "source": "m"}})",
         "an indication"},
        {R"({"indications": {"value": [{"line": "RDY", "afterMs": 1e12}], "source": "m"}})", "an indication"},
        {R"({"answers": {"value": {"CGMI": ["x"]}, "source": "m"}})", "needs a command"},
        {R"({"identity": {"value": {"model": 5}, "source": "m"}})", "identity"},
    };
    for (const auto& c : cases) {
        sim::ModemIdentity id;
        sim::ModemBehaviour b;
        b.echo = true;
        QString error;
        // a good detail ahead of the bad one is not kept either
        QByteArray json = c.json;
        if (json.startsWith("{\"") && !json.contains("\"echo\""))
            json.replace(0, 1, R"({"echo": {"value": false, "source": "m"}, )");
        EXPECT_FALSE(sim::ModemProfile::applyJson(json, id, b, &error)) << c.json.toStdString();
        EXPECT_TRUE(error.contains(c.why)) << error.toStdString();
        EXPECT_TRUE(b.echo) << c.json.toStdString();
    }
    sim::ModemIdentity id;
    sim::ModemBehaviour b;
    QString error;
    EXPECT_FALSE(sim::ModemProfile::apply("../profiles/sim800", id, b, &error)); // a name, never a path
    EXPECT_FALSE(sim::ModemProfile::apply("nokia", id, b, &error));
    EXPECT_TRUE(error.contains("there are bg96,")) << error.toStdString();
}

TEST(ModemProfile, FlagsChangeAProfileFurther) {
    auto parse = [](const QStringList& flags) {
        return sim::SimOptionsParser::parse(QStringList{"bulksms-modem-sim"} + flags);
    };
    sim::SimOptions o = parse({"--profile", "ec25"});
    ASSERT_TRUE(o.error.isEmpty()) << o.error.toStdString();
    EXPECT_EQ(o.identity.model, "EC25");
    EXPECT_EQ(o.behaviour.characterSets, (QStringList{"GSM", "IRA", "UCS2"}));
    EXPECT_FALSE(o.behaviour.timedIndications.isEmpty());
    o = parse(
        {"--profile", "ec25", "--model", "EC25-E", "--no-echo", "--charsets", "UCS2", "--refuse-pdu-mode"});
    EXPECT_EQ(o.identity.model, "EC25-E");
    EXPECT_EQ(o.identity.manufacturer, "Quectel");
    EXPECT_FALSE(o.behaviour.echo);
    EXPECT_TRUE(o.behaviour.pduModeRefused);
    EXPECT_EQ(o.behaviour.characterSets, QStringList{"UCS2"});
    EXPECT_TRUE(o.behaviour.unknownCommands.contains("+CCID"));
    o = parse({"--profile", "x/../../etc"});
    EXPECT_TRUE(o.error.startsWith("no profile")) << o.error.toStdString();
}

} // namespace
