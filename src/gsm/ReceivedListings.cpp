#include "ReceivedListings.h"

#include "ModemAnswers.h"

#include <QRegularExpression>
#include <QStringList>

namespace ReceivedListings {
namespace {

QStringList linesOf(const QString& answer) {
    static const QRegularExpression kLineEnd(QStringLiteral("\r\n|\r|\n"));
    return answer.split(kLineEnd);
}

// The fields after "<head>:" when the line is one, else nothing.
std::optional<QStringList> headerFields(const QString& line, QLatin1StringView head) {
    const QString trimmed = line.trimmed();
    if (!trimmed.startsWith(head, Qt::CaseInsensitive))
        return std::nullopt;
    QStringView rest = QStringView(trimmed).mid(head.size()).trimmed();
    if (!rest.startsWith(u':'))
        return std::nullopt;
    return ModemAnswers::quotedFields(rest.mid(1));
}

// The storage state as a number ("1") or a name ("REC READ"); -1 for anything else.
int stateOf(const QString& field) {
    static const QLatin1StringView kNames[] = {QLatin1StringView("REC UNREAD"), QLatin1StringView("REC READ"),
                                               QLatin1StringView("STO UNSENT"),
                                               QLatin1StringView("STO SENT")};
    bool ok = false;
    const int number = field.toInt(&ok);
    if (ok)
        return number >= 0 && number <= 3 ? number : -1;
    for (int state = 0; state < 4; ++state)
        if (field.compare(kNames[state], Qt::CaseInsensitive) == 0)
            return state;
    return -1;
}

int numberOf(const QString& field) {
    bool ok = false;
    const int number = field.toInt(&ok);
    return ok && number >= 0 ? number : -1;
}

bool isFinalResult(const QString& line) {
    const QString t = line.trimmed();
    return t == QLatin1String("OK") || t == QLatin1String("ERROR") ||
           t.startsWith(QLatin1String("+CMS ERROR")) || t.startsWith(QLatin1String("+CME ERROR"));
}

bool isHexLine(const QString& line) {
    static const QRegularExpression kHex(QStringLiteral("^[0-9A-Fa-f]+$"));
    return kHex.match(line.trimmed()).hasMatch();
}

// Unsolicited codes a modem may slip between the lines of a text. Only their exact shapes
// count ("^RSSI: 14", "+CMTI: \"SM\",3", "+CREG: 1"), so a line a person wrote stays text.
bool isUnsolicitedInText(const QString& line) {
    static const QRegularExpression kCode(
        QStringLiteral("^(\\^[A-Z]+:\\s*[-0-9A-Z\",]*|\\+C(MTI|DSI):\\s*\"?[A-Z]{2}\"?,\\s*\\d+|\\+C(E|G)?"
                       "REG:\\s*[0-9A-F\",]*)$"));
    return kCode.match(line.trimmed()).hasMatch();
}

// The PDU line after the header at `at`: the first hex line before the next header or a
// final result; -1 when there is none.
qsizetype pduLineAfter(const QStringList& lines, qsizetype at, QLatin1StringView head) {
    for (qsizetype i = at + 1; i < lines.size(); ++i) {
        if (isFinalResult(lines.at(i)) || headerFields(lines.at(i), head))
            return -1;
        if (isHexLine(lines.at(i)))
            return i;
    }
    return -1;
}

// Text-mode header fields from the state on: <stat>,<oa>,[<alpha>],[<scts>],... A modem that
// leaves the time stamp unquoted splits it into a date and a time field.
ListedText textHeader(const QStringList& fields, qsizetype from) {
    ListedText entry;
    entry.state = stateOf(fields.value(from));
    entry.sender = fields.value(from + 1);
    QString stamp = fields.value(from + 3);
    const QString next = fields.value(from + 4);
    if (!stamp.contains(u',') && stamp.contains(u'/') && next.contains(u':'))
        stamp += u',' + next;
    entry.sentAt = textModeTime(stamp);
    return entry;
}

// The lines of a text from `from` up to `to`: unsolicited codes out, blank lines at either
// end out (modems set entries apart with them), the line breaks inside kept.
QString textBetween(const QStringList& lines, qsizetype from, qsizetype to) {
    QStringList kept;
    for (qsizetype i = from; i < to; ++i)
        if (!isUnsolicitedInText(lines.at(i)))
            kept << lines.at(i);
    while (!kept.isEmpty() && kept.first().trimmed().isEmpty())
        kept.removeFirst();
    while (!kept.isEmpty() && kept.last().trimmed().isEmpty())
        kept.removeLast();
    return kept.join(u'\n');
}

// Where the answer's own lines end: its last final result, or its end when it has none yet.
qsizetype answerEnd(const QStringList& lines) {
    for (qsizetype i = lines.size() - 1; i >= 0; --i)
        if (isFinalResult(lines.at(i)))
            return i;
    return lines.size();
}

const QLatin1StringView kList("+CMGL");
const QLatin1StringView kRead("+CMGR");

} // namespace

QList<ListedPdu> pduList(const QString& answer) {
    const QStringList lines = linesOf(answer);
    QList<ListedPdu> entries;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (isFinalResult(lines.at(i)))
            break;
        const std::optional<QStringList> fields = headerFields(lines.at(i), kList);
        if (!fields || fields->size() < 3)
            continue;
        const qsizetype pdu = pduLineAfter(lines, i, kList);
        ListedPdu entry{numberOf(fields->at(0)), stateOf(fields->at(1)), numberOf(fields->last()), {}};
        if (entry.index < 0 || pdu < 0)
            continue;
        entry.pdu = lines.at(pdu).trimmed();
        entries << entry;
        i = pdu;
    }
    return entries;
}

