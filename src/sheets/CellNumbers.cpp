#include "CellNumbers.h"

#include <QDate>
#include <QDateTime>
#include <QTime>

#include <cmath>

namespace {

// The first section of a format code with quoted text, escaped characters and bracketed
// parts ([Red], [$-409], [h]) removed: what is left are the code's own symbols.
QString formatSymbols(const QString& code) {
    QString out;
    bool quoted = false;
    int bracket = 0;
    for (qsizetype i = 0; i < code.size(); ++i) {
        const QChar c = code.at(i);
        if (quoted) {
            quoted = c != QLatin1Char('"');
            continue;
        }
        if (bracket > 0) {
            if (c == QLatin1Char(']'))
                --bracket;
            continue;
        }
        if (c == QLatin1Char('"'))
            quoted = true;
        else if (c == QLatin1Char('['))
            ++bracket;
        else if (c == QLatin1Char('\\') || c == QLatin1Char('_') || c == QLatin1Char('*'))
            ++i; // the next character is a literal (or a fill or a space width)
        else if (c == QLatin1Char(';'))
            break;
        else
            out.append(c);
    }
    return out;
}

} // namespace

int paddedDigits(const QString& formatCode) {
    const QString symbols = formatSymbols(formatCode);
    int zeros = 0;
    for (const QChar c : symbols) {
        if (c == QLatin1Char('0'))
            ++zeros;
        else if (!QStringLiteral("#?, -()+").contains(c))
            return 0; // a fraction, an exponent, a date or text: not a padded whole number
    }
    return zeros >= 2 ? zeros : 0;
}

bool isDateFormatCode(const QString& formatCode) {
    if (formatCode.trimmed().compare(QLatin1String("General"), Qt::CaseInsensitive) == 0)
        return false;
    for (const QChar c : formatSymbols(formatCode)) {
        switch (c.toLower().unicode()) {
        case u'd':
        case u'm':
        case u'y':
        case u'h':
        case u's': return true;
        default: break;
        }
    }
    // Elapsed times ("[h]:mm") keep their letters outside the brackets, so this is enough.
    return false;
}

namespace {

// Decimal places a plain fixed-point format code shows ("0.00" and "#,##0.00" give 2);
// -1 for any other code.
int fixedDecimals(const QString& formatCode) {
    const QString symbols = formatSymbols(formatCode);
    const qsizetype point = symbols.indexOf(QLatin1Char('.'));
    if (point < 0 || symbols.indexOf(QLatin1Char('.'), point + 1) >= 0)
        return -1;
    for (const QChar c : symbols)
        if (!QStringLiteral("0#?,. -").contains(c))
            return -1;
    return int(symbols.mid(point + 1).count(QLatin1Char('0')));
}

} // namespace

QString numericCellText(const QString& value, const QString& formatCode) {
    QString text = value.trimmed();
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (!ok || !std::isfinite(number))
        return value;
    const int decimals = fixedDecimals(formatCode);
    if (decimals >= 0 && std::fabs(number) < 1e15)
        return QString::number(number, 'f', decimals);
    // Beyond 20 digits a whole number is no phone number and no count a person typed.
    if (number == std::trunc(number) && std::fabs(number) < 1e20) {
        QString digits = number == 0 ? QStringLiteral("0") : QString::number(number, 'f', 0);
        const int pad = paddedDigits(formatCode);
        if (number >= 0 && digits.size() < pad)
            digits = digits.rightJustified(pad, QLatin1Char('0'));
        return digits;
    }
    if (text.contains(QLatin1Char('e'), Qt::CaseInsensitive))
        return QString::number(number, 'g', 15);
    return text;
}

QString isoDateToSerial(const QString& iso) {
    const QString text = iso.trimmed();
    const QDate epoch(1899, 12, 30);
    QDateTime when = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!when.isValid())
        when = QDateTime::fromString(text, Qt::ISODate);
    if (when.isValid()) {
        // The cell holds a wall-clock date and time: an offset or "Z" does not move it.
        const QDate date = when.date();
        const QTime time = when.time();
        const double serial = double(epoch.daysTo(date)) + time.msecsSinceStartOfDay() / 86400000.0;
        return QString::number(serial, 'f', 8);
    }
    const QDate date = QDate::fromString(text, Qt::ISODate);
    if (date.isValid())
        return QString::number(epoch.daysTo(date));
    QTime time = QTime::fromString(text, Qt::ISODateWithMs);
    if (!time.isValid())
        time = QTime::fromString(text, Qt::ISODate);
    if (time.isValid())
        return QString::number(time.msecsSinceStartOfDay() / 86400000.0, 'f', 8);
    return {};
}
