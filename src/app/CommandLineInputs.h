#pragma once
// Where the command-line sender's recipients come from: numbers given as arguments, text,
// CSV and RTF files (cut as the window's loaders cut them), and workbooks read column by
// column, with a message per row from a column or from a template with <COL-n> placeholders.
#include <QList>
#include <QString>
#include <QStringList>

struct Recipient {
    QString number; // as found; the list's insert filter still decides
    QString message;
};

struct WorkbookInput {
    int sheet = 1;             // 1-based
    bool header = false;       // the first row holds column titles
    QStringList numberColumns; // letters ("B") or header titles
    QString messageColumn;     // per-row messages
    QString templateText;      // dynamic messages: <COL-n> replaced by the row's n-th cell
};

// The text of a message file: a regular file of at most 1 MiB of UTF-8. False, with the
// reason, for anything else (a device or FIFO that never ends, bytes that are not UTF-8:
// the offset of the first one), so that nothing garbled or endless is sent.
bool messageFromFile(const QString& path, QString& text, QString& reason);

// Recipients of a file by its extension; false (with a reason) when it cannot be read.
bool recipientsFromFile(const QString& path, const QString& message, const WorkbookInput& workbook,
                        QList<Recipient>& recipients, QString& reason);