QList<ListedText> textList(const QString& answer) {
    const QStringList lines = linesOf(answer);
    const qsizetype end = answerEnd(lines);
    // The entries' header lines first: a text runs from one to the next.
    QList<std::pair<qsizetype, ListedText>> heads;
    for (qsizetype i = 0; i < end; ++i) {
        const std::optional<QStringList> fields = headerFields(lines.at(i), kList);
        if (!fields || fields->size() < 3 || numberOf(fields->at(0)) < 0 || stateOf(fields->at(1)) < 0)
            continue;
        ListedText entry = textHeader(*fields, 1);
        entry.index = numberOf(fields->at(0));
        heads.append({i, entry});
    }
    QList<ListedText> entries;
    for (qsizetype h = 0; h < heads.size(); ++h) {
        ListedText entry = heads.at(h).second;
        const qsizetype to = h + 1 < heads.size() ? heads.at(h + 1).first : end;
        entry.text = textBetween(lines, heads.at(h).first + 1, to);
        entries << entry;
    }
    return entries;
}

std::optional<ListedPdu> pduRead(const QString& answer) {
    const QStringList lines = linesOf(answer);
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const std::optional<QStringList> fields = headerFields(lines.at(i), kRead);
        if (!fields)
            continue;
        const qsizetype pdu = pduLineAfter(lines, i, kRead);
        if (fields->size() < 2 || pdu < 0)
            return std::nullopt;
        return ListedPdu{-1, stateOf(fields->first()), numberOf(fields->last()), lines.at(pdu).trimmed()};
    }
    return std::nullopt;
}

std::optional<ListedText> textRead(const QString& answer) {
    const QStringList lines = linesOf(answer);
    const qsizetype end = answerEnd(lines);
    for (qsizetype i = 0; i < end; ++i) {
        const std::optional<QStringList> fields = headerFields(lines.at(i), kRead);
        if (!fields)
            continue;
        if (fields->size() < 2 || stateOf(fields->first()) < 0)
            return std::nullopt;
        ListedText entry = textHeader(*fields, 0);
        entry.text = textBetween(lines, i + 1, end);
        if (entry.sender.isEmpty() && entry.text.isEmpty())
            return std::nullopt; // an empty place ("+CMGR: 0,,0")
        return entry;
    }
    return std::nullopt;
}

std::optional<int> newMessageIndex(QStringView line) {
    const std::optional<QStringList> fields = headerFields(line.toString(), QLatin1StringView("+CMTI"));
    if (!fields || fields->size() != 2)
        return std::nullopt;
    const int index = numberOf(fields->last());
    return index >= 0 ? std::optional(index) : std::nullopt;
}

QDateTime textModeTime(QStringView stamp) {
    static const QRegularExpression kStamp(QStringLiteral(
        "^(\\d{2}|\\d{4})/(\\d{1,2})/(\\d{1,2}),\\s*(\\d{1,2}):(\\d{2}):(\\d{2})(?:([-+])(\\d{1,2}))?$"));
    const QRegularExpressionMatch m = kStamp.match(stamp.trimmed());
    if (!m.hasMatch())
        return {};
    int year = m.captured(1).toInt();
    if (m.capturedLength(1) == 2)
        year += year >= 90 ? 1900 : 2000;
    const QDate date(year, m.captured(2).toInt(), m.captured(3).toInt());
    const QTime time(m.captured(4).toInt(), m.captured(5).toInt(), m.captured(6).toInt());
    if (!date.isValid() || !time.isValid())
        return {};
    const int quarters = m.captured(8).toInt() * (m.captured(7) == u'-' ? -1 : 1);
    return QDateTime(date, time, Qt::UTC).addSecs(-15LL * 60 * quarters);
}

} // namespace ReceivedListings
