#include "CommandLineInputs.h"

#include "core/Counted.h"
#include "list/NumberCandidates.h"
#include "list/NumberFileReader.h"
#include "sheets/ColumnNames.h"
#include "sheets/DynamicMessages.h"
#include "sheets/SpreadsheetWriter.h"
#include "text/RtfConverter.h"
#include "text/TextFileDecoder.h"

#include <QFile>
#include <QFileInfo>

namespace {

// A column given as letters or as a header title; -1 when there is none such.
int columnIndex(const QString& column, const QStringList& header) {
    const qsizetype titled = header.indexOf(column);
    if (titled >= 0)
        return int(titled);
    const QString letters = column.trimmed().toUpper();
    for (QChar c : letters)
        if (c < u'A' || c > u'Z')
            return -1;
    return letters.isEmpty() ? -1 : Get_Col_index(letters, 65);
}

// Turns the rows of a sheet into recipients as they come; the first row settles the columns.
class WorkbookRows {
public:
    WorkbookRows(const QString& message, const WorkbookInput& in, QList<Recipient>& out)
        : m_message(message), m_in(in), m_out(out) {}

    // False (with reason) when a named column does not exist; stops the read.
    bool take(const QStringList& row, QString& reason) {
        if (m_rows++ == 0) {
            if (!settleColumns(m_in.header ? row : QStringList(), reason))
                return false;
            if (m_in.header)
                return true;
        }
        // At most kMaxRows rows of data; a header row does not count toward them.
        if (m_rows - (m_in.header ? 1 : 0) > kMaxDynamicRows)
            return true;
        QString text = m_message;
        if (m_messageColumn >= 0)
            text = row.value(m_messageColumn);
        else if (!m_in.templateText.isEmpty())
            text = fillTemplate(m_in.templateText, row);
        for (int column : m_numberColumns)
            if (!row.value(column).trimmed().isEmpty())
                m_out.append({row.value(column), text});
        return true;
    }
    qsizetype rows() const { return m_rows; }

private:
    bool settleColumns(const QStringList& header, QString& reason) {
        for (const QString& name :
             m_in.numberColumns.isEmpty() ? QStringList{QStringLiteral("A")} : m_in.numberColumns) {
            const int column = columnIndex(name, header);
            if (column < 0) {
                reason = QStringLiteral("No column %1.").arg(name);
                return false;
            }
            m_numberColumns << column;
        }
        m_messageColumn = m_in.messageColumn.isEmpty() ? -1 : columnIndex(m_in.messageColumn, header);
        if (!m_in.messageColumn.isEmpty() && m_messageColumn < 0) {
            reason = QStringLiteral("No column %1.").arg(m_in.messageColumn);
            return false;
        }
        return true;
    }

    const QString& m_message;
    const WorkbookInput& m_in;
    QList<Recipient>& m_out;
    QList<int> m_numberColumns;
    int m_messageColumn = -1;
    qsizetype m_rows = 0;
};

bool fromWorkbook(const QString& path, const QString& message, const WorkbookInput& in, QList<Recipient>& out,
                  QString& reason) {
    const QString ext = QFileInfo(path).suffix().toLower();
    WorkbookRows rows(message, in, out);
    SpreadsheetWriter spreadsheet; // this read's alone
    bool read = true;
    if (ext == QLatin1String("ods") || ext == QLatin1String("xml")) {
        const SpreadsheetData table = ext == QLatin1String("ods")
                                          ? spreadsheet.ReadODS(path)
                                          : SpreadsheetWriter::ReadWorksheetXML2004(path);
        for (const QStringList& row : table)
            if (!rows.take(row, reason))
                return false;
    } else {
        spreadsheet.ReadWorkbook(path, true);
        const QStringList sheets = spreadsheet.Read_Sheet_Name();
        if (!spreadsheet.readFailure.isEmpty()) {
            reason = QStringLiteral("%1: %2").arg(path, spreadsheet.readFailure);
            return false;
        }
        if (in.sheet < 1 || in.sheet > sheets.size()) {
            reason =
                QStringLiteral("The workbook has no sheet %1 (it has %2).").arg(in.sheet).arg(sheets.size());
            return false;
        }
        spreadsheet.Excel_Sheet_Number = in.sheet;
        spreadsheet.ReadData_only_column();
        // One pass: each row becomes recipients as it is read and is then gone.
        read = spreadsheet.ReadRows([&](QStringList& row) { return rows.take(row, reason); });
        spreadsheet.releaseWorkbook();
        if (!reason.isEmpty())
            return false;
    }
    if (read && rows.rows() > 0)
        return true;
    const QString why = spreadsheet.readFailure;
    reason = why.isEmpty() ? QStringLiteral("Nothing could be read from %1.").arg(path)
                           : QStringLiteral("%1: %2").arg(path, why);
    return false;
}

} // namespace

