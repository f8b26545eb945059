#include "PhoneSentBox.h"

#include "AdbRunner.h"

#include <QRegularExpression>

using namespace std::chrono_literals;

namespace {

// A number as the phone may write it back: digits, and a "+" in front.
QString comparable(const QString& number) {
    QString out;
    for (const QChar c : number)
        if (c.isDigit() || (c == QLatin1Char('+') && out.isEmpty()))
            out += c;
    return out;
}

// "Row: N _id=…, address=…, type=…, body=…" (the body last: it may hold anything, line breaks
// and ", " included).
std::optional<PhoneSms> rowOf(const QString& record) {
    static const QRegularExpression pattern(
        QStringLiteral("^Row: \\d+ _id=(\\d+), address=(.*?), type=(\\d+), body=(.*)$"),
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = pattern.match(record);
    if (!match.hasMatch())
        return std::nullopt;
    return PhoneSms{match.captured(1).toLongLong(), match.captured(2), match.captured(3).toInt(),
                    match.captured(4)};
}

} // namespace

std::optional<QList<PhoneSms>> parseSmsRows(const QString& output, QString* refusal) {
    const std::optional<QStringList> records = providerRecords(output, refusal);
    if (!records)
        return std::nullopt;
    QList<PhoneSms> rows;
    for (const QString& record : *records)
        if (const std::optional<PhoneSms> row = rowOf(record))
            rows << *row;
    return rows;
}

std::optional<QStringList> providerRecords(const QString& output, QString* refusal) {
    if (output.contains(QLatin1String("Exception")) ||
        output.contains(QLatin1String("Error while accessing")) || output.trimmed().isEmpty()) {
        if (refusal) {
            const QStringList lines = output.trimmed().split(QLatin1Char('\n'));
            const QStringList why = lines.filter(QStringLiteral("Exception"));
            *refusal = (why.isEmpty() ? lines.value(0) : why.first()).trimmed();
            if (refusal->isEmpty())
                *refusal = QStringLiteral("adb gave no answer");
        }
        return std::nullopt;
    }
    static const QRegularExpression rowStart(QStringLiteral("^Row: \\d+ "));
    QStringList records;
    QString text = output;
    // Through a terminal (an older phone's adb) every line end comes as CR LF: a body's own CR
    // stays, only the terminal's goes.
    if (text.count(QLatin1String("\r\n")) == text.count(QLatin1Char('\n')))
        text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (rowStart.match(line).hasMatch() || records.isEmpty())
            records << line;
        else
            records.last() += QLatin1Char('\n') + line; // a line break inside a body
    }
    return records;
}

std::optional<QList<PhoneSms>> PhoneSentBox::read(QString* why) const {
    return parseSmsRows(
        ExecuteExternalFile({QStringLiteral("shell"), QStringLiteral("content"), QStringLiteral("query"),
                             QStringLiteral("--uri"), QStringLiteral("content://sms"),
                             QStringLiteral("--projection"), QStringLiteral("_id:address:type:body")}),
        why);
}

bool PhoneSentBox::open(QString* why) {
    const std::optional<QList<PhoneSms>> rows = read(why);
    if (!rows)
        return false;
    for (const PhoneSms& row : *rows)
        m_baseline = std::max(m_baseline, row.id);
    return true;
}

PhoneSentBox::Fate PhoneSentBox::confirm(const QString& number, const QString& text, Clock::Duration wait,
                                         QString* why) {
    return confirmAll({{number, text}}, wait, {}, why).first();
}

QList<PhoneSentBox::Fate> PhoneSentBox::confirmAll(const QList<std::pair<QString, QString>>& messages,
                                                   Clock::Duration wait, const std::function<bool()>& stop,
                                                   QString* why) {
    QList<Fate> fates(messages.size(), Fate::NotConfirmed);
    QList<qsizetype> waiting;
    for (qsizetype i = 0; i < messages.size(); ++i)
        waiting << i;
    const auto end = std::chrono::steady_clock::now() + Clock::scaled(wait);
    while (!waiting.isEmpty()) {
        const std::optional<QList<PhoneSms>> rows = read(why);
        if (!rows) {
            for (const qsizetype i : std::as_const(waiting))
                fates[i] = Fate::Unreadable;
            break;
        }
        // Each message takes the oldest row left that is its own: identical messages are
        // confirmed in the order they went. A row still queued holds its message back.
        QSet<qint64> taken = m_used;
        QList<qsizetype> still;
        for (const qsizetype i : std::as_const(waiting)) {
            const auto& [number, text] = messages.at(i);
            const PhoneSms* match = nullptr;
            for (const PhoneSms& row : *rows)
                if (row.id > m_baseline && !taken.contains(row.id) && row.body == text &&
                    comparable(row.address) == comparable(number) && (!match || row.id < match->id))
                    match = &row;
            if (match)
                taken.insert(match->id);
            if (match && (match->type == 2 || match->type == 5)) {
                m_used.insert(match->id);
                fates[i] = match->type == 2 ? Fate::Sent : Fate::Failed;
            } else {
                still << i;
            }
        }
        waiting = still;
        if (waiting.isEmpty() || std::chrono::steady_clock::now() >= end || (stop && stop()))
            break;
        Clock::sleep(1s); // the phone sends them by itself, in its own time
    }
    return fates;
}
