// Modems' answers listing and reading the messages they hold, in both modes, as they come:
// echoes, blank lines, unsolicited codes in between, fields quoted one way or another.
#include "gsm/ReceivedListings.h"
#include "gsm/ReceivedSms.h"

#include "QStringPrinting.h"

#include <gtest/gtest.h>

namespace {

QDateTime utc(const char* iso) { return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate); }

const QString kPartTwo = QStringLiteral(
    "0791447758100650440C914477000900100000621132210050401B050003A70202C26E32081E96D341F4FB1BB4E195DDE48D0F");
const QString kExtension = QStringLiteral("0791447758100650040C914477000900100000621132210000401D50797A5CD681"
                                          "6A9B3268C30B6F7C1B947893DA5036BDCD6B0304");
const QString kNational =
    QStringLiteral("0791447758100650040B817007900021F30000621132210000400ACF35685E2E83F2EF3A");

TEST(ReceivedListings, PduListTakesEachEntryWithItsPduAndPassesOverTheRest) {
    const QString answer = "AT+CMGL=4\r\r\n"
                           "+CMGL: 1,0,,43\r\n" +
                           kPartTwo +
                           "\r\n"
                           "^RSSI: 14\r\n"
                           "+CMGL: 2,1,\"\",45\r\n"
                           "\r\n"
                           "+CMTI: \"SM\",9\r\n" +
                           kExtension.toLower() +
                           "\r\n"
                           "+CMGL: 3,\"REC READ\",,28\r\n" + // a modem naming the state in PDU mode
                           kNational +
                           "\r\n"
                           "+CMGL: 4,0,,28\r\n"  // its PDU never came
                           "+CMGL: 5,0,28\r\n" + // no alpha field at all
                           kNational +
                           "\r\n\r\nOK\r\n"
                           "+CMGL: 6,0,,28\r\n" + // after the final result: another answer's
                           kNational +
                           "\r\n";
    const QList<ListedPdu> entries = ReceivedListings::pduList(answer);
    ASSERT_EQ(entries.size(), 4);
    const struct {
        int index, state, length;
        QString text;
    } expected[] = {{1, 0, 43, "and part two [end]"},
                    {2, 1, 45, QString::fromUtf8("Price: 5\u20ac [a]{b}^~\\|")},
                    {3, 1, 28, "Ok see you"},
                    {5, 0, 28, "Ok see you"}};
    for (qsizetype i = 0; i < entries.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(entries.at(i).index, expected[i].index);
        EXPECT_EQ(entries.at(i).state, expected[i].state);
        EXPECT_EQ(entries.at(i).length, expected[i].length);
        const std::optional<ReceivedSms> sms = decodeDeliver(entries.at(i).pdu, entries.at(i).length);
        ASSERT_TRUE(sms);
        EXPECT_EQ(sms->text, expected[i].text);
    }
}

TEST(ReceivedListings, PduListOfAModemThatLeavesOutTheServiceCentre) {
    const QString tpdu = kNational.mid(16);
    const QList<ListedPdu> entries = ReceivedListings::pduList("+CMGL: 7,0,,28\r\n" + tpdu + "\r\nOK\r\n");
    ASSERT_EQ(entries.size(), 1);
    const std::optional<ReceivedSms> sms = decodeDeliver(entries.first().pdu, entries.first().length);
    ASSERT_TRUE(sms);
    EXPECT_EQ(sms->sender, "07700900123");
}

TEST(ReceivedListings, EmptyOrRefusedListsGiveNothing) {
    for (const char* answer : {"", "OK\r\n", "AT+CMGL=4\r\r\nOK\r\n", "+CMS ERROR: 321\r\n", "ERROR",
                               "+CMGL: x,0,,28\r\n0791\r\nOK", "+CMGL 1,0,,2\r\n00"}) {
        EXPECT_TRUE(ReceivedListings::pduList(QString::fromLatin1(answer)).isEmpty()) << answer;
        EXPECT_TRUE(ReceivedListings::textList(QString::fromLatin1(answer)).isEmpty()) << answer;
    }
    // A PDU-mode entry whose PDU line is no hex is left out; one whose state is unknown is kept
    // (the PDU says what it is), where in text mode a line like it is taken for text.
    const QList<ListedPdu> unknownState = ReceivedListings::pduList("+CMGL: 1,9,,2\r\n0011\r\nOK");
    ASSERT_EQ(unknownState.size(), 1);
    EXPECT_EQ(unknownState.first().state, -1);
    EXPECT_TRUE(ReceivedListings::textList("+CMGL: 1,9,\"+1\",,\r\nhi\r\nOK").isEmpty());
    EXPECT_TRUE(ReceivedListings::pduList("+CMGL: 1,0,,28\r\nnot hex\r\nOK").isEmpty());
}

