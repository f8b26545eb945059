#include "StatusReport.h"

namespace sim::StatusReport {
namespace {

QString octet(int value) { return QStringLiteral("%1").arg(value & 0xFF, 2, 16, QLatin1Char('0')).toUpper(); }

// Two decimal digits with their nibbles swapped, as time stamps and addresses write them.
QString swapped(int twoDigits) { return QStringLiteral("%1%2").arg(twoDigits % 10).arg(twoDigits / 10); }

QString timeStamp(const QDateTime& time) {
    const QDateTime utc = time.toUTC();
    const QDate d = utc.date();
    const QTime t = utc.time();
    return swapped(d.year() % 100) + swapped(d.month()) + swapped(d.day()) + swapped(t.hour()) +
           swapped(t.minute()) + swapped(t.second()) + QStringLiteral("00"); // time zone: UTC
}

QString address(const QString& number) {
    const bool international = number.startsWith(QLatin1Char('+'));
    QString digits = international ? number.mid(1) : number;
    const int count = int(digits.size());
    if (digits.size() % 2 != 0)
        digits += QLatin1Char('F');
    QString out = octet(count) + (international ? QStringLiteral("91") : QStringLiteral("81"));
    for (qsizetype i = 0; i + 1 < digits.size(); i += 2)
        out += digits.at(i + 1) + QString(digits.at(i));
    return out;
}

QString textTime(const QDateTime& time) {
    return time.toUTC().toString(QStringLiteral("yy/MM/dd,HH:mm:ss")) + QStringLiteral("+00");
}

} // namespace

QString pdu(int reference, const QString& recipient, int status, const QDateTime& submitted,
            const QDateTime& done) {
    // 06: a status report (TP-MTI 10) with no more messages to send (TP-MMS).
    return QStringLiteral("0006") + octet(reference) + address(recipient) + timeStamp(submitted) +
           timeStamp(done) + octet(status);
}

// The text-mode fields of a report after its first octet's place: <mr>,"<ra>",<tora>,...,<st>.
QString textFields(int reference, const QString& recipient, int status, const QDateTime& submitted,
                   const QDateTime& done) {
    return QStringLiteral("%1,\"%2\",%3,\"%4\",\"%5\",%6")
        .arg(reference)
        .arg(recipient)
        .arg(recipient.startsWith(QLatin1Char('+')) ? 145 : 129)
        .arg(textTime(submitted), textTime(done))
        .arg(status);
}

QByteArray unsolicited(bool pduMode, int reference, const QString& recipient, int status,
                       const QDateTime& submitted, const QDateTime& done) {
    QString body;
    if (pduMode) {
        const QString hex = pdu(reference, recipient, status, submitted, done);
        body = QStringLiteral("+CDS: %1\r\n%2").arg(hex.size() / 2 - 1).arg(hex);
    } else {
        body = QStringLiteral("+CDS: 6,") + textFields(reference, recipient, status, submitted, done);
    }
    return QStringLiteral("\r\n%1\r\n").arg(body).toLatin1();
}

QStringList stored(bool pduMode, int reference, const QString& recipient, int status,
                   const QDateTime& submitted, const QDateTime& done) {
    if (!pduMode)
        return {QStringLiteral("+CMGR: \"REC UNREAD\",6,") +
                textFields(reference, recipient, status, submitted, done)};
    const QString hex = pdu(reference, recipient, status, submitted, done);
    return {QStringLiteral("+CMGR: 0,,%1").arg(hex.size() / 2 - 1), hex};
}

} // namespace sim::StatusReport
