#pragma once
// The inbox's export: every reply the window's filter takes, one a row (Received, Number,
// Campaign, Message, Opt-out, Read), as CSV text or workbook rows. Pure functions: the bytes
// of the file from its replies.
#include "campaigns/Conversations.h"
#include "sheets/SpreadsheetData.h"

#include <QByteArray>
#include <QStringList>

QStringList inboxExportTitles();
// The title row, then each reply as the operator reads it: local time, "" for no campaign,
// "Yes"/"No" for the sender opted out now and for read.
SpreadsheetData inboxExportRows(const QList<ReplyLine>& replies);
// The rows as RFC 4180 CSV in UTF-8 with a byte-order mark (so spreadsheets know the encoding),
// lines ended by CRLF.
QByteArray inboxCsv(const QList<ReplyLine>& replies);
// One CSV field: quoted when it holds a comma, a quote or a line break (quotes doubled). A
// recipient's text that a spreadsheet would take for a formula ("=", "+", "-", "@" first) gets
// a leading "'", so that opening the file never runs what a stranger wrote; a phone number
// written with its "+" stays as it is.
QString csvField(const QString& value);
