#include "NumberCheck.h"

#include "text/NumberNormaliser.h"
#include "text/NumberRules.h"

std::optional<RequestProblem> checkNumber(const QString& raw, const QString& country, const QString& field,
                                          QString& number, const QString& withoutCountry) {
    static const QString kAnyRegion = QStringLiteral("GB");
    // What was written goes back in the message, but never more of it than a number could be.
    const QString shown = raw.left(kMaxNumberLength + 5);
    number = normaliseNumberText(raw);
    if (country.isEmpty() && !number.startsWith(QLatin1Char('+')))
        return RequestProblem{
            field,
            QStringLiteral("\"%1\" is not in international form (+ and the country code)%2")
                .arg(shown, withoutCountry.isEmpty() ? QString() : QStringLiteral("; ") + withoutCountry)};
    const QString why = NumberNormaliser(country.isEmpty() ? kAnyRegion : country).refusalOf(raw);
    if (!why.isEmpty())
        return RequestProblem{field, QStringLiteral("\"%1\" is not a valid number: %2").arg(shown, why)};
    return std::nullopt;
}
