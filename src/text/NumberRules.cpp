#include "NumberRules.h"

#include "core/TextUtils.h"

#include <QRegularExpression>

QString messageCutNotice(qsizetype leftOut) {
    return QStringLiteral(
               "A message can be at most %1 characters long. The first %1 characters were kept; %2 "
               "characters were left out.")
        .arg(kMaxMessageLength)
        .arg(leftOut);
}

bool Check_Ph_Number(const QString& number, bool test_flag) {
    const QString s = Trim_Str(number);
    if (s.isEmpty() || s.size() > kMaxNumberLength)
        return true;
    for (QChar c : s) {
        const bool allowed = (c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || (test_flag && c == u',');
        if (!allowed)
            return true;
    }
    return false;
}

bool hasMisplacedPlus(const QString& number) {
    // A leading "+" stands for the international prefix "00"; any other "+" is misplaced.
    QString test = number;
    if (test.startsWith(u'+'))
        test.replace(0, 1, QStringLiteral("00"));
    return test.contains(u'+');
}

namespace {

// Digits with at most a leading "+": nothing to normalise, and no date or amount.
bool isDigitsWithPlus(QStringView s) {
    if (s.isEmpty())
        return false;
    for (qsizetype i = s.front() == u'+' ? 1 : 0; i < s.size(); ++i)
        if (s[i] < u'0' || s[i] > u'9')
            return false;
    return true;
}

// Spaces and hyphens that only differ from " " and "-" in how lines may break.
QString withPlainSeparators(QString s) {
    for (QChar& c : s) {
        switch (c.unicode()) {
        case 0x00A0: // no-break space
        case 0x2007: // figure space
        case 0x2009: // thin space
        case 0x202F: // narrow no-break space
        case 0x2060: // word joiner
            c = QLatin1Char(' ');
            break;
        case 0x2010: // hyphen
        case 0x2011: // non-breaking hyphen
        case 0x2012: // figure dash
        case 0x2013: // en dash
        case 0x2212: // minus sign
            c = QLatin1Char('-');
            break;
        default: break;
        }
    }
    return s;
}

// "4.47700900002E11" as its digits; the text unchanged when it is no whole number in
// E-notation. Worked on the digits, never through a double, so no digit is lost.
QString expandENotation(const QString& text) {
    static const QRegularExpression pattern(
        QStringLiteral(R"(^\s*(\+?)(\d+)(?:\.(\d*))?[eE]\+?(\d{1,2})\s*$)"));
    const QRegularExpressionMatch m = pattern.match(text);
    if (!m.hasMatch())
        return text;
    QString digits = m.captured(2) + m.captured(3);
    const int shift = m.captured(4).toInt() - int(m.captured(3).size());
    if (shift < 0) {
        // Only zeros may stand behind the decimal point of a whole number.
        for (qsizetype i = digits.size() + shift; i < digits.size(); ++i)
            if (digits.at(i) != QLatin1Char('0'))
                return text;
        digits.chop(-shift);
    } else {
        digits.append(QString(shift, QLatin1Char('0')));
    }
    while (digits.size() > 1 && digits.startsWith(QLatin1Char('0')))
        digits.remove(0, 1);
    return m.captured(1) + digits;
}

} // namespace

QString normaliseNumberText(const QString& raw) {
    if (isDigitsWithPlus(raw)) // most cells: a number as it is kept
        return raw;
    QString s = expandENotation(withPlainSeparators(raw));
    // "+44 (0)20 ..." and "0044 (0)20 ...": the trunk zero is not dialled from abroad.
    static const QRegularExpression trunkZero(
        QStringLiteral(R"(^(\s*(?:\+|00)\s*\d{1,4}[\s.\-]*)\(\s*0\s*\))"));
    s.replace(trunkZero, QStringLiteral("\\1"));
    return Replace_Char_For_Valid_Number(s);
}

bool looksLikePhoneNumber(const QString& cell) {
    // A "+" and a country code with a few digits is somebody's attempt at a number, however
    // short: a candidate, so that the insert filter refuses and counts it as invalid.
    constexpr int kMinDigitsAfterPlus = 4;
    if (isDigitsWithPlus(cell)) {
        const bool plus = cell.front() == u'+';
        const qsizetype digits = cell.size() - (plus ? 1 : 0);
        return digits >= (plus ? kMinDigitsAfterPlus : kMinPhoneDigits) && digits <= kMaxNumberLength;
    }
    const QString text = withPlainSeparators(cell).trimmed();
    static const QRegularExpression dateOrAmount(QStringLiteral(
        R"(^(\d{4}[-/.]\d{1,2}[-/.]\d{1,2}([ T].*)?|\d{1,2}[-/.]\d{1,2}[-/.]\d{2,4}( .*)?|[+-]?\d{1,3}([,.' ]\d{3})*[.,]\d{1,2}|[+-]?\d+[.,]\d{1,2})$)"));
    if (text.isEmpty() || dateOrAmount.match(text).hasMatch())
        return false;
    static const QRegularExpression phone(QStringLiteral(R"(^(\+[0-9]{%1,%3}|[0-9]{%2,%3})$)")
                                              .arg(kMinDigitsAfterPlus)
                                              .arg(kMinPhoneDigits)
                                              .arg(kMaxNumberLength));
    return phone.match(normaliseNumberText(text)).hasMatch();
}

QString validTypedNumber(const QString& raw) {
    QString s = normaliseNumberText(raw);
    if (s.isEmpty() || hasMisplacedPlus(s) || Check_Ph_Number(s, false))
        return QString();
    return s;
}
