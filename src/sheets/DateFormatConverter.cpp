#include "DateFormatConverter.h"

#include <QDate>
#include <QRegularExpression>

#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr qint64 kLastSerial = 2958465; // 31 December 9999
constexpr qint64 k1904Offset = 1462;

icu::UnicodeString toIcu(const QString& s) {
    return icu::UnicodeString(reinterpret_cast<const UChar*>(s.utf16()), int32_t(s.size()));
}

QString fromIcu(const icu::UnicodeString& s) {
    return QString(reinterpret_cast<const QChar*>(s.getBuffer()), s.length());
}

// The number at the start of the text, 0 when there is none (like a forgiving atof).
double leadingNumber(const QString& text) {
    static const QRegularExpression number(QStringLiteral(R"(^\s*[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?)"));
    const QRegularExpressionMatch m = number.match(text);
    return m.hasMatch() ? m.captured(0).trimmed().toDouble() : 0.0;
}

bool hasDateOrTimeLetter(const QString& pattern) {
    for (const QChar c : pattern) {
        switch (c.toLower().unicode()) {
        case u'd':
        case u'm':
        case u'y':
        case u's':
        case u'h': return true;
        default: break;
        }
    }
    return false;
}

} // namespace

bool isDateFormatId(int id) {
    return (id >= 14 && id <= 17) || (id >= 19 && id <= 22) || (id >= 164 && id <= 167);
}

namespace {

struct FormatToken {
    QChar letter; // d, m, y, h, s (lower case), 'a' for AM/PM, or 0 for literal text
    int length = 0;
    QString text; // literal text
};

// The tokens of a date format code's first section: letter runs, AM/PM, literal text.
QList<FormatToken> dateTokens(const QString& code) {
    QList<FormatToken> tokens;
    const auto literal = [&tokens](const QString& text) {
        if (!tokens.isEmpty() && tokens.last().letter.isNull())
            tokens.last().text += text;
        else
            tokens.append({QChar(), 0, text});
    };
    for (qsizetype i = 0; i < code.size();) {
        const QChar c = code.at(i);
        const QChar lower = c.toLower();
        if (code.mid(i, 5).compare(QLatin1String("AM/PM"), Qt::CaseInsensitive) == 0) {
            tokens.append({QLatin1Char('a'), 1, {}});
            i += 5;
        } else if (code.mid(i, 3).compare(QLatin1String("A/P"), Qt::CaseInsensitive) == 0) {
            tokens.append({QLatin1Char('a'), 1, {}});
            i += 3;
        } else if (QStringLiteral("dmyhs").contains(lower)) {
            qsizetype j = i;
            while (j < code.size() && code.at(j).toLower() == lower)
                ++j;
            tokens.append({lower, int(j - i), {}});
            i = j;
        } else if (c == QLatin1Char('"')) {
            const qsizetype close = code.indexOf(QLatin1Char('"'), i + 1);
            literal(code.mid(i + 1, close < 0 ? -1 : close - i - 1));
            i = close < 0 ? code.size() : close + 1;
        } else if (c == QLatin1Char('\\') && i + 1 < code.size()) {
            literal(code.at(i + 1));
            i += 2;
        } else if (c == QLatin1Char('[')) {
            const qsizetype close = code.indexOf(QLatin1Char(']'), i);
            const QString inside = code.mid(i + 1, close < 0 ? -1 : close - i - 1).toLower();
            // Elapsed time ("[h]") shows as its unit; colours and locales show nothing.
            if (!inside.isEmpty() && QStringLiteral("hms").contains(inside.at(0)) &&
                inside == QString(inside.size(), inside.at(0)))
                tokens.append({inside.at(0), int(inside.size()), {}});
            i = close < 0 ? code.size() : close + 1;
        } else if (c == QLatin1Char('_') || c == QLatin1Char('*')) { // space widths and fills
            i += 2;
        } else if (c == QLatin1Char('@')) {
            ++i;
        } else {
            literal(c);
            ++i;
        }
    }
    return tokens;
}

// The nearest date or time token before (step -1) or after (step 1) position i.
QChar neighbour(const QList<FormatToken>& tokens, qsizetype i, int step) {
    for (qsizetype k = i + step; k >= 0 && k < tokens.size(); k += step) {
        if (!tokens.at(k).letter.isNull() && tokens.at(k).letter != QLatin1Char('a'))
            return tokens.at(k).letter;
    }
    return {};
}

// Literal text in a Unicode date pattern: letters quoted, a quote doubled.
QString quotedLiteral(const QString& text) {
    QString out;
    bool open = false;
    for (const QChar c : text) {
        if (c == QLatin1Char('\'')) {
            out += QStringLiteral("''");
        } else if (c.isLetter()) {
            if (!open)
                out += QLatin1Char('\'');
            open = true;
            out += c;
            continue;
        } else {
            if (open)
                out += QLatin1Char('\'');
            open = false;
            out += c;
            continue;
        }
    }
    if (open)
        out += QLatin1Char('\'');
    return out;
}

} // namespace

