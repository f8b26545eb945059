// Status reports as the virtual modem writes them (its own encoder), read back by ours.
#include "gsm/StatusReports.h"
#include "device/DeliveryState.h"

#include "QStringPrinting.h"
#include "sim/StatusReport.h"

#include <QDateTime>

#include <gtest/gtest.h>

namespace {

TEST(StatusReports, ReportsInBothModesGiveReferenceRecipientAndStatus) {
    const QDateTime submitted = QDateTime::fromString("2026-11-23T12:00:00Z", Qt::ISODate);
    const struct {
        bool pduMode;
        int reference;
        QString recipient;
        int status;
    } cases[] = {
        {true, 7, "+447700900001", 0x00},   {true, 255, "12345", 0x46},   {true, 0, "+1234", 0x30},
        {false, 42, "+447700900001", 0x41}, {false, 3, "07700900", 0x00},
    };
    for (const auto& c : cases) {
        const QStringList lines =
            QString::fromLatin1(sim::StatusReport::unsolicited(c.pduMode, c.reference, c.recipient, c.status,
                                                               submitted, submitted.addSecs(5)))
                .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
        const std::optional<StatusReport> report = StatusReports::parse(lines.value(0), lines.value(1));
        ASSERT_TRUE(report) << lines.join(" | ").toStdString();
        EXPECT_EQ(report->reference, c.reference);
        EXPECT_EQ(report->recipient, c.recipient);
        EXPECT_EQ(report->status, c.status);
    }
}

TEST(StatusReports, WhatIsNoReportGivesNothing) {
    EXPECT_FALSE(StatusReports::parse(u"+CMTI: \"SM\",3"));
    EXPECT_FALSE(StatusReports::parse(u"+CDS: 22", u"00110005912143F50000FF0141")); // a submit, not a report
    EXPECT_FALSE(StatusReports::parse(u"+CDS: 22", u"0006"));                       // cut short
    EXPECT_FALSE(StatusReports::parse(u"+CDS: 22", u"zz"));
    EXPECT_FALSE(StatusReports::parse(u"+CDS: 6,x,\"1\",129,\"a\",\"b\",0"));
}

// Found by fuzzing: "-C" read as the octet -12 sent the parser before the PDU's start.
TEST(StatusReports, SignsAndSpacesAreNoHexOctets) {
    for (const char16_t* pdu : {u"-C", u"-C0006", u"+0", u" 7", u"0-"})
        EXPECT_FALSE(StatusReports::parse(u"+CDS: 22", pdu)) << QString::fromUtf16(pdu).toStdString();
    EXPECT_TRUE(StatusReports::fromUnsolicited({"+CDS: ", "-C", "+CDS: 6", "-C 00"}).isEmpty());
}

TEST(StatusReports, ReportsAreFoundAmongOtherUnsolicitedLines) {
    const QDateTime at = QDateTime::fromString("2026-11-23T12:00:00Z", Qt::ISODate);
    const QStringList pduReport =
        QString::fromLatin1(sim::StatusReport::unsolicited(true, 9, "+447700900001", 0x00, at, at))
            .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    const QStringList lines =
        QStringList{"^RSSI: 14"} + pduReport +
        QStringList{"+CDS: 6,10,\"+447700900002\",145,\"a\",\"b\",70", "RING", "+CDS: 25"};
    const QList<StatusReport> reports = StatusReports::fromUnsolicited(lines);
    ASSERT_EQ(reports.size(), 2); // the last head lost its PDU
    EXPECT_EQ(reports.at(0).reference, 9);
    EXPECT_EQ(reports.at(1).reference, 10);
    EXPECT_EQ(reports.at(1).status, 70);
}

TEST(StatusReports, AReportTheModemKeptIsReadInBothModes) {
    const QDateTime at = QDateTime::fromString("2026-11-23T12:00:00Z", Qt::ISODate);
    for (const bool pduMode : {true, false}) {
        const QString answer =
            sim::StatusReport::stored(pduMode, 77, "+447700900001", 0x62, at, at).join("\r\n") + "\r\n\r\nOK";
        const std::optional<StatusReport> report = StatusReports::fromStoredRead(answer);
        ASSERT_TRUE(report) << answer.toStdString();
        EXPECT_EQ(report->reference, 77);
        EXPECT_EQ(report->recipient, "+447700900001");
        EXPECT_EQ(report->status, 0x62);
    }
    EXPECT_FALSE(StatusReports::fromStoredRead("+CMS ERROR: 321"));
    EXPECT_EQ(StatusReports::storedIndex(u"+CDSI: \"SR\",12"), 12);
    EXPECT_EQ(StatusReports::storedIndex(u"+CDSI: \"SR\",x"), std::nullopt);
    EXPECT_EQ(StatusReports::storedIndex(u"+CMTI: \"SM\",3"), std::nullopt);
}

TEST(StatusReports, StatesAsAPersonReadsThem) {
    EXPECT_EQ(deliveryStateOf(0), "Delivered");
    EXPECT_EQ(deliveryStateOf(0x21), "Pending");
    EXPECT_EQ(deliveryStateOf(0x46), "Not delivered (validity period expired)");
    EXPECT_EQ(deliveryStateOf(0x61), "Not delivered (recipient busy)");
    EXPECT_EQ(deliveryStateOf(0x7F), "Not delivered (status 127)");
}

} // namespace
