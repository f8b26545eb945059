#include "DateFormatConverter.h"

#include <QDate>
#include <QRegularExpression>

#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

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

QString datePatternFromFormatCode(const QString& formatCode) {
    QString code = formatCode;
    const qsizetype bracket = code.indexOf(QLatin1Char(']'));
    if (bracket >= 0) {
        code = code.mid(bracket + 1);
        const qsizetype section = code.indexOf(QLatin1Char(';'));
        if (section >= 0)
            code = code.left(section);
    }
    if (code.contains(QLatin1String("dd")) && code.contains(QLatin1String("dddd")))
        code.replace(QLatin1String("dddd"), QLatin1String("EEEE"));
    code.replace(QLatin1String("mmmm"), QLatin1String("MMMM"));
    code.replace(QLatin1String("mmm"), QLatin1String("MMM"));
    code.replace(QLatin1String("AM/PM"), QLatin1String("a"));
    if (!code.contains(QLatin1Char('h')) && !code.contains(QLatin1Char('H')))
        code.replace(QLatin1Char('m'), QLatin1Char('M'));
    code.remove(QLatin1Char('\\'));
    return code.trimmed();
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
