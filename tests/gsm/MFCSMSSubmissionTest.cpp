// Messages handed to the virtual modem in both modes: what the network received (decoded on
// the modem's side, independently of our encoder), how each submission ends, stops and unplugging.
#include "QStringPrinting.h"

#include "core/Log.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemAnswers.h"
#include "sim/MessageLog.h"
#include "sim/PduDecoder.h"
#include "sim/VirtualModem.h"
#include "text/GsmAlphabet.h"

#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <stop_token>
#include <thread>

namespace {

// Reads end after this much quiet (prescribed seconds; real milliseconds under the tests' clock).
constexpr double kQuietSeconds = 30.0;

const QString kNumber = QStringLiteral("+447700900001");
const QString kRefusedNumber = QStringLiteral("+447700900999");
const QString kDefaultSmsc = QStringLiteral("+447700900123");

QString gsmText(int length) {
    const QString pattern = QStringLiteral("The quick brown fox jumps over the lazy dog 0123456789. ");
    QString text;
    while (text.size() < length)
        text += pattern;
    return text.left(length);
}

QString cyrillicText(int length) {
    QString text;
    for (int i = 0; i < length; ++i)
        text += QChar(0x0410 + i % 32);
    return text;
}

enum class Mode { Pdu, Text };

struct ModemUnderTest {
    explicit ModemUnderTest(sim::ModemBehaviour behaviour = {}) : modem({}, behaviour, logPath) {
        started = modem.start();
        session.initPort_with_decp(modem.devicePath(), fd);
        if (session.port())
            session.port()->setReadTimeout(kQuietSeconds);
        session.setDefaultSmscLookup([](const QString&) { return kDefaultSmsc; });
    }

    bool prepare(Mode mode) {
        return started && session.Check_Connection(fd) &&
               (mode == Mode::Pdu ? session.Prepare_Modem_For_PDU_SMS(fd)
                                  : session.Prepare_Modem_For_Text_SMS(fd));
    }

    bool send(Mode mode, const QString& number, const QString& message, QString& status, bool unicode = false,
              bool flash = false, const QString& smsc = {}, const QString& capability = "Yes") {
        return mode == Mode::Pdu
                   ? session.Send_PDU_SMS(fd, number, message, smsc, flash, unicode, status, capability,
                                          stop.get_token())
                   : session.Send_Text_SMS(fd, number, message, smsc, flash, unicode, modem.devicePath(),
                                           status, capability, stop.get_token());
    }

    int commandCount(const QString& prefix) const {
        int count = 0;
        for (const QString& line : modem.commandLog())
            count += line.startsWith(prefix) ? 1 : 0;
        return count;
    }

