#include "StatusReports.h"

#include "ModemAnswers.h"

#include <QList>
#include <QRegularExpression>

namespace StatusReports {
namespace {

QList<int> octetsOf(QStringView hex) {
    QList<int> octets;
    const auto digit = [](QChar c) {
        const char16_t u = c.unicode();
        return u >= u'0' && u <= u'9'   ? u - u'0'
               : u >= u'A' && u <= u'F' ? u - u'A' + 10
               : u >= u'a' && u <= u'f' ? u - u'a' + 10
                                        : -1;
    };
    for (qsizetype i = 0; i + 1 < hex.size(); i += 2) {
        // Two hex digits and nothing else: a sign or a space would make an octet negative.
        const int high = digit(hex.at(i)), low = digit(hex.at(i + 1));
        if (high < 0 || low < 0)
            return {};
        octets << (high << 4 | low);
    }
    return hex.size() % 2 == 0 ? octets : QList<int>{};
}

std::optional<StatusReport> fromPdu(QStringView hex) {
    const QList<int> o = octetsOf(hex.trimmed());
    if (o.isEmpty())
        return std::nullopt;
    qsizetype at = 1 + o.at(0); // past the service centre information
    if (at + 3 > o.size() || (o.at(at) & 0x03) != 0x02)
        return std::nullopt; // not a status report
    StatusReport report;
    report.reference = o.at(at + 1);
    const int digits = o.at(at + 2);
    const int type = at + 3 < o.size() ? o.at(at + 3) : 0;
    at += 4;
    QString number = (type & 0x70) == 0x10 ? QStringLiteral("+") : QString();
    for (int i = 0; i < (digits + 1) / 2 && at + i < o.size(); ++i) {
        const int pair = o.at(at + i);
        number += QChar(u'0' + (pair & 0x0F));
        if ((pair >> 4) != 0x0F)
            number += QChar(u'0' + (pair >> 4));
    }
    at += (digits + 1) / 2 + 7 + 7; // the address, then the two time stamps
    if (at >= o.size())
        return std::nullopt;
    report.recipient = number;
    report.status = o.at(at);
    return report;
}

} // namespace

std::optional<StatusReport> parse(QStringView cdsLine, QStringView pduLine) {
    cdsLine = cdsLine.trimmed();
    if (!cdsLine.startsWith(u"+CDS:"))
        return std::nullopt;
    const QStringList fields = ModemAnswers::quotedFields(cdsLine.mid(5).trimmed());
    if (fields.size() == 1)
        return fromPdu(pduLine);
    bool referenceOk = false, statusOk = false;
    if (fields.size() < 7)
        return std::nullopt;
    StatusReport report;
    report.reference = fields.at(1).trimmed().toInt(&referenceOk);
    report.recipient = fields.at(2).trimmed();
    report.status = fields.last().trimmed().toInt(&statusOk);
    if (!referenceOk || !statusOk)
        return std::nullopt;
    return report;
}

QList<StatusReport> fromUnsolicited(const QStringList& lines) {
    QList<StatusReport> reports;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!lines.at(i).startsWith(u"+CDS:"))
            continue;
        const QString next = i + 1 < lines.size() ? lines.at(i + 1) : QString();
        if (const auto report = parse(lines.at(i), next))
            reports << *report;
    }
    return reports;
}

std::optional<StatusReport> fromStoredRead(const QString& answer) {
    const QStringList lines = answer.split(QRegularExpression(QStringLiteral("[\r\n]+")), Qt::SkipEmptyParts);
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (!line.startsWith(u"+CMGR:"))
            continue;
        const QStringList fields = ModemAnswers::quotedFields(QStringView(line).mid(6).trimmed());
        if (fields.size() == 3) // <stat>,[<alpha>],<length>: the PDU follows
            return fromPdu(lines.value(i + 1));
        // Text mode: the fields of a "+CDS" line behind the message's storage state.
        return parse(QStringLiteral("+CDS: ") + line.section(u',', 1));
    }
    return std::nullopt;
}

std::optional<int> storedIndex(QStringView line) {
    line = line.trimmed();
    if (!line.startsWith(u"+CDSI:"))
        return std::nullopt;
    bool ok = false;
    const int index = ModemAnswers::quotedFields(line.mid(6)).last().trimmed().toInt(&ok);
    return ok && index >= 0 ? std::optional(index) : std::nullopt;
}

} // namespace StatusReports