QString datePatternFromFormatCode(const QString& formatCode) {
    // Only the first section shows positive values and dates.
    QString code = formatCode;
    bool quoted = false;
    for (qsizetype i = 0; i < code.size(); ++i) {
        if (code.at(i) == QLatin1Char('"'))
            quoted = !quoted;
        else if (!quoted && code.at(i) == QLatin1Char(';')) {
            code.truncate(i);
            break;
        }
    }
    const QList<FormatToken> tokens = dateTokens(code);
    bool twelveHours = false;
    for (const FormatToken& t : tokens)
        twelveHours = twelveHours || t.letter == QLatin1Char('a');
    QString pattern;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const FormatToken& t = tokens.at(i);
        const int n = t.length;
        switch (t.letter.unicode()) {
        case 0: pattern += quotedLiteral(t.text); break;
        case u'a': pattern += QLatin1Char('a'); break;
        case u'd':
            pattern += n <= 2 ? QString(n, QLatin1Char('d')) : QString(n == 3 ? 3 : 4, QLatin1Char('E'));
            break;
        case u'y': pattern += n <= 2 ? QStringLiteral("yy") : QStringLiteral("yyyy"); break;
        case u'h':
            pattern += QString(std::min(n, 2), twelveHours ? QLatin1Char('h') : QLatin1Char('H'));
            break;
        case u's': pattern += QString(std::min(n, 2), QLatin1Char('s')); break;
        case u'm': {
            // Minutes right after hours or right before seconds; months everywhere else.
            const bool minutes = n <= 2 && (neighbour(tokens, i, -1) == QLatin1Char('h') ||
                                            neighbour(tokens, i, 1) == QLatin1Char('s'));
            pattern += minutes ? QString(n, QLatin1Char('m')) : QString(std::min(n, 5), QLatin1Char('M'));
            break;
        }
        default: break;
        }
    }
    return pattern.trimmed();
}

ExcelDateFormatter::ExcelDateFormatter(bool days1904) : m_days1904(days1904) {
    UErrorCode status = U_ZERO_ERROR;
    m_local.reset(new icu::GregorianCalendar(icu::TimeZone::createDefault(), status));
    UErrorCode utcStatus = U_ZERO_ERROR;
    m_utc.reset(new icu::GregorianCalendar(icu::TimeZone::getGMT()->clone(), utcStatus));
    if (U_FAILURE(status) || U_FAILURE(utcStatus)) {
        m_local.reset();
        m_utc.reset();
    }
}

ExcelDateFormatter::~ExcelDateFormatter() = default;

icu::SimpleDateFormat* ExcelDateFormatter::formatterFor(const QString& pattern) {
    auto it = m_formatters.find(pattern);
    if (it != m_formatters.end())
        return it->get();
    UErrorCode status = U_ZERO_ERROR;
    auto formatter =
        std::make_shared<icu::SimpleDateFormat>(toIcu(pattern), icu::Locale::getDefault(), status);
    if (U_FAILURE(status))
        formatter.reset();
    m_formatters.insert(pattern, formatter);
    return formatter.get();
}

QString ExcelDateFormatter::format(const QString& text, const QString& pattern) {
    if (!pattern.isEmpty() && !hasDateOrTimeLetter(pattern))
        return text;
    if (!m_local || !m_utc)
        return {};

    const double serial = leadingNumber(text);
    if (!std::isfinite(serial) || serial < 0 || serial >= double(kLastSerial + 1))
        return text;
    const qint64 days = qint64(serial) + (m_days1904 ? k1904Offset : 0);
    const double secondsOfDay = (serial - std::trunc(serial)) * 86400.0;
    const int hour = int(secondsOfDay / 3600.0);
    const int minute = int((secondsOfDay - hour * 3600.0) / 60.0);
    const int second = int(std::lround(secondsOfDay - hour * 3600.0 - minute * 60.0));

    const QDate date = QDate(1899, 12, 30).addDays(days);
    m_local->clear();
    m_local->set(date.year(), date.month() - 1, date.day(), hour, minute, second); // lenient: 60 s rolls over
    UErrorCode status = U_ZERO_ERROR;
    const UDate instant = m_local->getTime(status);
    if (U_FAILURE(status))
        return {};

    QString output = pattern;
    if (output.isEmpty()) {
        const bool midnight = hour == 0 && minute == 0 && second == 0;
        output = midnight ? QStringLiteral("dd-MM-yyyy") : QStringLiteral("dd-MM-yyyy hh:mm:ss a");
    }
    m_utc->setTime(instant, status);
    const int32_t utcYear = m_utc->get(UCAL_YEAR, status);
    if (U_SUCCESS(status) && (utcYear == 1899 || utcYear == 1900))
        output =
            pattern.isEmpty() ? QStringLiteral("hh:mm:ss a") : pattern; // a pure time shows only its time

    icu::SimpleDateFormat* formatter = formatterFor(output);
    if (!formatter)
        return {};
    icu::UnicodeString result;
    formatter->format(instant, result);
    return fromIcu(result);
}

QString Excel_Xml_Date_To_String(const QString& text, const QString& final_date_format) {
    ExcelDateFormatter formatter;
    return formatter.format(text, final_date_format);
}
