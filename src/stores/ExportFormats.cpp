#include "ExportFormats.h"

#include "SentItemFile.h"

#include <QSysInfo>

namespace {

// Column headings of the exported files. They read as some record keys do, but they are what
// the files say, not keys.
const QString kNumberHeading = QStringLiteral("Number");                // not a record key
const QString kMessageHeading = QStringLiteral("Message");              // not a record key
const QString kCurrentStatusHeading = QStringLiteral("Current Status"); // not a record key
const QString kStatusHeading = QStringLiteral("Status");                // not a record key
const QString kDateHeading = QStringLiteral("Date");                    // not a record key

QString textHeading(const QString& title) {
    return kExportRule + QStringLiteral("\n\n\t\t\t") + title + QStringLiteral("\t\t\t\n\n") + kExportRule +
           QLatin1Char('\n');
}

QString htmlPageStart(const QString& title, const QString& caption) {
    return QStringLiteral(
               "<html><meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"><head><title>") +
           title +
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
           title +
           QStringLiteral(
               "</td></tr></table><br><table width=1000 border=0 align=center cellpadding=0 "
               "cellspacing=0 bordercolor=#000000><tr></tr></table><br><br><table width=1000 border=1 "
               "align=center cellpadding=0 cellspacing=0 bordercolor=#000000><tr><th height = 30 "
               "bgcolor = #647dbe align = Left class =style3>") +
           caption + QStringLiteral("</th></tr>");
}

QString htmlRow(const QString& innerTable) {
    return QStringLiteral("<tr><td  height = 50 class = style2>") + innerTable + QStringLiteral("</td></tr>");
}

// One labelled field of an item's inner table (its row is left open, as the layout has it).
QString htmlField(const QString& labelCell, const QString& value) {
    return labelCell + QStringLiteral(":&nbsp;&nbsp;</td><td>") + value + QStringLiteral("</td>");
}

QString fieldCell(int width, const QString& label) {
    return QStringLiteral("<tr><td width=%1>%2</td><td>").arg(width).arg(label);
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

QByteArray utf16Piece(const QString& text) {
    QString withMark = QChar(QChar::ByteOrderMark) + text;
    QByteArray bytes(reinterpret_cast<const char*>(withMark.utf16()), withMark.size() * 2);
    // utf16() is already in the machine's order; nothing to swap.
    static_assert(sizeof(char16_t) == 2);
    return bytes;
}

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

QByteArray sendingReportText(const QList<ReportItem>& items) {
    QByteArray out = utf16Piece(textHeading(kSentItemsTitle));
    for (const ReportItem& item : items)
        out += utf16Piece(
            QStringLiteral("Number\t\t: %1\nMessage\t\t: %2\nCurrent Status\t: %3\nSent Status\t: %4\n")
                .arg(item.number, item.message, item.currentStatus, item.status) +
            kExportRule + QLatin1Char('\n'));
    return out;
}

QByteArray sendingReportHtml(const QList<ReportItem>& items) {
    QByteArray out = utf16Piece(htmlPageStart(kSentItemsHtmlTitle, QStringLiteral("Sent Items:")));
    for (const ReportItem& item : items)
        out += utf16Piece(
            htmlRow(QStringLiteral("<table>") +
                    htmlField(fieldCell(60, kNumberHeading), htmlValue(item.number, false)) +
                    htmlField(fieldCell(60, kMessageHeading), htmlValue(item.message, true)) +
                    htmlField(fieldCell(100, kCurrentStatusHeading), htmlValue(item.currentStatus, false)) +
                    htmlField(fieldCell(100, QStringLiteral("Sent Status")), htmlValue(item.status, false)) +
                    QStringLiteral("</table>")));
    return out;
}

SpreadsheetData sendingReportRows(const QList<ReportItem>& items) {
    SpreadsheetData rows;
    rows.reserve(items.size() + 1);
    rows << QStringList{kNumberHeading, kMessageHeading, kCurrentStatusHeading,
                        QStringLiteral("Sent Status")};
    for (const ReportItem& item : items)
        rows << QStringList{item.number, item.message, item.currentStatus, item.status};
    return rows;
}

// ---- sent items ----

QByteArray sentItemsText(const QList<SentItem>& items) {
    QByteArray out = utf16Piece(textHeading(kSentItemsTitle));
    for (const SentItem& item : items) {
        const QString block = QStringLiteral("Date\t: %1\nStatus\t: %2\nNumber\t: %3\nMessage\t: %4\n")
                                  .arg(item.date, item.status, item.number, item.message);
        out += utf16Piece(block + kExportRule + QLatin1Char('\n'));
    }
    return out;
}

QByteArray sentItemsHtml(const QList<SentItem>& items) {
    QByteArray out = utf16Piece(htmlPageStart(kSentItemsHtmlTitle, QStringLiteral("Sent Items:")));
    for (const SentItem& item : items) {
        QString inner = QStringLiteral("<table>") +
                        htmlField(fieldCell(60, kDateHeading), htmlValue(item.date, false)) +
                        htmlField(fieldCell(60, kStatusHeading), htmlValue(item.status, false));
        inner += htmlField(fieldCell(60, kNumberHeading), htmlValue(item.number, false)) +
                 htmlField(fieldCell(60, kMessageHeading), htmlValue(item.message, true)) +
                 QStringLiteral("</table>");
        out += utf16Piece(htmlRow(inner));
    }
    return out;
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
    QByteArray out = utf16Piece(textHeading(kTemplatesTitle));
    for (const QString& text : templates)
        out += utf16Piece(text + QLatin1Char('\n') + kExportRule + QLatin1Char('\n'));
    return out;
}

QByteArray templatesHtml(const QStringList& templates) {
    QByteArray out =
        utf16Piece(htmlPageStart(QStringLiteral("[ Bulk SMS - Templates ]"), QStringLiteral("Templates:")));
    for (const QString& text : templates)
        out += utf16Piece(htmlRow(QStringLiteral("<table><tr><td width=1></td><td></td><td>") +
                                  htmlValue(text, true) + QStringLiteral("</td></table>")));
    return out;
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
