// The AT exchange and procedures of a session against scripted modem lines.
#include "QStringPrinting.h"
#include "ScriptedLine.h"

#include "core/Clock.h"
#include "core/Log.h"
#include "gsm/MFCSMS.h"

#include <QMap>

#include <chrono>

#include <gtest/gtest.h>

namespace {

// The ceiling of a read for a modem that says nothing (prescribed seconds; real milliseconds
// under the tests' clock).
constexpr double kQuietSeconds = 50.0;

const QByteArray kOkReply = "\r\nOK\r\n";

ScriptedLine::Responder always(QByteArrayList bursts) {
    return [bursts](const QByteArray&) { return bursts; };
}

// Answers OK to everything but the listed commands.
ScriptedLine::Responder okExcept(QMap<QByteArray, QByteArrayList> special) {
    return [special](const QByteArray& command) {
        return special.contains(command) ? special.value(command) : QByteArrayList{kOkReply};
    };
}

struct Session {
    explicit Session(const ScriptedLine& line) {
        session.initPort_with_decp(line.devicePath(), fd);
        if (session.port())
            session.port()->setReadTimeout(kQuietSeconds);
    }
    MFCSMS session;
    int fd = -1;
};

TEST(MFCSMSSession, OpensThePortAndReportsTheDescriptor) {
    ScriptedLine line(always({kOkReply}));
    LogCapture log;
    Session s(line);
    ASSERT_GE(s.fd, 0);
    EXPECT_TRUE(log.contains(
        QStringLiteral("Port ( %1 ) is OPENED with descp= (%2:%2)").arg(line.devicePath()).arg(s.fd)));
    int untouched = 77;
    MFCSMS other;
    other.initPort_with_decp("/nonexistent/tty", untouched);
    EXPECT_EQ(untouched, 77);
    EXPECT_EQ(other.port(), nullptr);
    EXPECT_TRUE(log.contains("Port ( /nonexistent/tty ) is NOT OPEN"));
}

TEST(MFCSMSSession, ReadJudgesTheWholeAnswer) {
    const struct {
        const char* name;
        QByteArrayList reply;
        QString expected;
        bool result;
        QString error;
    } cases[] = {
        {"echo, blank line, OK", {"AT\r\r\n", "\r\nOK\r\n"}, "\r\nOK\r\n", true, ""},
        {"two bursts in one read", {"\r\n+CSQ: 20,99\r\n", "\r\nOK\r\n"}, "\r\nOK\r\n", true, ""},
        {"ERROR fails an OK read", {"\r\nERROR\r\n"}, "\r\nOK\r\n", false, "ERROR"},
        {"ERROR fails even when expected", {"\r\nERROR\r\n"}, "ERROR", false, "ERROR"},
        {"refusal", {"\r\n+CMS ERROR: 38\r\n"}, "\r\nOK\r\n", false, "+CMS ERROR: 38"},
        {"vendor error", {"\r\nCOMMAND ERROR\r\n"}, "\r\nOK\r\n", false, "+CMS ERROR:500"},
        {"prompt", {"\r\n> "}, ">\r\n", true, ""},
        {"silence", {}, "\r\nOK\r\n", false, ""},
    };
    for (const auto& c : cases) {
        ScriptedLine line(always(c.reply));
        Session s(line);
        ASSERT_TRUE(s.session.Write_Command(s.fd, "AT\r\n")) << c.name;
        EXPECT_EQ(s.session.Read_Command(s.fd, c.expected), c.result) << c.name;
        EXPECT_EQ(MFCSMS::Get_SMS_Error(s.session.lastResponse()), c.error) << c.name;
    }
}

TEST(MFCSMSSession, ReadEndsAtTheFinalResultNotAtTheCeiling) {
    // Three bursts 100 ms apart: the answer is whole after about 200 ms, far inside the
    // ceiling of an hour (prescribed; seconds in real time under the tests' clock).
    constexpr double kHour = 3600.0;
    ScriptedLine line(always({"\r\n+CSQ: 20", ",99\r\n", "\r\nOK\r\n"}), Clock::Duration(100));
    Session s(line);
    s.session.port()->setReadTimeout(kHour);
    ASSERT_TRUE(s.session.Write_Command(s.fd, "AT+CSQ\r"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(s.session.Read_Command(s.fd, "\r\nOK\r\n"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, Clock::scaled(std::chrono::seconds(3600)));
    EXPECT_EQ(s.session.lastResponse(), "+CSQ: 20,99\r\n\r\nOK");

    // The prompt ends a read that awaits it, though no line end follows it.
    ScriptedLine prompting(always({"\r\n> "}));
    Session p(prompting);
    p.session.port()->setReadTimeout(kHour);
    ASSERT_TRUE(p.session.Write_Command(p.fd, "AT+CMGS=12\r"));
    const auto promptStart = std::chrono::steady_clock::now();
    EXPECT_TRUE(p.session.Read_Command(p.fd, ">\r\n"));
    EXPECT_LT(std::chrono::steady_clock::now() - promptStart, Clock::scaled(std::chrono::seconds(3600)));
}

TEST(MFCSMSSession, SilentOrEchoingModemFailsAfterTheCeiling) {
    const struct {
        const char* name;
        QByteArrayList reply;
        QString answer;
    } cases[] = {
        {"silent", {}, ""},
        {"echo is no answer", {"AT+CSQ\r"}, "AT+CSQ"},
        {"answer cut short", {"\r\n+CSQ: 20,99\r\n\r\nO"}, "+CSQ: 20,99\r\n\r\nO"},
    };
    for (const auto& c : cases) {
        ScriptedLine line(always(c.reply));
        Session s(line);
        ASSERT_TRUE(s.session.Write_Command(s.fd, "AT+CSQ\r")) << c.name;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(s.session.Read_Command(s.fd, "\r\nOK\r\n")) << c.name;
        EXPECT_GE(std::chrono::steady_clock::now() - start, Clock::scaled(std::chrono::seconds(50)))
            << c.name;
        EXPECT_EQ(s.session.lastResponse(), c.answer) << c.name;
    }
}

TEST(MFCSMSSession, AnswersAreDecodedLeniently) {
    // An operator name in the modem's own code page: the bytes that are not UTF-8 become
    // U+FFFD and the rest of the answer, its OK above all, is read.
    ScriptedLine line(always({"\r\n+COPS: 0,0,\"Caf\xE9 \xFF\"\r\n\r\nOK\r\n"}));
    Session s(line);
    ASSERT_TRUE(s.session.Write_Command(s.fd, "AT+COPS?\r"));
    EXPECT_TRUE(s.session.Read_Command(s.fd, "\r\nOK\r\n"));
    EXPECT_EQ(s.session.lastResponse(), QStringLiteral(u"+COPS: 0,0,\"Caf\uFFFD \uFFFD\"\r\n\r\nOK"));
}

TEST(MFCSMSSession, UnsolicitedLinesAreLoggedAndLeftOut) {
    ScriptedLine line(always({"\r\n^RSSI: 14\r\n", "\r\n+CSQ: 20,99\r\n\r\n+CMTI: \"SM\",2\r\n\r\nOK\r\n"}));
    Session s(line);
    LogCapture log;
    ASSERT_TRUE(s.session.Write_Command(s.fd, "AT+CSQ\r"));
    EXPECT_TRUE(s.session.Read_Command(s.fd, "\r\nOK\r\n"));
    EXPECT_EQ(s.session.lastResponse(), "+CSQ: 20,99\r\n\r\nOK");
    EXPECT_TRUE(log.contains(QStringLiteral("Unsolicited (%1) \"^RSSI: 14\"").arg(s.fd)));
    EXPECT_TRUE(log.contains(QStringLiteral("Unsolicited (%1) \"+CMTI: \"SM\",2\"").arg(s.fd)));
}

TEST(MFCSMSSession, EmptyCommandGoesAsOneBlank) {
    ScriptedLine line(always({kOkReply}));
    Session s(line);
    LogCapture log;
    EXPECT_TRUE(s.session.Write_Command(s.fd, ""));
    EXPECT_TRUE(s.session.Write_Command(s.fd, "\r"));
    s.session.Read_Command(s.fd, "OK");
    EXPECT_TRUE(log.contains("there is no data to write."));
    EXPECT_EQ(line.commands(), QByteArrayList{" "});
}

TEST(MFCSMSSession, WritesFailWithoutAPort) {
    MFCSMS session;
    EXPECT_FALSE(session.Write_Command(-1, "AT\r\n"));
    EXPECT_FALSE(session.Read_Command(-1, "OK"));
    EXPECT_FALSE(session.Check_Connection(-1));
}

TEST(MFCSMSSession, CheckConnection) {
    const struct {
        const char* name;
        int silentAttempts; // attempts answered with nothing before the reply
        QByteArray reply;
        bool alive;
        int attempts;
        const char* logged;
    } cases[] = {
        {"answers at once", 0, kOkReply, true, 1, nullptr},
        {"only echoes", 0, "AT\r", true, 1, nullptr},
        {"wakes on the third try", 2, kOkReply, true, 3, "Check_Connection FAIL Read AT"},
        {"dead", 99, kOkReply, false, 6, "Check_Connection FAIL m_sLastResponse not OK"},
        {"refuses", 0, "\r\nERROR\r\n", false, 6, "Check_Connection FAIL m_sLastResponse not OK ERROR"},
    };
    for (const auto& c : cases) {
        std::atomic<int> seen{0};
        ScriptedLine line([&seen, &c](const QByteArray&) {
            return ++seen > c.silentAttempts ? QByteArrayList{c.reply} : QByteArrayList{};
        });
        Session s(line);
        LogCapture log;
        EXPECT_EQ(s.session.Check_Connection(s.fd), c.alive) << c.name;
        EXPECT_EQ(line.commands().size(), c.attempts) << c.name;
        EXPECT_EQ(line.commands().count("AT"), c.attempts) << c.name;
        if (c.logged) {
            EXPECT_TRUE(log.contains(c.logged)) << c.name << "\n" << log.lines().join('\n').toStdString();
        }
    }
}

TEST(MFCSMSSession, CheckConnectionForReadGivesUpQuietly) {
    ScriptedLine line(always({}));
    Session s(line);
    LogCapture log;
    EXPECT_TRUE(s.session.Check_Connection_For_Read(s.fd, 2));
    EXPECT_EQ(line.commands(), (QByteArrayList{"AT", "AT"}));
    EXPECT_TRUE(log.contains("Check_Connection_For_Read FAIL Read AT"));
}

TEST(MFCSMSSession, ProceduresSendTheirCommandsAndStopAtTheFirstFailure) {
    using Procedure = std::function<QString(MFCSMS&, int)>;
    const auto asText = [](bool b) { return b ? QStringLiteral("true") : QStringLiteral("false"); };
    const struct {
        const char* name;
        QMap<QByteArray, QByteArrayList> answers;
        Procedure run;
        QByteArrayList commands;
        QString result;
    } cases[] = {
        {"prepare PDU",
         {},
         [&](MFCSMS& m, int fd) { return asText(m.Prepare_Modem_For_PDU_SMS(fd)); },
         {"AT", "AT+CSMS=0", "AT+CMGF=0"},
         "true"},
        {"prepare text refused midway",
         {{"AT+CSMS=0", {"\r\nERROR\r\n"}}},
         [&](MFCSMS& m, int fd) { return asText(m.Prepare_Modem_For_Text_SMS(fd)); },
         {"AT", "AT+CSMS=0"},
         "false"},
        {"reset",
         {},
         [](MFCSMS& m, int fd) {
             m.ATZ_reset_Modem(fd);
             return QString();
         },
         {"AT", "AT&F", "AT+CMEE=1"},
         ""},
        {"text parameters refused still count",
         {{"AT+CSMP=17,255,0,24", {"\r\nERROR\r\n"}}},
         [&](MFCSMS& m, int fd) { return asText(m.Set_Text_Mode_SMS_Param(fd, true, true)); },
         {"AT", "AT+CSMP=17,255,0,24"},
         "true"},
        {"formats offered",
         {{"AT+CMGF=?", {"\r\n+CMGF: (0-1)\r\n\r\nOK\r\n"}}},
         [](MFCSMS& m, int fd) { return QString::number(m.PDU_or_Text_SMS(fd)); },
         {"AT", "AT+CMGF=?"},
         "3"},
        {"formats unreadable",
         {{"AT+CMGF=?", {"\r\nERROR\r\n"}}},
         [](MFCSMS& m, int fd) { return QString::number(m.PDU_or_Text_SMS(fd)); },
         {"AT", "AT+CMGF=?"},
         "0"},
        {"format selected",
         {{"AT+CMGF?", {"\r\n+CMGF: 1\r\n\r\nOK\r\n"}}},
         [&](MFCSMS& m, int fd) { return asText(m.Get_Selected_CMGF_Mode(fd) == SmsFormat::Text); },
         {"AT+CMGF?"},
         "true"},
        {"character sets",
         {{"AT+CSCS=?", {"\r\n+CSCS: (\"GSM\",\"UCS2\")\r\n\r\nOK\r\n"}}},
         [](MFCSMS& m, int fd) { return m.GET_CSCS_SUPPORTEDResponse(fd); },
         {"AT+CSCS=?"},
         "+CSCS: (\"GSM\",\"UCS2\")\r\n\r\nOK"},
        {"character set refused",
         {{"AT+CSCS?", {"\r\nERROR\r\n"}}},
         [](MFCSMS& m, int fd) { return m.GET_CSCS_Response(fd); },
         {"AT+CSCS?"},
         ""},
        {"keep link open",
         {},
         [&](MFCSMS& m, int fd) { return asText(m.More_SMS_Comnd(fd)); },
         {"AT", "AT+CMMS=2"},
         "true"},
        {"custom SMSC, international",
         {},
         [](MFCSMS& m, int fd) {
             m.SET_Custom_SMSC_Number("+447700900123", fd);
             return QString();
         },
         {"AT+CMEE=1", "AT+CSCA=\"+447700900123\",145"},
         ""},
        {"custom SMSC, national",
         {},
         [](MFCSMS& m, int fd) {
             m.SET_Custom_SMSC_Number("07700900123", fd);
             return QString();
         },
         {"AT+CMEE=1", "AT+CSCA=\"07700900123\",129"},
         ""},
        {"no custom SMSC",
         {},
         [](MFCSMS& m, int fd) {
             m.SET_Custom_SMSC_Number("", fd);
             return QString();
         },
         {},
         ""},
        {"default SMSC back",
         {},
         [](MFCSMS& m, int fd) {
             m.setDefaultSmscLookup(
                 [](const QString& port) { return port.isEmpty() ? QString() : "+15550001"; });
             m.GET_And_SET_Cus_SMSC("+4412345", fd, "/dev/ttyUSB0");
             return QString();
         },
         {"AT+CMEE=1", "AT+CSCA=\"+15550001\",145"},
         ""},
    };
    for (const auto& c : cases) {
        ScriptedLine line(okExcept(c.answers));
        Session s(line);
        EXPECT_EQ(c.run(s.session, s.fd), c.result) << c.name;
        EXPECT_EQ(line.commands(), c.commands) << c.name;
    }
}

} // namespace
