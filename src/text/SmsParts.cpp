#include "SmsParts.h"

#include "GsmAlphabet.h"
#include "core/Counted.h"

namespace SmsParts {

namespace {

// Units one character takes at position i (a surrogate pair is one character of two units).
int characterLength(const QString& text, qsizetype i) {
    return text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate() ? 2 : 1;
}

int unitsOf(const QString& text, qsizetype i, int length, SmsCoding coding) {
    if (coding == SmsCoding::Ucs2)
        return length;
    const std::optional<Gsm7Septet> septet = gsm7SeptetOf(text.at(i));
    return septet && septet->extension ? 2 : 1;
}

} // namespace

int septetCount(const QString& text) {
    int septets = 0;
    for (const QChar c : text) {
        const std::optional<Gsm7Septet> septet = gsm7SeptetOf(c);
        septets += septet && septet->extension ? 2 : 1;
    }
    return septets;
}

SmsCoding codingFor(const QString& text, bool unicodeRequested) {
    return unicodeRequested || Check_UNICODE_Message(text) ? SmsCoding::Ucs2 : SmsCoding::Gsm7;
}

QString withFooter(const QString& text, const QString& footer, int maxLength) {
    if (footer.isEmpty() || text.trimmed().endsWith(footer))
        return text.left(maxLength);
    if (text.isEmpty())
        return footer.left(maxLength);
    const qsizetype room = qMax<qsizetype>(0, maxLength - footer.size() - 1);
    return text.left(room) + QLatin1Char('\n') + footer;
}

QString withPlainPunctuation(const QString& text) {
    QString plain;
    plain.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\u2018':
        case u'\u2019': plain += QLatin1Char('\''); break;
        case u'\u201C':
        case u'\u201D': plain += QLatin1Char('"'); break;
        case u'\u2013':
        case u'\u2014': plain += QLatin1Char('-'); break;
        case u'\u2026': plain += QLatin1String("..."); break;
        default: plain += c;
        }
    }
    return plain;
}

QStringList cut(const QString& text, SmsCoding coding, int maxUnits, int maxCharacters) {
    QStringList pieces;
    qsizetype start = 0;
    int units = 0, characters = 0;
    for (qsizetype i = 0; i < text.size();) {
        const int length = characterLength(text, i);
        const int cost = unitsOf(text, i, length, coding);
        if (i > start && (units + cost > maxUnits || characters + 1 > maxCharacters)) {
            pieces << text.mid(start, i - start);
            start = i;
            units = 0;
            characters = 0;
        }
        units += cost;
        characters += 1;
        i += length;
    }
    if (start < text.size())
        pieces << text.mid(start);
    return pieces;
}

bool fitsSingle(const QString& text, SmsCoding coding) {
    return coding == SmsCoding::Ucs2 ? text.size() <= kSingleUnits : septetCount(text) <= kSingleSeptets;
}

QStringList partsOf(const QString& text, SmsCoding coding) {
    if (fitsSingle(text, coding))
        return {text};
    return cut(text, coding, coding == SmsCoding::Ucs2 ? kPartUnits : kPartSeptets);
}

Cost costOf(const QString& text, bool unicodeRequested) {
    Cost cost;
    cost.characters = static_cast<int>(text.size());
    cost.coding = codingFor(text, unicodeRequested);
    cost.parts = text.isEmpty() ? 0 : static_cast<int>(partsOf(text, cost.coding).size());
    return cost;
}

QString describe(const Cost& cost) {
    if (cost.parts == 0)
        return QStringLiteral("Empty");
    const QString coding =
        cost.coding == SmsCoding::Gsm7 ? QStringLiteral("GSM 7-bit") : QStringLiteral("Unicode");
    return cost.parts == 1 ? coding + QStringLiteral(", 1 SMS")
                           : coding + QStringLiteral(", %1 SMS parts").arg(localNumber(cost.parts));
}

} // namespace SmsParts
