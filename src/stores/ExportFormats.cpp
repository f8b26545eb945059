#include "ExportFormats.h"

#include "SentItemFile.h"

namespace {

// Column headings of the exported files. They read as some record keys do, but they are what
// the files say, not keys.
const QString kNumberHeading = QStringLiteral("Number");                // not a record key
const QString kMessageHeading = QStringLiteral("Message");              // not a record key
const QString kCurrentStatusHeading = QStringLiteral("Current Status"); // not a record key
const QString kStatusHeading = QStringLiteral("Status");                // not a record key
const QString kDateHeading = QStringLiteral("Date");                    // not a record key
const QString kSentStatusHeading = QStringLiteral("Sent Status");
const QString kDeviceHeading = QStringLiteral("Device");
const QString kAttemptsHeading = QStringLiteral("Attempts");
const QString kReferenceHeading = QStringLiteral("Message Reference");
const QString kDeliveryHeading = QStringLiteral("Delivery State");

QString textHeading(const QString& title) {
    return kExportRule + QStringLiteral("\n\n\t\t\t") + title + QStringLiteral("\t\t\t\n\n") + kExportRule +
           QLatin1Char('\n');
}

// The page up to the items' table: a document that says it is HTML in UTF-8, then the title
// and the caption as the layout shows them.
QString htmlPageStart(const QString& title, const QString& caption) {
    return QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>") +
           htmlValue(title, false) +
           QStringLiteral(
               "</title><style type=text/css>Body,Td,Th{font-family:Verdana, Arial, Helvetica, sans-serif; "
               "font-size:11px}.style1 {font-size: 16px;font-weight: bold; color: #000000;}.style2 "
               "{font-size: "
               "11px;font-weight: normal; color: #000000;}.style3 {font-size: 16px;font-weight: "
               "bold;\tcolor: "
               "#ffffff;\t}style4 {font-size: 12px;font-weight: bold;\tcolor: "
               "#000000;\t}.</style></head><body "
               "bgcolor =#f1f4fa><table width=1000 border=0 align=center cellpadding=0 cellspacing=0 "
               "bordercolor=#000000><tr><td align = center class= style1>") +
           htmlValue(title, false) +
           QStringLiteral(
               "</td></tr></table><br><table width=1000 border=0 align=center cellpadding=0 "
               "cellspacing=0 bordercolor=#000000><tr></tr></table><br><br><table width=1000 border=1 "
               "align=center cellpadding=0 cellspacing=0 bordercolor=#000000><tr><th height = 30 "
               "bgcolor = #647dbe align = Left class =style3>") +
           htmlValue(caption, false) + QStringLiteral("</th></tr>");
}

// Closes the items' table and the document.
const QString kHtmlPageEnd = QStringLiteral("</table></body></html>");

QString htmlRow(const QString& innerTable) {
    return QStringLiteral("<tr><td  height = 50 class = style2>") + innerTable + QStringLiteral("</td></tr>");
}

// One labelled field of an item's inner table, label and value escaped; a message keeps its
// line breaks and spaces. Its row is left open, as the layout has it.
QString htmlField(int labelWidth, const QString& label, const QString& value, bool asMessage = false) {
    return QStringLiteral("<tr><td width=%1>").arg(labelWidth) + htmlValue(label, false) +
           QStringLiteral("</td><td>:&nbsp;&nbsp;</td><td>") + htmlValue(value, asMessage) +
           QStringLiteral("</td>");
}

QByteArray utf8(const QString& text) { return text.toUtf8(); }

const QString kSentItemsTitle = QStringLiteral("[ Bulk SMS - Sent Items]");
const QString kSentItemsHtmlTitle = QStringLiteral("[ Bulk SMS - Sent Items ]");

} // namespace

QString exportExtension(ExportFormat format) {
    switch (format) {
    case ExportFormat::Html: return QStringLiteral("html");
    case ExportFormat::Xlsx: return QStringLiteral("xlsx");
    case ExportFormat::Text: break;
    }
    return QStringLiteral("txt");
}

QByteArray utf8WithMark(const QString& text) { return QByteArrayLiteral("\xEF\xBB\xBF") + text.toUtf8(); }

QString htmlValue(const QString& value, bool asMessage) {
    QString out;
    out.reserve(value.size() + 16);
    for (const QChar c : value) {
        switch (c.unicode()) {
        case '&': out += QStringLiteral("&amp;"); break;
        case '<': out += QStringLiteral("&lt;"); break;
        case '>': out += QStringLiteral("&gt;"); break;
        case '"': out += QStringLiteral("&quot;"); break;
        case '\'': out += QStringLiteral("&#39;"); break;
        case '\n': out += asMessage ? QStringLiteral("<br>") : QStringLiteral("\n"); break;
        case ' ': out += asMessage ? QStringLiteral("&nbsp;") : QStringLiteral(" "); break;
        default: out += c;
        }
    }
    return out;
}

bool statusPassesFilter(const QString& status, int filter) {
    switch (filter) {
    case 0: return true;
    case 1: return isSentStatus(status);
    case 2: return !isSentStatus(status);
    default: return false;
    }
}

bool isSentStatus(const QString& status) {
    return status == QLatin1String("Message sent successfully.") ||
           status == QLatin1String("Message sent to device.");
}

// ---- sending report ----

namespace {

QString referencesText(const QList<int>& references) {
    QStringList words;
    for (int reference : references)
        words << QString::number(reference);
    return words.join(QStringLiteral(", "));
}

// The report's values of an item, in the columns' order.
QStringList reportValues(const ReportItem& item) {
    return {item.number,
            item.message,
            item.currentStatus,
            item.status,
            item.device,
            QString::number(item.attempts),
            referencesText(item.references),
            item.delivery};
}

} // namespace

