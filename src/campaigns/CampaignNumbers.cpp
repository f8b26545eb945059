#include "CampaignNumbers.h"

#include "text/NumberRules.h"

#include <algorithm>

namespace {

// A number written with its "+" reads the same in every country; the normaliser needs one.
const NumberNormaliser& anyCountry() {
    static const NumberNormaliser normaliser(QStringLiteral("US"));
    return normaliser;
}

} // namespace

bool isPhoneNumber(const QString& sender) {
    const QString digits = sender.startsWith(QLatin1Char('+')) ? sender.mid(1) : sender;
    return !digits.isEmpty() && digits.size() <= kMaxNumberLength &&
           std::all_of(digits.cbegin(), digits.cend(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

CampaignNumbers::CampaignNumbers(const QString& country) : m_country(country) {}

QString CampaignNumbers::e164(const QString& number) const {
    const QString written = normaliseNumberText(number);
    if (!isPhoneNumber(written))
        return {};
    if (m_country.active())
        return m_country.normalise(written).e164;
    return written.startsWith(QLatin1Char('+')) ? anyCountry().normalise(written).e164 : QString();
}

QString CampaignNumbers::key(const QString& number) const {
    const QString e164 = this->e164(number);
    return e164.isEmpty() ? number.trimmed() : e164;
}
