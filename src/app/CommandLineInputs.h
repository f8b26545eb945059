#pragma once
// Where the command-line sender's recipients come from: numbers given as arguments, text,
// CSV and RTF files (cut as the window's loaders cut them), and workbooks read column by
// column, with a message per row from a column or from a template with <COL-n> placeholders.
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

struct Recipient {
    Recipient() = default;
    Recipient(QString number_, QString message_, qint64 line_ = 0, QString rejected_ = {})
        : number(std::move(number_)), message(std::move(message_)), line(line_),
          rejected(std::move(rejected_)) {}

    QString number; // as found; the list's insert filter still decides
    QString message;
    qint64 line = 0;  // the line of a text or CSV file it came from (0: given otherwise)
    QString rejected; // a line that gave no number (number is then empty): why
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

// Recipients of a file by its extension, in file order; a line of a text or CSV file that
// cannot give a number (too long) comes as a rejected entry. False (with a reason) when the
// file cannot be read.
bool recipientsFromFile(const QString& path, const QString& message, const WorkbookInput& workbook,
                        QList<Recipient>& recipients, QString& reason);
