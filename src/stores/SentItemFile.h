#pragma once
// The sent-items files: one line per sent message, "\a<Number>\v<Message>\a<Date>\v<Status>\n",
// line feeds inside the message stored as the separator. GSM keeps the send result as
// status; the Android file keeps it empty.
#include "core/Record.h"

#include <QString>

class DataFolder;

struct SentItem {
    QString number;
    QString message;
    QString date;   // "dd/MM/yyyy" of the sending run
    QString status; // "" for the Android window
};

// The line (with its "\n") that stores the item.
QByteArray formatSentItemLine(const SentItem& item);

// The items of a file's content, in file order. A line without a VT gives nothing; a
// record without a number is dropped; extra fields run into the next record.
QList<SentItem> parseSentItems(const QByteArray& content);

// Replaces the file by these items through the durable writer; error (may be null) gets
// "<path>: <reason>" when it could not, and the file stays as it was.
bool writeSentItemsFile(const QString& path, const QList<SentItem>& items, QString* error = nullptr);

// Appends one item to the file at path (after making sure the folder's data files exist).
// Thread-safe. False, with "<path>: <reason>" in error (may be null), when the line could not
// be written whole.
bool appendSentItem(const DataFolder& folder, const QString& path, const SentItem& item,
                    QString* error = nullptr);

// Today's date as a run records it.
QString sentItemDate();
