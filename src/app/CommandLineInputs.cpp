#include "CommandLineInputs.h"

#include "list/NumberCandidates.h"
#include "sheets/ColumnNames.h"
#include "sheets/SpreadsheetWriter.h"
#include "sheets/windows/Excel_Dynamic_Msg.h"
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

bool fromWorkbook(const QString& path, const QString& message, const WorkbookInput& in, QList<Recipient>& out,
                  QString& reason) {
    const QString ext = QFileInfo(path).suffix().toLower();
    SpreadsheetData rows;
    if (ext == QLatin1String("ods")) {
        rows = SpreadsheetWriter::ReadODS(path);
    } else if (ext == QLatin1String("xml")) {
        rows = SpreadsheetWriter::ReadWorksheetXML2004(path);
    } else {
        SpreadsheetWriter::ReadWorkbook(path, true);
        const QStringList sheets = SpreadsheetWriter::Read_Sheet_Name();
        if (!SpreadsheetWriter::shared().readFailure.isEmpty()) {
            reason = QStringLiteral("%1: %2").arg(path, SpreadsheetWriter::shared().readFailure);
            return false;
        }
        if (in.sheet < 1 || in.sheet > sheets.size()) {
            reason =
                QStringLiteral("The workbook has no sheet %1 (it has %2).").arg(in.sheet).arg(sheets.size());
            return false;
        }
        Excel_Sheet_Number = in.sheet;
        SpreadsheetWriter::ReadData_only_column();
        rows = SpreadsheetWriter::ReadWorkbook(path, false);
    }
    if (rows.isEmpty()) {
        const QString why = spreadsheet ? spreadsheet->readFailure : QString();
        reason = why.isEmpty() ? QStringLiteral("Nothing could be read from %1.").arg(path)
                               : QStringLiteral("%1: %2").arg(path, why);
        return false;
    }
    const QStringList header = in.header ? rows.first() : QStringList();
    QList<int> numberColumns;
    for (const QString& name :
         in.numberColumns.isEmpty() ? QStringList{QStringLiteral("A")} : in.numberColumns) {
        const int column = columnIndex(name, header);
        if (column < 0) {
            reason = QStringLiteral("No column %1.").arg(name);
            return false;
        }
        numberColumns << column;
    }
    const int messageColumn = in.messageColumn.isEmpty() ? -1 : columnIndex(in.messageColumn, header);
    if (!in.messageColumn.isEmpty() && messageColumn < 0) {
        reason = QStringLiteral("No column %1.").arg(in.messageColumn);
        return false;
    }
    // At most kMaxRows rows of data; a header row does not count toward them.
    const qsizetype first = in.header ? 1 : 0;
    for (qsizetype r = first; r < rows.size() && r < first + Excel_Dynamic_Msg::kMaxRows; ++r) {
        const QStringList& row = rows.at(r);
        QString text = message;
        if (messageColumn >= 0)
            text = row.value(messageColumn);
        else if (!in.templateText.isEmpty())
            text = Excel_Dynamic_Msg::fillTemplate(in.templateText, row);
        for (int column : numberColumns)
            if (!row.value(column).trimmed().isEmpty())
                out.append({row.value(column), text});
    }
    return true;
}

} // namespace

bool recipientsFromFile(const QString& path, const QString& message, const WorkbookInput& workbook,
                        QList<Recipient>& recipients, QString& reason) {
    const QString ext = QFileInfo(path).suffix().toLower();
    if (ext == QLatin1String("xlsx") || ext == QLatin1String("ods") || ext == QLatin1String("xml"))
        return fromWorkbook(path, message, workbook, recipients, reason);

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        reason = QStringLiteral("Cannot read %1.").arg(path);
        return false;
    }
    const QByteArray bytes = file.readAll();
    QStringList candidates;
    if (ext == QLatin1String("rtf")) {
        candidates = NumberCandidates::fromTextLines(RtfConverter::toPlainText(bytes));
    } else {
        QString text;
        if (!TextFileDecoder::decode(bytes, text)) {
            reason = QStringLiteral("%1 is not a text file.").arg(path);
            return false;
        }
        candidates = ext == QLatin1String("csv") ? NumberCandidates::fromCsv(text)
                                                 : NumberCandidates::fromTextLines(text);
    }
    for (const QString& candidate : candidates)
        if (!candidate.isEmpty())
            recipients.append({candidate, message});
    return true;
}
