#include "NumberNormaliser.h"

#include "NumberPlans.h"
#include "NumberRules.h"

#include <phonenumbers/phonenumber.pb.h>
#include <phonenumbers/phonenumberutil.h>

#include <algorithm>
#include <set>

using i18n::phonenumbers::PhoneNumber;
using i18n::phonenumbers::PhoneNumberUtil;

namespace {

const PhoneNumberUtil& util() { return *PhoneNumberUtil::GetInstance(); }

QString regionOfCode(int countryCode) {
    std::string region;
    util().GetRegionCodeForCountryCode(countryCode, &region);
    return region == "ZZ" ? QString() : QString::fromStdString(region);
}

// Why a number that is not valid cannot be dialled, as a person would say it: its length in
// the country of its calling code (where), or no such number there.
QString whyImpossible(NumberPlans::Length length, const QString& where) {
    const QString forWhere = where.isEmpty() ? QString() : QStringLiteral(" for ") + where;
    switch (length) {
    case NumberPlans::Length::TooShort: return QStringLiteral("too short") + forWhere;
    case NumberPlans::Length::TooLong: return QStringLiteral("too long") + forWhere;
    case NumberPlans::Length::Invalid: return QStringLiteral("wrong length") + forWhere;
    case NumberPlans::Length::LocalOnly: return QStringLiteral("a local number without its area code");
    case NumberPlans::Length::Possible: break;
    }
    return where.isEmpty() ? QStringLiteral("no such number") : QStringLiteral("no such number in ") + where;
}

QString whyImpossible(const PhoneNumber& number) {
    const QString where = regionOfCode(number.country_code());
    switch (util().IsPossibleNumberWithReason(number)) {
    case PhoneNumberUtil::INVALID_COUNTRY_CODE: return QStringLiteral("no such country code");
    case PhoneNumberUtil::TOO_SHORT: return whyImpossible(NumberPlans::Length::TooShort, where);
    case PhoneNumberUtil::TOO_LONG: return whyImpossible(NumberPlans::Length::TooLong, where);
    case PhoneNumberUtil::INVALID_LENGTH: return whyImpossible(NumberPlans::Length::Invalid, where);
    case PhoneNumberUtil::IS_POSSIBLE_LOCAL_ONLY: return whyImpossible(NumberPlans::Length::LocalOnly, where);
    case PhoneNumberUtil::IS_POSSIBLE: break;
    }
    return whyImpossible(NumberPlans::Length::Possible, where);
}

QString whyImpossible(PhoneNumberUtil::ErrorType error) {
    switch (error) {
    case PhoneNumberUtil::INVALID_COUNTRY_CODE_ERROR: return QStringLiteral("no such country code");
    case PhoneNumberUtil::TOO_SHORT_AFTER_IDD:
    case PhoneNumberUtil::TOO_SHORT_NSN: return QStringLiteral("too short");
    case PhoneNumberUtil::TOO_LONG_NSN: return QStringLiteral("too long");
    default: return QStringLiteral("not a phone number");
    }
}

bool allDigits(const QString& s) {
    return !s.isEmpty() && std::all_of(s.cbegin(), s.cend(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

// Digits that are the E.164 number without its "+": the country's code was written without
// it, as spreadsheets store "+44 ..." once they have turned it into a number.
NormalisedNumber withPlusGivenBack(NormalisedNumber n) {
    if (allDigits(n.written) && n.e164.size() == n.written.size() + 1 && n.e164.endsWith(n.written))
        n.written = n.e164;
    return n;
}

} // namespace

NumberNormaliser::NumberNormaliser(const QString& region)
    : m_region(regionCode(region)), m_regionCode(m_region.toStdString()) {}

NormalisedNumber NumberNormaliser::normalise(const QString& number) const {
    if (!active())
        return {number, QString(), QString()};
    std::optional<NumberPlans::Reading> reading = NumberPlans::read(number, m_region);
    if (reading && reading->e164.isEmpty() && number.startsWith(QLatin1String("00"))) {
        // As the library is asked: "00" as the international prefix too.
        const std::optional<NumberPlans::Reading> international =
            NumberPlans::read(QString(QLatin1Char('+') + number.mid(2)), m_region);
        if (!international)
            reading.reset();
        else if (!international->e164.isEmpty())
            reading = international;
    }
    if (!reading)
        return normaliseWithLibrary(number);
    if (reading->e164.isEmpty())
        return {number, QString(), whyImpossible(reading->length, reading->region)};
    return withPlusGivenBack({number, reading->e164, QString()});
}

NormalisedNumber NumberNormaliser::normaliseWithLibrary(const QString& number) const {
    if (!active())
        return {number, QString(), QString()};
    PhoneNumber parsed;
    PhoneNumberUtil::ErrorType error = util().Parse(number.toStdString(), m_regionCode, &parsed);
    bool valid = error == PhoneNumberUtil::NO_PARSING_ERROR && util().IsValidNumber(parsed);
    if (!valid && number.startsWith(QLatin1String("00"))) {
        // "00" is the international prefix of most countries, whatever the default country
        // dials abroad with; lists mix them.
        PhoneNumber international;
        if (util().Parse("+" + number.mid(2).toStdString(), m_regionCode, &international) ==
                PhoneNumberUtil::NO_PARSING_ERROR &&
            util().IsValidNumber(international)) {
            parsed = international;
            error = PhoneNumberUtil::NO_PARSING_ERROR;
            valid = true;
        }
    }
    if (!valid)
        return {number, QString(),
                error == PhoneNumberUtil::NO_PARSING_ERROR ? whyImpossible(parsed) : whyImpossible(error)};
    std::string e164;
    util().Format(parsed, PhoneNumberUtil::E164, &e164);
    return withPlusGivenBack({number, QString::fromStdString(e164), QString()});
}

QString NumberNormaliser::refusalOf(const QString& raw) const {
    const QString s = normaliseNumberText(raw);
    if (s.isEmpty() || Check_Ph_Number(s, false) || hasMisplacedPlus(s))
        return QStringLiteral("not a phone number");
    return normalise(s).refusal;
}

QString NumberNormaliser::comparisonKey(const QString& number) const {
    if (!active())
        return number;
    const NormalisedNumber n = normalise(number);
    return n.valid() ? n.e164 : number;
}

QString NumberNormaliser::regionCode(const QString& text) {
    const QString code = text.trimmed().toUpper();
    if (code.size() != 2)
        return QString();
    static const std::set<std::string> known = [] {
        std::set<std::string> regions;
        util().GetSupportedRegions(&regions);
        return regions;
    }();
    return known.count(code.toStdString()) != 0 ? code : QString();
}

QStringList NumberNormaliser::regions() {
    std::set<std::string> regions;
    util().GetSupportedRegions(&regions);
    QStringList codes;
    for (const std::string& r : regions)
        codes << QString::fromStdString(r);
    return codes;
}

QString NumberNormaliser::callingCode(const QString& region) {
    const QString code = regionCode(region);
    if (code.isEmpty())
        return QString();
    return QString::number(util().GetCountryCodeForRegion(code.toStdString()));
}
