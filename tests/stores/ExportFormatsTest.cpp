#include "stores/ExportFormats.h"
#include "TestEnvironment.h"
#include "stores/SentItemFile.h"

#include <gtest/gtest.h>

namespace {

const QString kRule =
    QStringLiteral("============================================================================");
const QByteArray kMark = QByteArrayLiteral("\xEF\xBB\xBF");

// A text report is its mark and then the UTF-8 of the whole text, nothing between the items.
QByteArray markedUtf8(const QString& text) { return kMark + text.toUtf8(); }

const QList<ReportItem> kReport = {
    {"+447700900001",
     QString::fromUtf8("Hi\nthere \xE2\x82\xAC"),
     "Done (ttyUSB0)",
     "Message sent successfully.",
     "/dev/ttyUSB0",
     2,
     {17, 18},
     "Delivered"},
    {"5550100", "x", "Stopped", "Stopped.", "", 0, {}, ""},
    {"5550101", "y", "Done (VIRTUAL PHONE)", "Message sent to device.", "VIRTUAL PHONE", 1, {}, ""}};

TEST(ExportFormats, SendingReportTextIsOneUtf8TextWithEveryColumn) {
    const QByteArray bytes = sendingReportText(kReport);
    EXPECT_EQ(
        bytes,
        markedUtf8(
            kRule + "\n\n\t\t\t[ Bulk SMS - Sent Items]\t\t\t\n\n" + kRule + "\n" +
            QString::fromUtf8("Number\t\t: +447700900001\nMessage\t\t: Hi\nthere \xE2\x82\xAC\n"
                              "Current Status\t: Done (ttyUSB0)\n"
                              "Sent Status\t: Message sent successfully.\nDevice\t\t: /dev/ttyUSB0\n"
                              "Attempts\t: 2\nMessage Reference\t: 17, 18\nDelivery State\t: Delivered\n") +
            kRule + "\n" +
            "Number\t\t: 5550100\nMessage\t\t: x\nCurrent Status\t: Stopped\nSent Status\t: Stopped.\n"
            "Device\t\t: \nAttempts\t: 0\nMessage Reference\t: \nDelivery State\t: \n" +
            kRule + "\n" +
            "Number\t\t: 5550101\nMessage\t\t: y\nCurrent Status\t: Done (VIRTUAL PHONE)\n"
            "Sent Status\t: Message sent to device.\nDevice\t\t: VIRTUAL PHONE\nAttempts\t: 1\n"
            "Message Reference\t: \nDelivery State\t: \n" +
            kRule + "\n"));
    reportText(bytes); // and nothing but UTF-8 after the one mark
    // A value that looks like a placeholder stays what it is.
    const QString odd = reportText(sendingReportText({{"%2", "%1 %3", "", "", "", 0, {}, ""}}));
    EXPECT_TRUE(odd.contains("Number\t\t: %2\nMessage\t\t: %1 %3\n")) << odd.toStdString();
}

TEST(ExportFormats, SendingReportRowsHaveTheSameColumns) {
    EXPECT_EQ(
        sendingReportRows(kReport.mid(0, 2)),
        (SpreadsheetData{{"Number", "Message", "Current Status", "Sent Status", "Device", "Attempts",
                          "Message Reference", "Delivery State"},
                         {"+447700900001", QString::fromUtf8("Hi\nthere \xE2\x82\xAC"), "Done (ttyUSB0)",
                          "Message sent successfully.", "/dev/ttyUSB0", "2", "17, 18", "Delivered"},
                         {"5550100", "x", "Stopped", "Stopped.", "", "0", "", ""}}));
}

// A message, a number, a status or a device name is data: none of it becomes markup.
TEST(ExportFormats, HtmlIsADocumentAndEveryValueIsEscaped) {
    const QList<ReportItem> items = {{"<b>1</b>",
                                      "a <script>&\"x\" 'y'\nline two",
                                      "Done (<A&B>)",
                                      "+CMS ERROR: <38>",
                                      "ttyUSB0 \"one\"",
                                      3,
                                      {255},
                                      "Not delivered (<x>)"}};
    const QByteArray bytes = sendingReportHtml(items);
    const QString html = reportText(bytes);
    EXPECT_TRUE(html.startsWith("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>[ Bulk SMS - "
                                "Sent Items ]</title><style type=text/css>"))
        << html.left(120).toStdString();
    EXPECT_TRUE(html.contains(".style3 {font-size: 16px;font-weight: bold;\tcolor: #ffffff;\t}style4"));
    EXPECT_TRUE(html.contains("</style></head><body bgcolor =#f1f4fa>"));
    EXPECT_TRUE(
        html.contains("<tr><th height = 30 bgcolor = #647dbe align = Left class =style3>Sent "
                      "Items:</th></tr>"
                      "<tr><td  height = 50 class = style2><table>"
                      "<tr><td width=60>Number</td><td>:&nbsp;&nbsp;</td><td>&lt;b&gt;1&lt;/b&gt;</td>"
                      "<tr><td width=60>Message</td><td>:&nbsp;&nbsp;</td><td>a&nbsp;&lt;script&gt;&amp;"
                      "&quot;x&quot;&nbsp;&#39;y&#39;<br>line&nbsp;two</td>"
                      "<tr><td width=100>Current Status</td><td>:&nbsp;&nbsp;</td><td>Done "
                      "(&lt;A&amp;B&gt;)</td>"
                      "<tr><td width=100>Sent Status</td><td>:&nbsp;&nbsp;</td><td>+CMS ERROR: "
                      "&lt;38&gt;</td>"
                      "<tr><td width=100>Device</td><td>:&nbsp;&nbsp;</td><td>ttyUSB0 &quot;one&quot;</td>"
                      "<tr><td width=100>Attempts</td><td>:&nbsp;&nbsp;</td><td>3</td>"
                      "<tr><td width=100>Message Reference</td><td>:&nbsp;&nbsp;</td><td>255</td>"
                      "<tr><td width=100>Delivery State</td><td>:&nbsp;&nbsp;</td><td>Not delivered "
                      "(&lt;x&gt;)</td></table></td></tr></table></body></html>"))
        << html.toStdString();
    EXPECT_TRUE(html.endsWith("</table></body></html>"));
    for (const char* markup : {"<script", "<b>", "<A&", "<38>", "<x>", "'y'", "\"one\""})
        EXPECT_FALSE(html.contains(markup)) << markup;
    EXPECT_EQ(html.count("<!DOCTYPE"), 1);
    EXPECT_EQ(html.count("<html>"), 1);
}

TEST(ExportFormats, SentItemsLayouts) {
    const QList<SentItem> items = {{"111", "m m", "01/02/2025", "Message sent successfully."},
                                   {"222", "<i>", "01/02/2025", ""}};
    EXPECT_EQ(
        sentItemsText(items),
        markedUtf8(
            kRule + "\n\n\t\t\t[ Bulk SMS - Sent Items]\t\t\t\n\n" + kRule + "\n" +
            "Date\t: 01/02/2025\nStatus\t: Message sent successfully.\nNumber\t: 111\nMessage\t: m m\n" +
            kRule + "\nDate\t: 01/02/2025\nStatus\t: \nNumber\t: 222\nMessage\t: <i>\n" + kRule + "\n"));
    const QString html = reportText(sentItemsHtml(items));
    EXPECT_TRUE(html.startsWith("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>[ Bulk SMS - "
                                "Sent Items ]</title>"));
    EXPECT_TRUE(html.endsWith(
        "<tr><td  height = 50 class = style2><table>"
        "<tr><td width=60>Date</td><td>:&nbsp;&nbsp;</td><td>01/02/2025</td>"
        "<tr><td width=60>Status</td><td>:&nbsp;&nbsp;</td><td></td>"
        "<tr><td width=60>Number</td><td>:&nbsp;&nbsp;</td><td>222</td>"
        "<tr><td width=60>Message</td><td>:&nbsp;&nbsp;</td><td>&lt;i&gt;</td></table></td></tr>"
        "</table></body></html>"))
        << html.toStdString();
    EXPECT_EQ(sentItemsRows(items.mid(0, 1)),
              (SpreadsheetData{{"Date", "Status", "Number", "Message"},
                               {"01/02/2025", "Message sent successfully.", "111", "m m"}}));
}

TEST(ExportFormats, TemplatesLayouts) {
    const QStringList templates = {"One", "Two <lines>\nhere"};
    EXPECT_EQ(templatesText(templates),
              markedUtf8(kRule + "\n\n\t\t\t[ Bulk SMS - Templates]\t\t\t\n\n" + kRule + "\nOne\n" + kRule +
                         "\nTwo <lines>\nhere\n" + kRule + "\n"));
    const QString html = reportText(templatesHtml(templates));
    EXPECT_TRUE(html.contains("<title>[ Bulk SMS - Templates ]</title>"));
    EXPECT_TRUE(html.endsWith("class =style3>Templates:</th></tr>"
                              "<tr><td  height = 50 class = style2><table><tr><td width=1></td><td></td><td>"
                              "One</td></table></td></tr>"
                              "<tr><td  height = 50 class = style2><table><tr><td width=1></td><td></td><td>"
                              "Two&nbsp;&lt;lines&gt;<br>here</td></table></td></tr></table></body></html>"))
        << html.toStdString();
    EXPECT_EQ(templatesRows(templates),
              (SpreadsheetData{{"Template Message"}, {"One"}, {"Two <lines>\nhere"}}));
}

TEST(ExportFormats, Utf8ListsHaveNoMark) {
    EXPECT_EQ(exclusionNumbersText({"+442079460958", "5550100"}),
              (kRule + "\n\n\t\t\t[ Bulk SMS - Exclusion Number List ]\t\t\t\n\n" + kRule +
               "\n+442079460958\n5550100\n")
                  .toUtf8());
    EXPECT_EQ(contactListText({{"111", "Hello\nagain"}, {"222", QString::fromUtf8("\xE2\x82\xAC")}}),
              (kRule + "\n\n\t\t\t[ Bulk SMS - Contact List ]\t\t\t\n\n" + kRule +
               "\n111\nHello\nagain\n222\n" + QString::fromUtf8("\xE2\x82\xAC") + "\n")
                  .toUtf8());
    EXPECT_EQ(contactListRows({{"1", "m"}}), (SpreadsheetData{{"Number", "Message"}, {"1", "m"}}));
    EXPECT_EQ(exclusionNumbersRows({"1"}), (SpreadsheetData{{"Exclusion Number"}, {"1"}}));
}

TEST(ExportFormats, SentTestKnowsOnlyTheTwoSuccessTexts) {
    for (const char* status : {"Message sent successfully.", "Message sent to device."})
        EXPECT_TRUE(isSentStatus(status)) << status;
    for (const char* status : {"Stopped.", "Excluded.", "Skipped.", "", "message sent successfully.",
                               "Message sent successfully", "Device Connection Error!"})
        EXPECT_FALSE(isSentStatus(status)) << status;
}

} // namespace