TEST(ReceivedListings, TextListKeepsLineBreaksAndTextsThatLookLikeResults) {
    const QString answer = QString::fromUtf8(
        "AT+CMGL=\"ALL\"\r\r\n"
        "+CMGL: 1,\"REC UNREAD\",\"+447700900001\",,\"26/11/23,12:00:00+04\"\r\n"
        "Hello there\r\n"
        "second line, caf\u00e9\r\n"
        "+CMGL: 2,\"REC READ\",\"+447700900002\",\"Bob, home\",\"26/11/23,12:05:00-20\"\r\n"
        "OK\r\n"
        "^RSSI: 14\r\n"
        "+CMGL: 3,REC READ,07700900123,,26/11/23,13:00:00+00,129,13\r\n" // nothing quoted, all fields shown
        "\r\n"
        "Line A\r\n"
        "\r\n"
        "Line C\r\n"
        "+CMGL: 4,\"STO UNSENT\",\"+447700900003\",,\r\n"
        "^_^ see +CMTI: you\r\n"
        "\r\n"
        "OK\r\n");
    const QList<ListedText> entries = ReceivedListings::textList(answer);
    ASSERT_EQ(entries.size(), 4);
    const struct {
        int index, state;
        QString sender;
        QDateTime sentAt;
        QString text;
    } expected[] = {
        {1, 0, "+447700900001", utc("2026-11-23T11:00:00Z"),
         QString::fromUtf8("Hello there\nsecond line, caf\u00e9")},
        {2, 1, "+447700900002", utc("2026-11-23T17:05:00Z"), "OK"},
        {3, 1, "07700900123", utc("2026-11-23T13:00:00Z"), "Line A\n\nLine C"},
        {4, 2, "+447700900003", QDateTime(), "^_^ see +CMTI: you"},
    };
    for (qsizetype i = 0; i < entries.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(entries.at(i).index, expected[i].index);
        EXPECT_EQ(entries.at(i).state, expected[i].state);
        EXPECT_EQ(entries.at(i).sender, expected[i].sender);
        EXPECT_EQ(entries.at(i).sentAt, expected[i].sentAt);
        EXPECT_EQ(entries.at(i).text, expected[i].text);
    }
}

TEST(ReceivedListings, TextListOfAnAnswerCutShortKeepsWhatCame) {
    const QList<ListedText> entries = ReceivedListings::textList(
        "+CMGL: 1,\"REC UNREAD\",\"+447700900001\",,\"26/11/23,12:00:00+04\"\r\nHalf a te");
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries.first().text, "Half a te");
}

TEST(ReceivedListings, ReadAnswersInBothModes) {
    const std::optional<ListedPdu> pdu =
        ReceivedListings::pduRead("AT+CMGR=3\r\r\n+CMGR: 0,,28\r\n" + kNational + "\r\n\r\nOK\r\n");
    ASSERT_TRUE(pdu);
    EXPECT_EQ(pdu->index, -1);
    EXPECT_EQ(pdu->state, 0);
    EXPECT_EQ(pdu->length, 28);
    EXPECT_EQ(pdu->pdu, kNational);

    // All fields shown (<tooa>,<fo>,<pid>,<dcs>,<sca>,<tosca>,<length>), and a text whose last line is "OK".
    const std::optional<ListedText> text = ReceivedListings::textRead(
        "AT+CMGR=4\r\r\n"
        "+CMGR: \"REC "
        "READ\",\"+447700900001\",,\"26/11/23,12:00:00+04\",145,4,0,0,\"+447785016005\",145,15\r\n"
        "See you at 5\r\nOK\r\n\r\nOK\r\n");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->state, 1);
    EXPECT_EQ(text->sender, "+447700900001");
    EXPECT_EQ(text->sentAt, utc("2026-11-23T11:00:00Z"));
    EXPECT_EQ(text->text, "See you at 5\nOK");

    for (const char* empty : {"+CMGR: 0,,0\r\n\r\nOK\r\n", "+CMS ERROR: 321\r\n", "OK", "", "+CMGR:\r\nOK"}) {
        EXPECT_FALSE(ReceivedListings::pduRead(QString::fromLatin1(empty))) << empty;
        EXPECT_FALSE(ReceivedListings::textRead(QString::fromLatin1(empty))) << empty;
    }
}

TEST(ReceivedListings, NewMessageNotes) {
    const struct {
        const char16_t* line;
        std::optional<int> index;
    } cases[] = {
        {u"+CMTI: \"SM\",3", 3},   {u"  +CMTI: \"ME\", 12\r", 12},
        {u"+CMTI: SM,7", 7},       {u"+cmti: \"SM\",4", 4},
        {u"+CMTI: \"SM\",-1", {}}, {u"+CMTI: \"SM\"", {}},
        {u"+CDSI: \"SM\",3", {}},  {u"+CMTI: \"SM\",3x", {}},
        {u"+CMTIX: \"SM\",3", {}}, {u"", {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ReceivedListings::newMessageIndex(c.line), c.index)
            << QString::fromUtf16(c.line).toStdString();
}

TEST(ReceivedListings, TextModeTimeStamps) {
    const struct {
        const char* stamp;
        QDateTime expected;
    } cases[] = {
        {"26/11/23,12:00:00+04", utc("2026-11-23T11:00:00Z")},
        {"26/01/01,01:00:00+08", utc("2025-12-31T23:00:00Z")},
        {"25/12/31,22:30:00-14", utc("2026-01-01T02:00:00Z")},
        {"2026/11/23,12:00:00", utc("2026-11-23T12:00:00Z")},
        {"99/03/29,15:16:59+08", utc("1999-03-29T13:16:59Z")},
        {"26/13/01,00:00:00+00", QDateTime()},
        {"26/02/30,00:00:00+00", QDateTime()},
        {"26/11/23 12:00:00", QDateTime()},
        {"", QDateTime()},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ReceivedListings::textModeTime(QString::fromLatin1(c.stamp)), c.expected) << c.stamp;
}

} // namespace
