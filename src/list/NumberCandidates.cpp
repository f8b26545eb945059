#include "NumberCandidates.h"

#include "core/TextUtils.h"
#include "text/NumberRules.h"
#include "text/TextLines.h"

#include <QHash>

namespace {
// Braces and backslashes are what is left of markup in exported files.
QString withoutMarkup(QString s) {
    s.remove(QLatin1Char('\\'));
    s.remove(QLatin1Char('{'));
    s.remove(QLatin1Char('}'));
    return s;
}

// Records looked at to tell the separator.
constexpr int kSniffRecords = 50;

// Adds the phone-like cells to out and counts the others.
void takePhoneCells(const QStringList& cells, QStringList& out, int& ignored) {
    for (const QString& raw : cells) {
        const QString cell = withoutMarkup(raw);
        if (looksLikePhoneNumber(cell))
            out << cell;
        else if (!cell.trimmed().isEmpty())
            ++ignored;
    }
}

} // namespace

namespace NumberCandidates {

QStringList fromTextLines(const QString& text) {
    QStringList out;
    const QStringList lines = TextLines::split(text);
    out.reserve(lines.size());
    for (const QString& line : lines)
        out << normaliseNumberText(withoutMarkup(line));
    return out;
}

QList<QStringList> parseCsv(const QString& text, QChar separator, QList<qint64>* startLines) {
    QList<QStringList> records;
    QStringList record;
    QString field;
    bool quoted = false;
    bool fieldStarted = false; // something (even "") was read for the current record
    qint64 line = 0;
    qint64 recordStart = -1;
    const auto endRecord = [&] {
        record << field;
        records << record;
        if (startLines)
            startLines->append(recordStart);
    };
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        const bool lineBreak = c == QLatin1Char('\r') || c == QLatin1Char('\n');
        if (recordStart < 0 && !lineBreak)
            recordStart = line;
        if (lineBreak && !(c == QLatin1Char('\r') && i + 1 < n && text.at(i + 1) == QLatin1Char('\n')))
            ++line;
        if (quoted) {
            if (c == QLatin1Char('"')) {
                if (i + 1 < n && text.at(i + 1) == QLatin1Char('"')) {
                    field += c;
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                field += c;
            }
            continue;
        }
        if (c == QLatin1Char('"') && field.trimmed().isEmpty()) {
            field.clear(); // spaces before an opening quote are not part of the field
            quoted = true;
            fieldStarted = true;
        } else if (c == separator) {
            record << field;
            field.clear();
            fieldStarted = true;
        } else if (lineBreak) {
            if (c == QLatin1Char('\r') && i + 1 < n && text.at(i + 1) == QLatin1Char('\n')) {
                ++i;
                ++line;
            }
            if (fieldStarted || !field.isEmpty())
                endRecord();
            record.clear();
            field.clear();
            fieldStarted = false;
            recordStart = -1;
        } else {
            // The plain run up to the next character that means something, at once.
            qsizetype end = i + 1;
            while (end < n) {
                const QChar d = text.at(end);
                if (d == separator || d == QLatin1Char('"') || d == QLatin1Char('\r') ||
                    d == QLatin1Char('\n'))
                    break;
                ++end;
            }
            field += QStringView(text).sliced(i, end - i);
            i = end - 1;
            fieldStarted = true;
        }
    }
    if (fieldStarted || !field.isEmpty())
        endRecord();
    return records;
}

QChar sniffCsvSeparator(const QString& text) {
    // Enough of the text for kSniffRecords records, cut at a line end.
    qsizetype end = 0;
    for (int lines = 0; lines < kSniffRecords && end >= 0; ++lines)
        end = text.indexOf(QLatin1Char('\n'), end + 1);
    const QString head = end < 0 ? text : text.left(end);
    QChar best = QLatin1Char(',');
    qsizetype bestAgreeing = 0, bestFields = 0;
    for (const QChar separator : {QChar(u','), QChar(u';'), QChar(u'\t')}) {
        // The field count most records share, and how many share it.
        QHash<qsizetype, qsizetype> counts;
        for (const QStringList& record : parseCsv(head, separator))
            if (record.size() > 1)
                ++counts[record.size()];
        qsizetype agreeing = 0, fields = 0;
        for (auto it = counts.constBegin(); it != counts.constEnd(); ++it) {
            if (it.value() > agreeing || (it.value() == agreeing && it.key() > fields)) {
                agreeing = it.value();
                fields = it.key();
            }
        }
        if (agreeing > bestAgreeing || (agreeing == bestAgreeing && agreeing > 0 && fields > bestFields)) {
            best = separator;
            bestAgreeing = agreeing;
            bestFields = fields;
        }
    }
    return best;
}

QStringList fromCsv(const QString& text, int* ignored) {
    QStringList out;
    int notPhones = 0;
    // Spreadsheet programs may name the separator on a first line of its own: "sep=;".
    QStringView body(text);
    QChar separator;
    if (text.startsWith(QLatin1String("sep="), Qt::CaseInsensitive) && text.size() > 4 &&
        (text.size() == 5 || text.at(5) == QLatin1Char('\r') || text.at(5) == QLatin1Char('\n'))) {
        separator = text.at(4);
        body = body.mid(5);
    }
    const QString records = body.toString();
    for (const QStringList& record :
         parseCsv(records, separator.isNull() ? sniffCsvSeparator(records) : separator))
        takePhoneCells(record, out, notPhones);
    if (ignored)
        *ignored = notPhones;
    return out;
}

QStringList fromCsvRecords(const QString& text, QChar separator, int* ignored, QList<qint64>* lines) {
    QStringList out;
    int notPhones = 0;
    QList<qint64> starts;
    const QList<QStringList> records = parseCsv(text, separator, &starts);
    for (qsizetype r = 0; r < records.size(); ++r) {
        const qsizetype before = out.size();
        takePhoneCells(records.at(r), out, notPhones);
        if (lines)
            lines->insert(lines->size(), out.size() - before, starts.at(r));
    }
    if (ignored)
        *ignored = notPhones;
    return out;
}

qint64 countLineBreaks(QStringView text) {
    qint64 breaks = 0;
    for (qsizetype i = 0; i < text.size(); ++i)
        if (text.at(i) == QLatin1Char('\n') ||
            (text.at(i) == QLatin1Char('\r') &&
             (i + 1 == text.size() || text.at(i + 1) != QLatin1Char('\n'))))
            ++breaks;
    return breaks;
}

QStringList fromPaste(const QString& text, int* ignored) {
    QStringList out;
    int notPhones = 0;
    for (const QString& line : TextLines::split(text)) {
        if (line.contains(QLatin1Char('\t')))
            takePhoneCells(line.split(QLatin1Char('\t')), out, notPhones);
        else
            out << line;
    }
    if (ignored)
        *ignored = notPhones;
    return out;
}

} // namespace NumberCandidates