bool recipientsFromFile(const QString& path, const QString& message, const WorkbookInput& workbook,
                        QList<Recipient>& recipients, QString& reason) {
    const QString ext = QFileInfo(path).suffix().toLower();
    if (ext == QLatin1String("xlsx") || ext == QLatin1String("ods") || ext == QLatin1String("xml"))
        return fromWorkbook(path, message, workbook, recipients, reason);

    // Read as a stream: a file of any size (or a device that never ends) costs one chunk.
    NumberFileReader reader;
    QString failure;
    if (!reader.open(path, failure)) {
        reason = failure.isEmpty() ? QStringLiteral("Cannot read %1.").arg(path) : failure;
        return false;
    }
    QStringList candidates;
    QList<qint64> lines;
    const auto take = [&] {
        for (qsizetype i = 0; i < candidates.size(); ++i)
            if (!candidates.at(i).isEmpty())
                recipients.append({candidates.at(i), message, lines.value(i), {}});
        candidates.clear();
        lines.clear();
    };
    while (reader.next(candidates, &lines))
        take();
    take();
    const QString tooLong =
        QStringLiteral("longer than %1 characters, no number read").arg(NumberFileReader::kMaxLineLength);
    for (const qint64 line : reader.cutLineNumbers())
        recipients.append({{}, message, line, tooLong});
    if (reader.cutLines() > reader.cutLineNumbers().size())
        recipients.append({{},
                           message,
                           0,
                           QStringLiteral("%1 longer than %2 characters")
                               .arg(counted(reader.cutLines() - reader.cutLineNumbers().size(),
                                            QStringLiteral("more line"), QStringLiteral("more lines")),
                                    localNumber(NumberFileReader::kMaxLineLength))});
    if (reader.failed()) {
        reason = QStringLiteral("%1 is not a text file.").arg(path);
        return false;
    }
    return true;
}

namespace {

constexpr qint64 kMaxMessageFileBytes = qint64(1) << 20;

// The offset of the first byte that is not well-formed UTF-8 (overlong forms, surrogates and
// code points past U+10FFFF included), or a NUL (UTF-16 without its mark), -1 when none.
qsizetype firstInvalidUtf8(const QByteArray& bytes) {
    const auto* b = reinterpret_cast<const unsigned char*>(bytes.constData());
    const qsizetype n = bytes.size();
    for (qsizetype i = 0; i < n;) {
        const unsigned char c = b[i];
        int more = 0;
        unsigned min = 0;
        if (c == 0) {
            return i;
        } else if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            more = 1;
            min = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            more = 2;
            min = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            more = 3;
            min = 0x10000;
        } else {
            return i;
        }
        unsigned code = c & (0x3F >> more);
        for (int k = 1; k <= more; ++k) {
            if (i + k >= n || (b[i + k] & 0xC0) != 0x80)
                return i;
            code = (code << 6) | (b[i + k] & 0x3F);
        }
        if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return i;
        i += more + 1;
    }
    return -1;
}

} // namespace

bool messageFromFile(const QString& path, QString& text, QString& reason) {
    const QFileInfo info(path);
    if (!info.exists()) {
        reason = QStringLiteral("Cannot read %1").arg(path);
        return false;
    }
    if (!info.isFile()) {
        reason =
            QStringLiteral("The message file is not a regular file (a device or a pipe may never end): %1")
                .arg(path);
        return false;
    }
    if (info.size() > kMaxMessageFileBytes) {
        reason =
            QStringLiteral("The message file is larger than 1 MiB (%1 bytes): %2").arg(info.size()).arg(path);
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        reason = QStringLiteral("Cannot read %1").arg(path);
        return false;
    }
    const QByteArray bytes = file.read(kMaxMessageFileBytes + 1);
    if (bytes.size() > kMaxMessageFileBytes) {
        reason = QStringLiteral("The message file is larger than 1 MiB: %1").arg(path);
        return false;
    }
    if (const qsizetype bad = firstInvalidUtf8(bytes); bad >= 0) {
        reason = QStringLiteral("The message file is not UTF-8: byte %1 (offset from 0) of %2 is not valid")
                     .arg(bad)
                     .arg(path);
        return false;
    }
    text = QString::fromUtf8(bytes);
    if (text.startsWith(QChar(QChar::ByteOrderMark)))
        text.remove(0, 1);
    return true;
}