QByteArray sendingReportText(const QList<ReportItem>& items) {
    QString out = textHeading(kSentItemsTitle);
    for (const ReportItem& item : items) {
        const QStringList v = reportValues(item);
        out +=
            QStringLiteral("Number\t\t: %1\nMessage\t\t: %2\nCurrent Status\t: %3\nSent Status\t: %4\n"
                           "Device\t\t: %5\nAttempts\t: %6\nMessage Reference\t: %7\nDelivery State\t: %8\n")
                .arg(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]) +
            kExportRule + QLatin1Char('\n');
    }
    return utf8WithMark(out);
}

QByteArray sendingReportHtml(const QList<ReportItem>& items) {
    QString out = htmlPageStart(kSentItemsHtmlTitle, QStringLiteral("Sent Items:"));
    for (const ReportItem& item : items) {
        const QStringList v = reportValues(item);
        out +=
            htmlRow(QStringLiteral("<table>") + htmlField(60, kNumberHeading, v[0]) +
                    htmlField(60, kMessageHeading, v[1], true) + htmlField(100, kCurrentStatusHeading, v[2]) +
                    htmlField(100, kSentStatusHeading, v[3]) + htmlField(100, kDeviceHeading, v[4]) +
                    htmlField(100, kAttemptsHeading, v[5]) + htmlField(100, kReferenceHeading, v[6]) +
                    htmlField(100, kDeliveryHeading, v[7]) + QStringLiteral("</table>"));
    }
    return utf8WithMark(out + kHtmlPageEnd);
}

SpreadsheetData sendingReportRows(const QList<ReportItem>& items) {
    SpreadsheetData rows;
    rows.reserve(items.size() + 1);
    rows << QStringList{kNumberHeading, kMessageHeading,  kCurrentStatusHeading, kSentStatusHeading,
                        kDeviceHeading, kAttemptsHeading, kReferenceHeading,     kDeliveryHeading};
    for (const ReportItem& item : items)
        rows << reportValues(item);
    return rows;
}

// ---- sent items ----

QByteArray sentItemsText(const QList<SentItem>& items) {
    QString out = textHeading(kSentItemsTitle);
    for (const SentItem& item : items)
        out += QStringLiteral("Date\t: %1\nStatus\t: %2\nNumber\t: %3\nMessage\t: %4\n")
                   .arg(item.date, item.status, item.number, item.message) +
               kExportRule + QLatin1Char('\n');
    return utf8WithMark(out);
}

QByteArray sentItemsHtml(const QList<SentItem>& items) {
    QString out = htmlPageStart(kSentItemsHtmlTitle, QStringLiteral("Sent Items:"));
    for (const SentItem& item : items)
        out +=
            htmlRow(QStringLiteral("<table>") + htmlField(60, kDateHeading, item.date) +
                    htmlField(60, kStatusHeading, item.status) + htmlField(60, kNumberHeading, item.number) +
                    htmlField(60, kMessageHeading, item.message, true) + QStringLiteral("</table>"));
    return utf8WithMark(out + kHtmlPageEnd);
}

SpreadsheetData sentItemsRows(const QList<SentItem>& items) {
    SpreadsheetData rows;
    rows.reserve(items.size() + 1);
    rows << QStringList{kDateHeading, kStatusHeading, kNumberHeading, kMessageHeading};
    for (const SentItem& item : items)
        rows << QStringList{item.date, item.status, item.number, item.message};
    return rows;
}

// ---- templates ----

QByteArray templatesText(const QStringList& templates) {
    QString out = textHeading(kTemplatesTitle);
    for (const QString& text : templates)
        out += text + QLatin1Char('\n') + kExportRule + QLatin1Char('\n');
    return utf8WithMark(out);
}

QByteArray templatesHtml(const QStringList& templates) {
    QString out = htmlPageStart(QStringLiteral("[ Bulk SMS - Templates ]"), QStringLiteral("Templates:"));
    for (const QString& text : templates)
        out += htmlRow(QStringLiteral("<table><tr><td width=1></td><td></td><td>") + htmlValue(text, true) +
                       QStringLiteral("</td></table>"));
    return utf8WithMark(out + kHtmlPageEnd);
}

SpreadsheetData templatesRows(const QStringList& templates) {
    SpreadsheetData rows;
    rows.reserve(templates.size() + 1);
    rows << QStringList{QStringLiteral("Template Message")};
    for (const QString& text : templates)
        rows << QStringList{text};
    return rows;
}

// ---- exclusion numbers and contact list ----

QByteArray exclusionNumbersText(const QStringList& numbers) {
    QByteArray out = utf8(textHeading(QStringLiteral("[ Bulk SMS - Exclusion Number List ]")));
    for (const QString& number : numbers)
        out += utf8(number + QLatin1Char('\n'));
    return out;
}

SpreadsheetData exclusionNumbersRows(const QStringList& numbers) {
    SpreadsheetData rows;
    rows.reserve(numbers.size() + 1);
    rows << QStringList{QStringLiteral("Exclusion Number")};
    for (const QString& number : numbers)
        rows << QStringList{number};
    return rows;
}

QByteArray contactListText(const QList<QPair<QString, QString>>& rows) {
    QByteArray out = utf8(textHeading(QStringLiteral("[ Bulk SMS - Contact List ]")));
    for (const auto& [number, message] : rows)
        out += utf8(number + QLatin1Char('\n') + message + QLatin1Char('\n'));
    return out;
}

SpreadsheetData contactListRows(const QList<QPair<QString, QString>>& rows) {
    SpreadsheetData data;
    data.reserve(rows.size() + 1);
    data << QStringList{kNumberHeading, kMessageHeading};
    for (const auto& [number, message] : rows)
        data << QStringList{number, message};
    return data;
}
