#include "stores/ExportFormats.h"
#include "stores/SentItemFile.h"

#include <QStringDecoder>

#include <gtest/gtest.h>

namespace {

const QString kRule =
    QStringLiteral("============================================================================");

// The UTF-16 pieces of a report, each checked to start with its own byte-order mark.
QStringList piecesOf(const QByteArray& bytes) {
    EXPECT_EQ(bytes.size() % 2, 0);
    const QString text(reinterpret_cast<const QChar*>(bytes.constData()), bytes.size() / 2);
    QStringList pieces = text.split(QChar(QChar::ByteOrderMark));
    EXPECT_TRUE(pieces.first().isEmpty()) << "the report starts with a byte-order mark";
    pieces.removeFirst();
    return pieces;
}

TEST(ExportFormats, SendingReportTextIsOnePiecePerItemWithItsOwnMark) {
    const QList<ReportItem> items = {
        {"+447700900001", "Hi\nthere", "Done (ttyUSB0)", "Message sent successfully."},
        {"5550100", "x", "Stopped", "Stopped."},
        {"5550101", "y", "Done (ttyUSB1)", "+CMS ERROR: 38"}};
    const QByteArray bytes = sendingReportText(items);
    EXPECT_EQ(bytes.left(2), QByteArray("\xFF\xFE", 2)); // little-endian machine, mark first
    const QStringList pieces = piecesOf(bytes);
    ASSERT_EQ(pieces.size(), 4);
    EXPECT_EQ(pieces[0], kRule + "\n\n\t\t\t[ Bulk SMS - Sent Items]\t\t\t\n\n" + kRule + "\n");
    EXPECT_EQ(pieces[1],
              "Number\t\t: +447700900001\nMessage\t\t: Hi\nthere\nCurrent Status\t: Done (ttyUSB0)\n"
              "Sent Status\t: Message sent successfully.\n" +
                  kRule + "\n");
    EXPECT_TRUE(pieces[3].endsWith("Sent Status\t: +CMS ERROR: 38\n" + kRule + "\n"));
}

TEST(ExportFormats, HtmlPageStartIsVerbatimAndItemsAreEscapedData) {
    const QList<ReportItem> items = {
        {"<b>1</b>", "a <script>&\"x\" 'y'\nline two", "Done", "Message sent to device."}};
    const QStringList pieces = piecesOf(sendingReportHtml(items));
    ASSERT_EQ(pieces.size(), 2);
    EXPECT_EQ(pieces[0].size(), 958);
    EXPECT_TRUE(pieces[0].startsWith("<html><meta http-equiv=\"Content-Type\" content=\"text/html; "
                                     "charset=utf-8\"><head><title>[ Bulk SMS - "
                                     "Sent Items ]</title><style type=text/css>"));
    EXPECT_TRUE(pieces[0].contains(".style3 {font-size: 16px;font-weight: bold;\tcolor: #ffffff;\t}style4"));
    EXPECT_TRUE(pieces[0].endsWith("<tr><th height = 30 bgcolor = #647dbe align = Left class =style3>Sent "
                                   "Items:</th></tr>"));
    EXPECT_EQ(
        pieces[1],
        "<tr><td  height = 50 class = style2><table>"
        "<tr><td width=60>Number</td><td>:&nbsp;&nbsp;</td><td>&lt;b&gt;1&lt;/b&gt;</td>"
        "<tr><td width=60>Message</td><td>:&nbsp;&nbsp;</td><td>a&nbsp;&lt;script&gt;&amp;&quot;x&quot;&nbsp;"
        "&#39;y&#39;<br>line&nbsp;two</td>"
        "<tr><td width=100>Current Status</td><td>:&nbsp;&nbsp;</td><td>Done</td>"
        "<tr><td width=100>Sent Status</td><td>:&nbsp;&nbsp;</td><td>Message sent to device.</td>"
        "</table></td></tr>");
}

TEST(ExportFormats, SentItemsLayouts) {
    const QList<SentItem> items = {{"111", "m m", "01/02/2025", "Message sent successfully."}};
    const QStringList text = piecesOf(sentItemsText(items));
    ASSERT_EQ(text.size(), 2);
    EXPECT_EQ(text[1],
              "Date\t: 01/02/2025\nStatus\t: Message sent successfully.\nNumber\t: 111\nMessage\t: m m\n" +
                  kRule + "\n");
    EXPECT_EQ(piecesOf(sentItemsHtml(items))[1],
              "<tr><td  height = 50 class = style2><table>"
              "<tr><td width=60>Date</td><td>:&nbsp;&nbsp;</td><td>01/02/2025</td>"
              "<tr><td width=60>Status</td><td>:&nbsp;&nbsp;</td><td>Message sent successfully.</td>"
              "<tr><td width=60>Number</td><td>:&nbsp;&nbsp;</td><td>111</td>"
              "<tr><td width=60>Message</td><td>:&nbsp;&nbsp;</td><td>m&nbsp;m</td></table></td></tr>");
    EXPECT_EQ(sentItemsRows(items),
              (SpreadsheetData{{"Date", "Status", "Number", "Message"},
                               {"01/02/2025", "Message sent successfully.", "111", "m m"}}));
}

TEST(ExportFormats, TemplatesLayouts) {
    const QStringList templates = {"One", "Two <lines>\nhere"};
    const QStringList text = piecesOf(templatesText(templates));
    ASSERT_EQ(text.size(), 3);
    EXPECT_EQ(text[0], kRule + "\n\n\t\t\t[ Bulk SMS - Templates]\t\t\t\n\n" + kRule + "\n");
    EXPECT_EQ(text[2], "Two <lines>\nhere\n" + kRule + "\n");
    const QStringList html = piecesOf(templatesHtml(templates));
    EXPECT_TRUE(html[0].contains("<title>[ Bulk SMS - Templates ]</title>"));
    EXPECT_TRUE(html[0].endsWith("class =style3>Templates:</th></tr>"));
    EXPECT_EQ(html[2], "<tr><td  height = 50 class = style2><table><tr><td width=1></td><td></td><td>"
                       "Two&nbsp;&lt;lines&gt;<br>here</td></table></td></tr>");
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