    QTemporaryDir logDir;
    const QString logPath = logDir.filePath("network.jsonl"); // what the network received
    sim::VirtualModem modem;
    bool started = false;
    MFCSMS session;
    int fd = -1;
    std::stop_source stop; // the run's Stop button
};

// What the network shows for a text: every message it received, joined in order.
QString deliveredText(const QList<sim::ReceivedMessage>& received) {
    QString text;
    for (const sim::ReceivedMessage& message : received)
        text += message.text;
    return text;
}

using MFCSMSSubmission = ::testing::Test;

TEST_F(MFCSMSSubmission, PduModeDeliversTheExactText) {
    const struct {
        const char* name;
        QString message;
        bool unicode;
        bool flash;
        QString smsc;
        int parts;
        int dcs;
        void (*modem)(sim::ModemBehaviour&) = [](sim::ModemBehaviour&) {};
    } cases[] = {
        {"short", "Hello from the test", false, false, "", 1, 0x00},
        {"extension characters", "Braces {x} [y] ~ | \\ ^ cost 5\u20AC", false, false, "", 1, 0x00},
        {"160 characters stay single", gsmText(160), false, false, "", 1, 0x00},
        {"300 characters in two parts", gsmText(300), false, false, "", 2, 0x00},
        {"flash", "Flash!", false, true, "", 1, 0x10},
        {"custom service centre", "Via another centre", false, false, "+15550001", 1, 0x00},
        {"UCS2 single", cyrillicText(70), true, false, "", 1, 0x08},
        {"UCS2 in two parts", cyrillicText(71), true, false, "", 2, 0x08},
        {"UCS2 flash", cyrillicText(10), true, true, "", 1, 0x18},
        // Slow or chatty modems are waited for.
        {"answers in bursts", gsmText(300), false, false, "", 2, 0x00,
         [](sim::ModemBehaviour& b) { b.answerBursts = 4; }},
        {"slow network", gsmText(300), false, false, "", 2, 0x00,
         [](sim::ModemBehaviour& b) { b.networkDelayMs = 4000; }}, // most of the answer wait
        {"no echo", gsmText(300), false, false, "", 2, 0x00, [](sim::ModemBehaviour& b) { b.echo = false; }},
    };
    for (const auto& c : cases) {
        sim::ModemBehaviour behaviour;
        c.modem(behaviour);
        ModemUnderTest m(behaviour);
        ASSERT_TRUE(m.prepare(Mode::Pdu)) << c.name;
        QString status;
        EXPECT_TRUE(m.send(Mode::Pdu, kNumber, c.message, status, c.unicode, c.flash, c.smsc)) << c.name;
        EXPECT_EQ(status, "Message sent successfully.") << c.name;
        const QList<sim::ReceivedMessage> received = m.modem.received();
        ASSERT_EQ(received.size(), 1) << c.name;
        EXPECT_EQ(received[0].text, c.message) << c.name;
        EXPECT_EQ(received[0].number, kNumber) << c.name;
        EXPECT_EQ(received[0].mode, "PDU") << c.name;
        EXPECT_EQ(received[0].parts, c.parts) << c.name;
        EXPECT_EQ(received[0].dcs, c.dcs) << c.name;
        EXPECT_TRUE(received[0].complete) << c.name;
        if (!c.smsc.isEmpty()) {
            EXPECT_EQ(received[0].smsc, c.smsc) << c.name;
        }
        EXPECT_EQ(m.commandCount("AT+CMGS="), c.parts) << c.name;
        const QList<sim::ReceivedMessage> logged = sim::MessageLog::read(m.logPath);
        ASSERT_EQ(logged.size(), 1) << c.name;
        EXPECT_EQ(logged[0].number + logged[0].text, kNumber + c.message) << c.name;
    }
}

// Text mode cannot link parts: a text that takes more than one goes in PDU mode or not at all.
TEST_F(MFCSMSSubmission, TextModeSendsOneMessageOrNothing) {
    const QString sent = "Message sent successfully.";
    const QString linked = "Not sent: the message needs 2 linked parts%1, which text mode cannot send as one "
                           "message (PDU mode can).";
    const struct {
        const char* name;
        QString message;
        QString status;
    } cases[] = {
        {"GSM single", gsmText(160), sent},
        {"UCS2 single", cyrillicText(70), sent},
        {"GSM in two parts", gsmText(161), linked.arg("")},
        {"UCS2 in two parts", cyrillicText(71), linked.arg(" (Unicode)")},
    };
    for (const auto& c : cases) {
        ModemUnderTest m;
        ASSERT_TRUE(m.prepare(Mode::Text)) << c.name;
        QString status;
        EXPECT_TRUE(m.send(Mode::Text, kNumber, c.message, status, true)) << c.name;
        EXPECT_EQ(status, c.status) << c.name;
        const QList<sim::ReceivedMessage> received = m.modem.received();
        ASSERT_EQ(received.size(), c.status == sent ? 1 : 0) << c.name;
        if (c.status == sent) {
            EXPECT_EQ(received[0].text + received[0].mode, c.message + "TEXT") << c.name;
        }
    }
}

TEST_F(MFCSMSSubmission, TextModeUsesACustomCentreForOneMessageOnly) {
    ModemUnderTest m;
    ASSERT_TRUE(m.prepare(Mode::Text));
    QString status;
    EXPECT_TRUE(m.send(Mode::Text, kNumber, "Through a custom centre", status, false, false, "+15550001"));
    EXPECT_EQ(status, "Message sent successfully.");
    const QStringList log = m.modem.commandLog();
    const qsizetype custom = log.indexOf("AT+CSCA=\"+15550001\",145");
    const qsizetype send = log.indexOf(QStringLiteral("AT+CMGS=\"%1\"").arg(kNumber));
    const qsizetype restore = log.indexOf(QStringLiteral("AT+CSCA=\"%1\",145").arg(kDefaultSmsc));
    ASSERT_GE(custom, 0);
    EXPECT_LT(custom, send);
    EXPECT_GT(restore, send);
    ASSERT_EQ(m.modem.received().size(), 1);
    EXPECT_EQ(m.modem.received()[0].smsc, "+15550001");
}

TEST_F(MFCSMSSubmission, FormatIsSwitchedBackBeforeEachMessage) {
    ModemUnderTest m;
    ASSERT_TRUE(m.prepare(Mode::Pdu)); // the modem is left in PDU format
    QString status;
    EXPECT_TRUE(m.send(Mode::Text, kNumber, "Text after PDU", status));
    ASSERT_EQ(m.modem.received().size(), 1);
    EXPECT_EQ(m.modem.received()[0].text, "Text after PDU");
    EXPECT_EQ(m.commandCount("AT+CMGF=1"), 1);
}

TEST_F(MFCSMSSubmission, AFormatTheModemRefusesIsNeverTypedIn) {
    sim::ModemBehaviour halfPdu; // lists PDU mode, refuses AT+CMGF=0, stays in text mode
    halfPdu.pduModeRefused = true;
    ModemUnderTest m(halfPdu);
    ASSERT_FALSE(m.prepare(Mode::Pdu));
    EXPECT_TRUE(m.session.formatRefused()); // what a PDU message then ends with: see below
    ASSERT_TRUE(m.prepare(Mode::Text));     // text mode still works on it
    EXPECT_FALSE(m.session.formatRefused());
    QString status;
    EXPECT_TRUE(m.send(Mode::Text, kNumber, "Hello", status));
    EXPECT_EQ(status, "Message sent successfully.");
}

// Every way a submission ends, as the outcome a run decides on and the words the operator
// reads; "sent" only where the network's log holds the whole message.
TEST_F(MFCSMSSubmission, EverySubmissionEndsInATypedOutcome) {
    using Setup = void (*)(sim::ModemBehaviour&, std::stop_source); // the source is the run's Stop
    const Setup asIs = [](sim::ModemBehaviour&, std::stop_source) {};
    const Setup refuseSecondPart = [](sim::ModemBehaviour& b, std::stop_source) {
        b.cmsErrorForSubmission[2] = 38;
    };
    const Setup gsmCharsetOnly = [](sim::ModemBehaviour& b, std::stop_source) { b.characterSets = {"GSM"}; };
    const Setup refusePduMode = [](sim::ModemBehaviour& b, std::stop_source) { b.pduModeRefused = true; };
    const Setup silentAtOnce = [](sim::ModemBehaviour& b, std::stop_source) { b.silentAfterMessages = 0; };
    const Setup silentAfterOne = [](sim::ModemBehaviour& b, std::stop_source) { b.silentAfterMessages = 1; };
    const Setup stopInFirstPart = [](sim::ModemBehaviour& b, std::stop_source stop) {
        b.afterAccepting = [stop]() mutable { stop.request_stop(); }; // while the network takes it
    };
    const Setup unplugAfterOne = [](sim::ModemBehaviour& b, std::stop_source) { b.unplugAfterParts = 1; };
    const QString sentText = "Message sent successfully.", lineError = "Device Connection Error!";
    const QString unknownText = "Unknown (may have been sent)";
    const struct {
        const char* name;
        Mode mode;
        QString number, message;
        Setup setUp;
        Outcome outcome;
        QString text;
        int part, parts, references;
        int networkParts; // of this message in the network's log
        QString capability = "Yes";
        bool unpluggedFirst = false;
    } cases[] = {
        {"accepted", Mode::Pdu, kNumber, "Hi", asIs, Outcome::Sent, sentText, 0, 1, 1, 1},
        {"accepted in three parts", Mode::Pdu, kNumber, gsmText(400), asIs, Outcome::Sent, sentText, 0, 3, 3,
         3},
        {"accepted by an unproven device", Mode::Text, kNumber, "Hi", asIs, Outcome::SentToDevice,
         "Message sent to device.", 0, 1, 1, 1, "Not Detected"},
        {"refused", Mode::Pdu, kRefusedNumber, "Hi", asIs, Outcome::Refused, "+CMS ERROR: 38", 1, 1, 0, 0},
        {"refused by an unproven device in text mode", Mode::Text, kRefusedNumber, "Hi", asIs,
         Outcome::Refused, "+CMS ERROR: 38", 1, 1, 0, 0, "Not Detected"},
        {"part 2 of 3 refused", Mode::Pdu, kNumber, gsmText(400), refuseSecondPart, Outcome::Refused,
         "Part 2 of 3: +CMS ERROR: 38", 2, 3, 1, 1},
        // Another port, in PDU mode, may carry it.
        {"text mode cannot carry it", Mode::Text, kNumber, cyrillicText(10), gsmCharsetOnly, Outcome::Refused,
         ModemAnswers::kStatusTextModeCannotCarry, 0, 1, 0, 0},
        // Nothing typed: a PDU's length typed in text mode would be taken for a number.
        {"format refused", Mode::Pdu, kNumber, "Hi", refusePduMode, Outcome::NotSent,
         "Not sent: the device refused PDU Mode (AT+CMGF=0).", 1, 1, 0, 0},
        // The network has it, the modem never said so: never "sent", and never sent again.
        {"unanswered", Mode::Pdu, kNumber, "Hi", silentAtOnce, Outcome::Unknown, unknownText, 1, 1, 0, 1},
        {"part 2 of 3 unanswered", Mode::Pdu, kNumber, gsmText(400), silentAfterOne, Outcome::Unknown,
         "Part 2 of 3: " + unknownText, 2, 3, 1, 2},
        // Never "sent": the handset has a fragment.
        {"stopped between parts", Mode::Pdu, kNumber, gsmText(400), stopInFirstPart, Outcome::Stopped,
         "Stopped after part 1 of 3.", 1, 3, 1, 1},
        {"line lost after a part", Mode::Pdu, kNumber, gsmText(300), unplugAfterOne, Outcome::LineFailed,
         lineError, 2, 2, 1, 1},
        {"line lost before the message", Mode::Pdu, kNumber, "Hi", asIs, Outcome::NotHandedOver, lineError, 1,
         1, 0, 0, "Yes", true},
    };
    for (const auto& c : cases) {
        sim::ModemBehaviour behaviour;
        behaviour.cmsErrorForNumber.insert(kRefusedNumber, 38);
        std::stop_source stop;
        c.setUp(behaviour, stop);
        ModemUnderTest m(behaviour);
        m.stop = stop;
        if (c.unpluggedFirst)
            m.modem.unplug();
        m.prepare(c.mode); // a refused format or a lost line shows in the outcome
        QString status;
        const bool completed = m.send(c.mode, c.number, c.message, status, false, false, {}, c.capability);
        const SendOutcome outcome = m.session.lastOutcome();
        EXPECT_EQ(outcome.outcome, c.outcome) << c.name;
        EXPECT_EQ(outcome.text(), c.text) << c.name;
        EXPECT_EQ(status, c.text) << c.name;
        EXPECT_EQ(completed, !outcome.deviceFailed()) << c.name;
        EXPECT_EQ(outcome.part, c.part) << c.name;
        EXPECT_EQ(outcome.parts, c.parts) << c.name;
        EXPECT_EQ(outcome.references.size(), c.references) << c.name;
        EXPECT_EQ(QSet<int>(outcome.references.begin(), outcome.references.end()).size(), c.references)
            << c.name;
        const QList<sim::ReceivedMessage> received = m.modem.received();
        int networkParts = 0;
        for (const sim::ReceivedMessage& message : received)
            networkParts += message.parts;
        EXPECT_EQ(networkParts, c.networkParts) << c.name;
        if (outcome.delivered()) {
            EXPECT_EQ(deliveredText(received), c.message) << c.name;
            EXPECT_TRUE(std::all_of(received.begin(), received.end(), [](const sim::ReceivedMessage& r) {
                return r.complete;
            })) << c.name;
        }
    }
}

TEST_F(MFCSMSSubmission, EachMessageGetsItsOwnAnswerOnASlowOrLateNetwork) {
    const struct {
        const char* name;
        bool late;          // the modem holds each network answer until the next command line
        int networkDelayMs; // before the network's answer, on the shrunk clock
        QStringList expected;
    } cases[] = {
        // A slow network answers within the wait: the refusal and the delivery stay apart.
        {"slow network", false, 20000, {"+CMS ERROR: 38", "Message sent successfully."}},
        // An answer after its wait must never be read as the next message's answer.
        {"late answers", true, 0, {"Unknown (may have been sent)", "Unknown (may have been sent)"}},
    };
    for (const auto& c : cases) {
        for (Mode mode : {Mode::Pdu, Mode::Text}) {
            sim::ModemBehaviour behaviour;
            behaviour.cmsErrorForNumber.insert(kRefusedNumber, 38);
            behaviour.networkDelayMs = c.networkDelayMs;
            behaviour.lateCmgsAnswers = c.late;
            ModemUnderTest m(behaviour);
            ASSERT_TRUE(m.prepare(mode)) << c.name;
            QStringList statuses;
            for (const QString& number : {kRefusedNumber, kNumber}) {
                QString status;
                m.send(mode, number, "Hi", status);
                statuses << status;
            }
            EXPECT_EQ(statuses, c.expected) << c.name;
        }
    }
}

// A modem that falls silent once the network has a message: that message is of unknown
// fate, never failed (it did reach the network); a refusal is still a refusal, and a line
// that never took the message is no silence.
TEST_F(MFCSMSSubmission, SilenceAfterTheHandOverIsUnknownNotFailed) {
    const struct {
        const char* name;
        Mode mode;
        QString message;
        int silentAfter;  // messages (parts) the modem answers before it falls silent
        bool radioOff;    // "AT+CFUN=0": every "AT+CMGS" is refused before any text is taken
        QString expected; // status of the last message sent
        bool silent;
        int receivedParts; // of the last message, by the network's log
    } cases[] = {
        {"text mode", Mode::Text, "Hi", 1, false, "Unknown (may have been sent)", true, 1},
        {"second part of a long message", Mode::Pdu, gsmText(400), 2, false,
         "Part 2 of 3: Unknown (may have been sent)", true, 2},
        {"command refused: nothing typed after it", Mode::Pdu, "Hi", -1, true, "+CMS ERROR: 331", false, 0},
    };
    for (const auto& c : cases) {
        sim::ModemBehaviour behaviour;
        behaviour.silentAfterMessages = c.silentAfter;
        ModemUnderTest m(behaviour);
        ASSERT_TRUE(m.prepare(c.mode)) << c.name;
        QString status;
        if (c.silentAfter > 0) { // a first message, answered
            EXPECT_TRUE(m.send(c.mode, QStringLiteral("+447700900002"), "First", status)) << c.name;
            EXPECT_EQ(status, "Message sent successfully.") << c.name;
            EXPECT_FALSE(m.session.lastSubmissionSilent()) << c.name;
        }
        if (c.radioOff) {
            m.session.Write_Command(m.fd, "AT+CFUN=0\r\n");
            ASSERT_TRUE(m.session.Read_Command(m.fd, "OK")) << c.name;
        }
        const qsizetype before = m.modem.received().size();
        EXPECT_TRUE(m.send(c.mode, kNumber, c.message, status)) << c.name;
        EXPECT_EQ(status, c.expected) << c.name;
        EXPECT_EQ(m.session.lastSubmissionSilent(), c.silent) << c.name;
        EXPECT_EQ(m.session.lastSubmissionHandedOver(), !c.radioOff) << c.name;
        EXPECT_EQ(m.session.lastOutcome().outcome, c.silent ? Outcome::Unknown : Outcome::Refused) << c.name;
        const QList<sim::ReceivedMessage> received = m.modem.received();
        if (c.receivedParts == 0) {
            EXPECT_EQ(received.size(), before) << c.name;
            continue;
        }
        ASSERT_EQ(received.size(), before + 1) << c.name;
        EXPECT_EQ(received.last().number, kNumber) << c.name;
        EXPECT_EQ(received.last().parts, c.receivedParts) << c.name;
        if (c.receivedParts == 1) {
            EXPECT_EQ(received.last().text, c.message) << c.name;
        }
        // Fallen silent for good: the next message is as silent, and never reaches the network.
        EXPECT_TRUE(m.send(c.mode, QStringLiteral("+447700900003"), "Next", status)) << c.name;
        EXPECT_EQ(status, "Unknown (may have been sent)") << c.name;
        EXPECT_TRUE(m.session.lastSubmissionSilent()) << c.name;
        EXPECT_EQ(m.modem.received().size(), received.size()) << c.name;
    }
}

TEST_F(MFCSMSSubmission, SilentModemFailsTheConnectionCheck) {
    sim::ModemBehaviour behaviour;
    behaviour.silent = true;
    ModemUnderTest m(behaviour);
    LogCapture log;
    EXPECT_FALSE(m.session.Check_Connection(m.fd));
    EXPECT_EQ(m.commandCount("AT"), 7); // the session's wake-up, then six tries
    EXPECT_TRUE(log.contains("Check_Connection FAIL m_sLastResponse not OK"));
}

QString everyGsmCharacter(bool extension) {
    QString text;
    for (char16_t u = 0; u <= 0x20AC; ++u) {
        const std::optional<Gsm7Septet> septet = gsm7SeptetOf(QChar(u));
        if (septet && septet->extension == extension)
            text += QChar(u);
    }
    return text;
}

TEST_F(MFCSMSSubmission, EveryTextArrivesAsWrittenOrIsRefusedBeforeSending) {
    const QStringList texts = {
        everyGsmCharacter(false),
        everyGsmCharacter(true),
        "Price: {5} [ok] \u20AC10 @home $3 caf\u00E9",
        QString("\u00E0\u00E8\u00E9\u00EC\u00F2\u00F9\u00C4\u00D6\u00D1\u00DC\u00E4\u00F6\u00F1\u00FC\u00C5"
                "\u00E5\u00C6\u00E6\u00DF\u00C9\u00D8\u00F8\u00C7 and "
                "\u00E1\u00ED\u00F3\u00FA\u00E7\u00E3\u00F5"),
        "Ol\u00E1, a\u00E7\u00E3o! \u041F\u0440\u0438\u0432\u0435\u0442",
        "\u4F60\u597D\uFF0C\u4E16\u754C",
        "Hi \U0001F600\U0001F44D\U0001F3FD",
        "\u201Cdon\u2019t\u201D \u2013 ok\u2026",
        "Plain ASCII only, 100% (safe) #1",
        gsmText(200) + "{" + gsmText(140), // long, with an extension character near the cut
        cyrillicText(64) + "\U0001F600" + cyrillicText(10),
    };
    // PDU mode with the Unicode option off: every text arrives, as UCS2 where it must.
    {
        ModemUnderTest m;
        ASSERT_TRUE(m.prepare(Mode::Pdu));
        for (const QString& text : texts) {
            const qsizetype before = m.modem.received().size();
            QString status;
            EXPECT_TRUE(m.send(Mode::Pdu, kNumber, text, status));
            EXPECT_EQ(status, "Message sent successfully.") << text.toStdString();
            const QList<sim::ReceivedMessage> received = m.modem.received().mid(before);
            ASSERT_EQ(received.size(), 1) << text.toStdString();
            EXPECT_EQ(received[0].text, text);
            EXPECT_EQ(received[0].dcs, Check_UNICODE_Message(text) ? 0x08 : 0x00) << text.toStdString();
        }
    }
    // Text mode under each set of character sets a modem may offer.
    const struct {
        QStringList offered;
        int refused; // texts that no offered set carries exactly
    } modems[] = {
        {{}, 0},
        {{"UCS2"}, 0},
        {{"HEX"}, 0},
        {{"GSM", "UCS2"}, 0},
        {{"IRA", "GSM", "UCS2"}, 0},
        {{"GSM"}, 7},  // the Cyrillic, CJK, emoji, accented and typographic texts, and the
                       // default table itself, whose Xi is the byte that ends a message
        {{"IRA"}, 10}, // only the plain ASCII text
        {{"8859-1"}, 11},
    };
    for (const auto& modem : modems) {
        sim::ModemBehaviour behaviour;
        behaviour.characterSets = modem.offered;
        ModemUnderTest m(behaviour);
        ASSERT_TRUE(m.prepare(Mode::Text));
        int refused = 0;
        for (const QString& text : texts) {
            const qsizetype before = m.modem.received().size();
            QString status;
            EXPECT_TRUE(m.send(Mode::Text, kNumber, text, status));
            const QList<sim::ReceivedMessage> received = m.modem.received().mid(before);
            if (status.startsWith("Not sent: the message needs")) { // more than one part
                EXPECT_TRUE(received.isEmpty()) << text.toStdString();
                continue;
            }
            if (status == ModemAnswers::kStatusTextModeCannotCarry) {
                ++refused;
                EXPECT_TRUE(received.isEmpty())
                    << modem.offered.join(',').toStdString() << ": " << text.toStdString();
                continue;
            }
            EXPECT_EQ(status, "Message sent successfully.")
                << modem.offered.join(',').toStdString() << ": " << text.toStdString();
            EXPECT_EQ(deliveredText(received), text) << modem.offered.join(',').toStdString();
        }
        EXPECT_EQ(refused, modem.refused) << modem.offered.join(',').toStdString();
    }
}

TEST_F(MFCSMSSubmission, LongMessagesHaveTheirOwnReferencesAndFailOnAnyPart) {
    sim::ModemBehaviour behaviour;
    behaviour.cmsErrorForSubmission.insert(6, 38); // the second part of the third message
    ModemUnderTest m(behaviour);
    ASSERT_TRUE(m.prepare(Mode::Pdu));
    QStringList statuses;
    for (int i = 0; i < 3; ++i) {
        QString status;
        EXPECT_TRUE(m.send(Mode::Pdu, kNumber, gsmText(300), status));
        statuses << status;
    }
    EXPECT_EQ(statuses, (QStringList{"Message sent successfully.", "Message sent successfully.",
                                     "Part 2 of 2: +CMS ERROR: 38"}));
    const QList<sim::ReceivedMessage> received = m.modem.received(); // the third incomplete
    ASSERT_EQ(received.size(), 3);
    EXPECT_TRUE(received[0].complete);
    EXPECT_TRUE(received[1].complete);
    EXPECT_FALSE(received[2].complete);
    // The reference sits in the user data header of every part: 06 08 04 <reference> <total> <part>.
    const auto referenceOf = [](const sim::ReceivedMessage& message) {
        return sim::PduDecoder::decode(message.pduHex.first()).concatenation.reference;
    };
    EXPECT_NE(referenceOf(received[0]), referenceOf(received[1]));
    EXPECT_NE(referenceOf(received[1]), referenceOf(received[2]));
}

} // namespace
