#pragma once
// The layouts of every export: the sending report, the sent items, the templates, the
// exclusion numbers and the contact list, as text, HTML or workbook rows. Pure functions:
// the bytes of a file from its items, so each layout is checked byte for byte.
//
// Text and HTML reports (sending report, sent items, templates) are UTF-8 with one byte-order
// mark at the start, so that editors and browsers on any system know them for UTF-8. The
// exclusion numbers and the contact list are UTF-8 text without a mark: they are lists of
// numbers that other programs read as plain lines.
#include "sheets/SpreadsheetData.h"

#include <QByteArray>
#include <QList>
#include <QString>

// SENT_EXPORT_MODE values.
enum class ExportFormat { Text = 0, Html = 1, Xlsx = 2 };

// "txt", "html", "xlsx".
QString exportExtension(ExportFormat format);

// The rule of 76 "=" that frames every text heading and ends every text item.
inline const QString kExportRule = QString(76, QLatin1Char('='));

// A whole text or HTML report as a file holds it: the UTF-8 byte-order mark, then the text.
QByteArray utf8WithMark(const QString& text);

// A value in an HTML report: markup characters escaped (a message is data, never markup);
// with asMessage, line feeds become "<br>" and spaces "&nbsp;".
QString htmlValue(const QString& value, bool asMessage);

// True for the two statuses of a message the modem took.
bool isSentStatus(const QString& status);

// True when a status belongs to the group of the filter (0 all, 1 sent, 2 unsent).
bool statusPassesFilter(const QString& status, int filter);

// --- The sending job's report: each item with its number, message, current status and status,
// then what a device did with it.
struct ReportItem {
    QString number, message, currentStatus, status;
    QString device;        // the port or phone it went through; "" when it reached none
    int attempts = 0;      // submissions begun
    QList<int> references; // the network's reference of each accepted part; a phone gives none
    QString delivery;      // the delivery reports' verdict; "" when none was asked for
};
QByteArray sendingReportText(const QList<ReportItem>& items);
QByteArray sendingReportHtml(const QList<ReportItem>& items);
SpreadsheetData sendingReportRows(const QList<ReportItem>& items);

// --- The sent items of either window, each with its status (empty in a phone's log of an older
// version).
struct SentItem;
QByteArray sentItemsText(const QList<SentItem>& items);
QByteArray sentItemsHtml(const QList<SentItem>& items);
SpreadsheetData sentItemsRows(const QList<SentItem>& items);

// --- Templates.
inline const QString kTemplatesTitle = QStringLiteral("[ Bulk SMS - Templates]");
QByteArray templatesText(const QStringList& templates);
QByteArray templatesHtml(const QStringList& templates);
SpreadsheetData templatesRows(const QStringList& templates);

// --- Exclusion numbers (UTF-8).
QByteArray exclusionNumbersText(const QStringList& numbers);
SpreadsheetData exclusionNumbersRows(const QStringList& numbers);

// --- The contact list of a main window (UTF-8): numbers and messages.
QByteArray contactListText(const QList<QPair<QString, QString>>& rows);
SpreadsheetData contactListRows(const QList<QPair<QString, QString>>& rows);
