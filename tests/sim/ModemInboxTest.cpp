// What the virtual modem does with messages the network delivers: the SIM's store as the AT
// commands show it, the indications, a full SIM, and indications that fall into a sending.
#include "FakeModemLine.h"
#include "sim/DeliverPdu.h"
#include "sim/PduDecoder.h"

#include <QJsonArray>
#include <QTimeZone>

#include <gtest/gtest.h>

namespace {

using sim::IncomingMessage;
using sim::ModemBehaviour;
using simtest::Modem;

const QDateTime kNoon(QDate(2024, 5, 1), QTime(12, 0, 0), QTimeZone(0));
const QByteArray kOk = "\r\nOK\r\n";
const QByteArray kSubmit = "00110005912143F50000FF0141\x1a"; // "A" to 12345, 12 octets after the SMSC

IncomingMessage incoming(const QString& from, const QString& text) {
    IncomingMessage m;
    m.from = from;
    m.text = text;
    m.at = kNoon;
    return m;
}

// The PDU the network makes of a message (checked on its own against hand-worked PDUs).
sim::DeliverPart pduOf(const IncomingMessage& m) {
    return sim::DeliverPdu::encode(m, QStringLiteral("+447700900123"), 1, kNoon).constFirst();
}

QByteArray answer(const QByteArray& information) { return "\r\n" + information + "\r\n" + kOk; }

QByteArray indication(int index) { return "\r\n+CMTI: \"SM\"," + QByteArray::number(index) + "\r\n"; }

TEST(ModemInbox, AnnouncesAsCnmiAsks) {
    const IncomingMessage m = incoming("+447700900001", "STOP");
    const sim::DeliverPart part = pduOf(m);
    const struct {
        QByteArray cnmi;
        QByteArray announced;
        int stored;
    } cases[] = {
        {"", "", 1}, // indications off by default: stored silently
        {"AT+CNMI=2,0,0,0,0\r", "", 1},
        {"AT+CNMI=2,1,0,0,0\r", indication(1), 1},
        {"AT+CNMI=1,3,0,0,0\r", indication(1), 1},
        {"AT+CNMI=2,2,0,0,0\r",
         "\r\n+CMT: ," + QByteArray::number(part.tpduLength) + "\r\n" + part.hex.toLatin1() + "\r\n", 0},
    };
    for (const auto& c : cases) {
        Modem modem;
        if (!c.cnmi.isEmpty()) {
            ASSERT_EQ(modem.send(c.cnmi), kOk);
        }
        modem.session.deliver(m);
        EXPECT_EQ(modem.line.take(), c.announced) << c.cnmi.constData();
        EXPECT_EQ(modem.session.inbox().store().used(), c.stored) << c.cnmi.constData();
        ASSERT_EQ(modem.line.events.size(), 1);
        EXPECT_EQ(modem.line.events.at(0).value("event").toString(), "delivered");
        EXPECT_EQ(modem.line.events.at(0).value("text").toString(), "STOP");
    }
}

TEST(ModemInbox, PduModeListsReadsAndDeletes) {
    Modem modem;
    const IncomingMessage first = incoming("+447700900001", "STOP");
    const IncomingMessage second = incoming("+447700900002", "Emoji 😀");
    modem.session.deliver(first);
    modem.session.deliver(second);
    const auto entry = [](int index, int status, const IncomingMessage& m) {
        const sim::DeliverPart part = pduOf(m);
        return QStringLiteral("+CMGL: %1,%2,,%3\r\n%4")
            .arg(index)
            .arg(status)
            .arg(part.tpduLength)
            .arg(part.hex)
            .toLatin1();
    };
    const sim::DeliverPart secondPart = pduOf(second);
    const QByteArray secondRead =
        QStringLiteral("+CMGR: 1,,%1\r\n%2").arg(secondPart.tpduLength).arg(secondPart.hex).toLatin1();
    const struct {
        QByteArray command;
        QByteArray answer;
    } steps[] = {
        {"AT+CPMS?\r", answer("+CPMS: \"SM\",2,30,\"SM\",2,30,\"SM\",2,30")},
        {"AT+CPMS=?\r", answer("+CPMS: (\"SM\"),(\"SM\"),(\"SM\")")},
        {"AT+CPMS=\"SM\",\"SM\"\r", answer("+CPMS: 2,30,2,30,2,30")},
        {"AT+CPMS=\"ME\"\r", "\r\n+CMS ERROR: 302\r\n"},
        {"AT+CMGL=?\r", answer("+CMGL: (0-4)")},
        {"AT+CMGL=1\r", kOk}, // nothing read yet
        {"AT+CMGL=0\r", answer(entry(1, 0, first) + "\r\n" + entry(2, 0, second))},
        {"AT+CMGL=0\r", kOk}, // listing read them
        {"AT+CMGL=4\r", answer(entry(1, 1, first) + "\r\n" + entry(2, 1, second))},
        {"AT+CMGR=2\r", answer(secondRead)},
        {"AT+CMGD=1\r", kOk},
        {"AT+CMGD=1\r", kOk}, // an empty place deletes without complaint
        {"AT+CMGR=1\r", "\r\n+CMS ERROR: 321\r\n"},
        {"AT+CMGD=?\r", answer("+CMGD: (2),(0-4)")},
        {"AT+CMGR=0\r", "\r\n+CMS ERROR: 321\r\n"},
        {"AT+CMGR=31\r", "\r\n+CMS ERROR: 321\r\n"},
        {"AT+CMGR\r", "\r\n+CMS ERROR: 321\r\n"},
        {"AT+CMGD=31\r", "\r\n+CMS ERROR: 321\r\n"},
        {"AT+CMGD=1,5\r", "\r\n+CMS ERROR: 304\r\n"},
        {"AT+CMGL=5\r", "\r\n+CMS ERROR: 304\r\n"},
        {"AT+CMGL=\"ALL\"\r", "\r\n+CMS ERROR: 304\r\n"}, // text mode's words in PDU mode
        {"AT+CMGD=0,4\r", kOk},
        {"AT+CPMS?\r", answer("+CPMS: \"SM\",0,30,\"SM\",0,30,\"SM\",0,30")},
    };
    for (const auto& s : steps)
        EXPECT_EQ(modem.send(s.command).toStdString(), s.answer.toStdString()) << s.command.constData();
    QStringList deleted;
    for (const QJsonObject& event : modem.line.events)
        if (event.value("event").toString() == u"deleted")
            deleted << QString::number(event.value("index").toInt()) + ":" + event.value("text").toString();
    EXPECT_EQ(deleted, (QStringList{"1:STOP", "2:Emoji 😀"}));
}

TEST(ModemInbox, TextModeShowsHeadersAndTextsInTheCharacterSet) {
    Modem modem;
    modem.session.deliver(incoming("+447700900001", "Price 5€"));
    modem.session.deliver(incoming("MyBank", "Hi 😀"));
    const QByteArray head1 = "+CMGL: 1,\"REC UNREAD\",\"+447700900001\",,\"24/05/01,12:00:00+00\"\r\n";
    const QByteArray head2 = "+CMGL: 2,\"REC UNREAD\",\"MyBank\",,\"24/05/01,12:00:00+00\"\r\n";
    const QByteArray emojiHex = "004800690020D83DDE00"; // a UCS2 message shows as hex in any set
    const struct {
        QByteArray command;
        QByteArray answer;
    } steps[] = {
        {"AT+CMGF=1\r", kOk},
        {"AT+CMGL=?\r", answer("+CMGL: (\"REC UNREAD\",\"REC READ\",\"STO UNSENT\",\"STO SENT\",\"ALL\")")},
        {"AT+CMGL=4\r", "\r\n+CMS ERROR: 305\r\n"},
        {"AT+CMGL=\"NEW\"\r", "\r\n+CMS ERROR: 305\r\n"},
        {"AT+CMGL\r", answer(head1 + "Price 5?\r\n" + head2 + emojiHex)}, // IRA lacks the euro sign
        {"AT+CSCS=\"UTF-8\"\r", kOk},
        {"AT+CMGR=1\r",
         answer("+CMGR: \"REC READ\",\"+447700900001\",,\"24/05/01,12:00:00+00\"\r\nPrice 5€")},
        {"AT+CSCS=\"GSM\"\r", kOk},
        {"AT+CMGR=1\r",
         answer("+CMGR: \"REC READ\",\"+447700900001\",,\"24/05/01,12:00:00+00\"\r\nPrice 5\x1b\x65")},
        {"AT+CSCS=\"HEX\"\r", kOk},
        {"AT+CMGR=1\r",
         answer("+CMGR: \"REC READ\",\"+447700900001\",,\"24/05/01,12:00:00+00\"\r\n507269636520351B65")},
        {"AT+CSCS=\"UCS2\";+CSDH=1\r", kOk},
        {"AT+CMGL=\"REC READ\"\r",
         answer("+CMGL: 1,\"REC READ\",\"002B003400340037003700300030003900300030003000300031\",,"
                "\"24/05/01,12:00:00+00\",145,9\r\n005000720069006300650020003520AC\r\n"
                "+CMGL: 2,\"REC READ\",\"004D007900420061006E006B\",,\"24/05/01,12:00:00+00\",208,10\r\n" +
                emojiHex)},
        {"AT+CSCS=\"IRA\"\r", kOk},
        {"AT+CMGR=2\r",
         answer("+CMGR: \"REC READ\",\"MyBank\",,\"24/05/01,12:00:00+00\",208,4,0,8,,,10\r\n" + emojiHex)},
    };
    for (const auto& s : steps)
        EXPECT_EQ(modem.send(s.command).toStdString(), s.answer.toStdString()) << s.command.constData();
}

TEST(ModemInbox, FullSimKeepsMessagesWaitingInTheNetwork) {
    ModemBehaviour behaviour = Modem::quiet();
    behaviour.simSize = 2;
    Modem modem(behaviour);
    ASSERT_EQ(modem.send("AT+CNMI=2,1,0,0,0\r"), kOk);
    for (const char* text : {"one", "two", "three"})
        modem.session.deliver(incoming("+447700900001", text));
    EXPECT_EQ(modem.line.take(), indication(1) + indication(2)); // the third waits
    EXPECT_EQ(modem.session.inbox().waitingInNetwork(), 1);
    EXPECT_EQ(modem.line.events.size(), 2);
    EXPECT_EQ(modem.send("AT+CPMS?\r"), answer("+CPMS: \"SM\",2,2,\"SM\",2,2,\"SM\",2,2"));
    EXPECT_EQ(modem.send("AT+CMGW=12\r"), "\r\n+CMS ERROR: 322\r\n"); // no place to write to
    // a place freed takes the waiting message, announced after the answer that freed it
    EXPECT_EQ(modem.send("AT+CMGD=1\r"), kOk + indication(1));
    ASSERT_EQ(modem.line.events.size(), 4);
    EXPECT_EQ(modem.line.events.at(2).value("event").toString(), "deleted");
    EXPECT_EQ(modem.line.events.at(3).value("text").toString(), "three");
    EXPECT_EQ(modem.line.events.at(3).value("indexes").toArray().at(0).toInt(), 1);
    EXPECT_EQ(modem.send("AT+CMGF=1;+CMGR=1\r"),
              answer("+CMGR: \"REC UNREAD\",\"+447700900001\",,\"24/05/01,12:00:00+00\"\r\nthree"));
    EXPECT_EQ(modem.session.inbox().waitingInNetwork(), 0);
}

TEST(ModemInbox, StartsWithTheMessagesGivenAndAFullSimWhenTheyFillIt) {
    ModemBehaviour behaviour = Modem::quiet();
    behaviour.simSize = 3;
    for (int i = 1; i <= 3; ++i)
        behaviour.simMessagesAtStart.append(incoming("+447700900009", QStringLiteral("kept %1").arg(i)));
    Modem modem(behaviour);
    ASSERT_EQ(modem.send("AT+CNMI=2,1,0,0,0\r"), kOk);
    EXPECT_EQ(modem.send("AT+CPMS?\r"), answer("+CPMS: \"SM\",3,3,\"SM\",3,3,\"SM\",3,3"));
    EXPECT_EQ(modem.send("AT+CMGF=1;+CMGR=3\r"),
              answer("+CMGR: \"REC UNREAD\",\"+447700900009\",,\"24/05/01,12:00:00+00\"\r\nkept 3"));
    modem.session.deliver(incoming("+447700900001", "late"));
    EXPECT_EQ(modem.line.take(), "");
    EXPECT_TRUE(modem.line.events.isEmpty()); // not delivered while it waits
    EXPECT_EQ(modem.send("AT+CMGD=2\r"), kOk + indication(2));
}

TEST(ModemInbox, AMessageArrivingDuringASendingIsAnnouncedAmidIt) {
    const IncomingMessage reply = incoming("+447700900001", "STOP");
    const struct {
        const char* name;
        bool inside;
        bool fromTheLine; // arrived through the line's queue rather than the behaviour's plan
        QByteArray afterPdu;
    } cases[] = {
        {"before the answer", false, false, indication(1) + answer("+CMGS: 1")},
        {"inside the answer", true, false, "\r\n+CMGS: 1\r\n" + indication(1) + kOk},
        {"queued meanwhile", false, true, indication(1) + answer("+CMGS: 1")},
    };
    for (const auto& c : cases) {
        ModemBehaviour behaviour = Modem::quiet();
        behaviour.indicationsInsideAnswers = c.inside;
        if (!c.fromTheLine)
            behaviour.arrivalsDuringSubmission.insert(1, reply);
        Modem modem(behaviour);
        ASSERT_EQ(modem.send("AT+CNMI=2,1,0,0,0\r"), kOk);
        EXPECT_EQ(modem.send("AT+CMGS=12\r"), "\r\n> ") << c.name;
        if (c.fromTheLine)
            modem.line.pendingArrivals.append(reply);
        EXPECT_EQ(modem.send(kSubmit), c.afterPdu) << c.name;
        EXPECT_EQ(modem.line.parts.size(), 1) << c.name;           // the message went all the same
        EXPECT_EQ(modem.send("AT+CMGS=12\r"), "\r\n> ") << c.name; // one arrival, not one per message
        EXPECT_EQ(modem.send(kSubmit), answer("+CMGS: 2")) << c.name;
    }
}

TEST(ModemInbox, IndicationsHeldForAnAnswerGoBeforeItsFinalResult) {
    ModemBehaviour behaviour = Modem::quiet();
    behaviour.indicationsInsideAnswers = true;
    Modem modem(behaviour);
    ASSERT_EQ(modem.send("AT+CNMI=2,1,0,0,0\r"), kOk);
    modem.session.deliver(incoming("+447700900001", "one"));
    EXPECT_EQ(modem.line.take(), "");
    EXPECT_EQ(modem.send("AT+CSQ\r"), "\r\n+CSQ: 20,99\r\n" + indication(1) + kOk);
    EXPECT_EQ(modem.send("AT\r"), kOk);
}

TEST(ModemInbox, LongMessagesArriveAsPartsInTheirOwnPlaces) {
    Modem modem;
    ASSERT_EQ(modem.send("AT+CNMI=2,1,0,0,0\r"), kOk);
    IncomingMessage m = incoming("+447700900001", QString(400, u'x'));
    m.outOfOrder = true;
    m.dropPart = 2;
    modem.session.deliver(m);
    EXPECT_EQ(modem.line.take(), indication(1) + indication(2));
    QList<int> sequences;
    for (int index : {1, 2}) {
        const QByteArray read = modem.send("AT+CMGR=" + QByteArray::number(index) + "\r");
        const QList<QByteArray> lines = read.split('\n');
        ASSERT_GE(lines.size(), 3) << read.constData();
        const sim::DecodedPdu pdu =
            sim::PduDecoder::decodeDeliver(QString::fromLatin1(lines.at(2).trimmed()));
        ASSERT_TRUE(pdu.ok) << pdu.error.toStdString();
        EXPECT_EQ(pdu.concatenation.total, 3);
        sequences << pdu.concatenation.sequence;
    }
    EXPECT_EQ(sequences, (QList<int>{3, 1})); // last first, the middle one lost
    ASSERT_EQ(modem.line.events.size(), 1);
    EXPECT_EQ(modem.line.events.at(0).value("lost").toInt(), 2);
    EXPECT_EQ(modem.line.events.at(0).value("parts").toInt(), 2);
    EXPECT_EQ(modem.line.events.at(0).value("total").toInt(), 3);
}

TEST(ModemInbox, WritesMessagesToTheSim) {
    Modem modem;
    const struct {
        QByteArray command;
        QByteArray answer;
    } steps[] = {
        {"AT+CMGW=12\r", "\r\n> "},
        {kSubmit, answer("+CMGW: 1")},
        {"AT+CMGW=12,3\r", "\r\n> "},
        {"0011000591\x1a", "\r\n+CMS ERROR: 304\r\n"},
        {"AT+CMGF=1\r", kOk},
        {"AT+CMGW=\"+447700900005\"\r", "\r\n> "},
        {"Note\x1a", answer("+CMGW: 2")},
        {"AT+CMGL=\"STO UNSENT\"\r", answer("+CMGL: 1,\"STO UNSENT\",\"+12345\",,\r\nA\r\n+CMGL: 2,\"STO "
                                            "UNSENT\",\"+447700900005\",,\r\nNote")},
        {"AT+CMGF=0;+CMGR=2\r", answer("+CMGR: 2,,18\r\n0011000C914477000900500000AA04CE37BD0C")},
    };
    for (const auto& s : steps)
        EXPECT_EQ(modem.send(s.command).toStdString(), s.answer.toStdString()) << s.command.constData();
}

TEST(ModemInbox, KeptStatusReportsShareTheSim) {
    ModemBehaviour behaviour = Modem::quiet();
    behaviour.reportsStoredOnly = true;
    behaviour.statusReportDelayMs = 0;
    Modem modem(behaviour);
    ASSERT_EQ(modem.send("AT+CNMI=2,1,0,2,0\r"), kOk);
    ASSERT_EQ(modem.send("AT+CMGS=12\r"), "\r\n> ");
    ASSERT_EQ(modem.send("00310005912143F50000FF0141\x1a"), answer("+CMGS: 1")); // asks for a report
    modem.session.releaseDue();
    EXPECT_EQ(modem.line.take(), "\r\n+CDSI: \"SR\",1\r\n");
    modem.session.deliver(incoming("+447700900001", "STOP"));
    EXPECT_EQ(modem.line.take(), indication(2));
    EXPECT_EQ(modem.send("AT+CPMS?\r"), answer("+CPMS: \"SM\",2,30,\"SM\",2,30,\"SM\",2,30"));
    const QByteArray report = modem.send("AT+CMGR=1\r");
    EXPECT_TRUE(report.startsWith("\r\n+CMGR: 0,,")) << report.constData();
    EXPECT_EQ(modem.send("AT+CMGD=1\r"), kOk);
    EXPECT_EQ(modem.send("AT+CMGR=1\r"), "\r\n+CMS ERROR: 321\r\n");
}

} // namespace
