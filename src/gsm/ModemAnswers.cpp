#include "ModemAnswers.h"

#include "core/TextUtils.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace ModemAnswers {

QStringList quotedFields(QStringView text) {
    QStringList fields{QString()};
    bool quoted = false;
    for (const QChar c : text) {
        if (c == u'"')
            quoted = !quoted;
        else if (c == u',' && !quoted)
            fields << QString();
        else
            fields.last() += c;
    }
    for (QString& field : fields)
        field = field.trimmed();
    return fields;
}

namespace {
const QString kError = QStringLiteral("ERROR");
const QString kCmsError = QStringLiteral("+CMS ERROR");
const QString kCmeError = QStringLiteral("+CME ERROR");
} // namespace

bool answerHolds(const QString& answer, const QString& expected) {
    const QString text = Trim_Str(answer);
    if (text.isEmpty() || text.contains(kError))
        return false;
    return text.contains(Trim_Str(expected));
}

QString smsErrorText(const QString& answer) {
    const QString text = Trim_Str(answer);
    if (text == kError)
        return kError;
    if (const qsizetype at = text.indexOf(kCmsError); at >= 0)
        return text.mid(at);
    if (const qsizetype at = text.indexOf(kCmeError); at >= 0)
        return text.mid(at);
    if (text.contains(kError))
        return QStringLiteral("+CMS ERROR:500");
    return {};
}

int supportedSmsFormats(const QString& answer) {
    const bool pdu = answer.contains(QLatin1Char('0'));
    const bool text = answer.contains(QLatin1Char('1'));
    return (pdu ? 1 : 0) + (text ? 2 : 0);
}

SmsFormat selectedSmsFormat(const QString& answer) {
    const bool zero = answer.contains(QLatin1Char('0'));
    const bool one = answer.contains(QLatin1Char('1'));
    if (zero && one)
        return SmsFormat::Both;
    if (one)
        return SmsFormat::Text;
    if (zero)
        return SmsFormat::Pdu;
    return SmsFormat::Unknown;
}

namespace {

// Whole lines of an answer, each trimmed; the text after the last line end is left out
// unless `keepTail` (it may still be arriving).
QStringList wholeLines(const QString& answer, bool keepTail) {
    QString complete = answer;
    if (!keepTail) {
        const qsizetype lastEnd =
            std::max(complete.lastIndexOf(QLatin1Char('\n')), complete.lastIndexOf(QLatin1Char('\r')));
        complete.truncate(lastEnd < 0 ? 0 : lastEnd);
    }
    QStringList lines;
    for (const QString& raw :
         complete.split(QRegularExpression(QStringLiteral("[\r\n]")), Qt::SkipEmptyParts))
        lines << Trim_Str(raw);
    return lines;
}

bool isFinalLine(const QString& line) {
    if (line.startsWith(QLatin1String("AT"), Qt::CaseInsensitive))
        return false; // our own command echoed back
    return line == QLatin1String("OK") || line.startsWith(kError) || line.startsWith(kCmsError) ||
           line.startsWith(kCmeError) || line.endsWith(kError) || line == QLatin1String("NO CARRIER") ||
           line.startsWith(QLatin1String("COMMAND NOT SUPPORT"));
}

// Unsolicited result codes: the line starts with one of these. Every "^" line is a vendor's
// unsolicited report (signal, mode, boot, data flow).
const QStringList kUnsolicitedPrefixes = {
    QStringLiteral("^"),        QStringLiteral("+CREG:"),  QStringLiteral("+CGREG:"),
    QStringLiteral("+CEREG:"),  QStringLiteral("+CMTI:"),  QStringLiteral("+CDSI:"),
    QStringLiteral("+CDS:"),    QStringLiteral("+CBMI:"),  QStringLiteral("+CUSD:"),
    QStringLiteral("+CRING:"),  QStringLiteral("+CLIP:"),  QStringLiteral("+CIEV:"),
    QStringLiteral("+CGEV:"),   QStringLiteral("+PACSP"),  QStringLiteral("+STIN:"),
    QStringLiteral("+ZUSIMR:"), QStringLiteral("+ZPASR:"), QStringLiteral("+CPIN:"),
    QStringLiteral("+CFUN:"),   QStringLiteral("+QIND:"),  QStringLiteral("+QUSIM:"),
    QStringLiteral("+WIND:"),   QStringLiteral("+CSQN:")};

// Whole lines a module sends by itself while it starts: a port opened meanwhile finds them
// between its answers ("+CPIN: READY" and "+CFUN: 1" above too, unless asked for).
const QStringList kStartUpLines = {QStringLiteral("RDY"),        QStringLiteral("APP RDY"),
                                   QStringLiteral("Call Ready"), QStringLiteral("SMS Ready"),
                                   QStringLiteral("SMS DONE"),   QStringLiteral("PB DONE")};

bool isUnsolicited(const QString& line, const QString& command) {
    const bool listed = line == QLatin1String("RING") || kStartUpLines.contains(line) ||
                        std::any_of(kUnsolicitedPrefixes.begin(), kUnsolicitedPrefixes.end(),
                                    [&](const QString& prefix) { return line.startsWith(prefix); });
    if (!listed || !line.contains(QLatin1Char(':')))
        return listed;
    // "+CREG: 0,1" answers "AT+CREG?", "^SYSINFO: ..." answers "AT^SYSINFO": a code the
    // command names is its own answer.
    return !command.contains(line.section(QLatin1Char(':'), 0, 0));
}

} // namespace

bool holdsFinalResult(const QString& answer, bool promptAwaited) {
    const QStringList lines = wholeLines(answer, false);
    if (std::any_of(lines.begin(), lines.end(), isFinalLine))
        return true;
    if (!promptAwaited)
        return false;
    // The prompt is ">" and a space with no line end behind it; some modems end it anyway.
    const QStringList all = wholeLines(answer, true);
    return std::any_of(all.begin(), all.end(),
                       [](const QString& line) { return line == QLatin1String(">"); });
}

QString withoutUnsolicited(const QString& answer, const QString& command, QStringList* removed) {
    // Each piece is one line with the line ends that follow it.
    static const QRegularExpression kLine(QStringLiteral("[^\r\n]*[\r\n]*"));
    static const QRegularExpression kPduReportHead(QStringLiteral("^\\+CDS:\\s*\\d+$"));
    static const QRegularExpression kHexLine(QStringLiteral("^[0-9A-Fa-f]+$"));
    QString kept;
    kept.reserve(answer.size());
    bool reportPduNext = false; // "+CDS: <length>" came: the next line is the report's PDU
    for (auto it = kLine.globalMatch(answer); it.hasNext();) {
        const QString piece = it.next().captured(0);
        if (piece.isEmpty())
            continue;
        const QString line = Trim_Str(piece);
        const bool reportPdu = std::exchange(reportPduNext, false) && kHexLine.match(line).hasMatch();
        if (!line.isEmpty() && (reportPdu || isUnsolicited(line, command))) {
            reportPduNext = kPduReportHead.match(line).hasMatch();
            if (removed)
                *removed << line;
            continue;
        }
        kept += piece;
    }
    return kept;
}

bool isRefusal(const QString& status) {
    const QString head = status.left(4);
    return status == kError || head.contains(QLatin1String("CMS")) || head.contains(QLatin1String("CME"));
}

std::optional<int> messageReference(const QString& answer) {
    for (QStringView line : QStringView(answer).split(u'\n')) {
        line = line.trimmed();
        if (!line.startsWith(u"+CMGS:"))
            continue;
        // "+CMGS: <mr>" or, on phase 2+ modems, "+CMGS: <mr>,<scts>".
        bool ok = false;
        const int reference = line.mid(6).split(u',').first().trimmed().toInt(&ok);
        if (ok && reference >= 0)
            return reference;
    }
    return std::nullopt;
}

QString textModeParametersCommand(bool flash_sms, bool unicode_sms, bool statusReport) {
    const int dcs = (flash_sms ? 16 : 0) + (unicode_sms ? 8 : 0);
    return QStringLiteral("AT+CSMP=%1,255,0,%2\r\n").arg(statusReport ? 49 : 17).arg(dcs);
}

QString serviceCentreCommand(const QString& number) {
    const int type = number.startsWith(QLatin1Char('+')) ? 145 : 129;
    return QStringLiteral("AT+CSCA=\"%1\",%2\r\n").arg(number).arg(type);
}

} // namespace ModemAnswers
