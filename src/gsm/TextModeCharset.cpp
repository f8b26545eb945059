#include "TextModeCharset.h"

#include "text/GsmAlphabet.h"

#include <QRegularExpression>

namespace {

// A septet that cannot be typed under "GSM": 26 is Ctrl-Z, which ends the message.
constexpr int kCtrlZSeptet = 26;

QString hexOf(int value, int digits) {
    return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0')).toUpper();
}

QString septetsOf(const QString& text) {
    QString septets;
    for (const QChar c : text) {
        const std::optional<Gsm7Septet> septet = gsm7SeptetOf(c);
        if (!septet)
            continue; // never reached: the set is chosen only for texts of the alphabet
        if (septet->extension)
            septets += QChar(kGsm7EscapeSeptet);
        septets += QChar(septet->code);
    }
    return septets;
}

bool typableUnderGsm(const QString& text) {
    for (const QChar c : text) {
        const std::optional<Gsm7Septet> septet = gsm7SeptetOf(c);
        if (septet && !septet->extension && septet->code == kCtrlZSeptet)
            return false;
    }
    return true;
}

// Characters that mean the same in ASCII and in the GSM default table: what a modem
// converts from "IRA" without guessing.
bool typableUnderIra(const QString& text) {
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const bool ascii = (u >= 0x20 && u < 0x7F) || u == u'\n' || u == u'\r';
        const std::optional<Gsm7Septet> septet = gsm7SeptetOf(c);
        if (!ascii || !septet || septet->extension || u == u'`')
            return false;
    }
    return true;
}

// Letters, digits, space, line ends and the punctuation that ASCII and the GSM alphabet put at
// the same codes: what reads alike whatever set a modem uses by default.
bool typableUnderAnySet(const QString& text) {
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const bool same = (u >= u'0' && u <= u'9') || (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') ||
                          (u >= u' ' && u <= u'?' && u != u'$') || u == u'\n' || u == u'\r';
        if (!same)
            return false;
    }
    return true;
}

} // namespace

QString TextModeCharset::name() const {
    switch (kind) {
    case Kind::Unchanged: return {};
    case Kind::Gsm: return QStringLiteral("GSM");
    case Kind::Ira: return QStringLiteral("IRA");
    case Kind::Ucs2: return QStringLiteral("UCS2");
    case Kind::Hex7:
    case Kind::Hex16: return QStringLiteral("HEX");
    }
    return {};
}

QString TextModeCharset::body(const QString& text) const {
    switch (kind) {
    case Kind::Gsm: return septetsOf(text);
    case Kind::Unchanged:
    case Kind::Ira: return text;
    case Kind::Hex7: {
        QString hex;
        for (const QChar septet : septetsOf(text))
            hex += hexOf(septet.unicode(), 2);
        return hex;
    }
    case Kind::Ucs2:
    case Kind::Hex16: {
        QString hex;
        for (const QChar unit : text)
            hex += hexOf(unit.unicode(), 4);
        return hex;
    }
    }
    return {};
}

QString TextModeCharset::number(const QString& number) const {
    if (kind != Kind::Ucs2)
        return number;
    QString hex;
    for (const QChar unit : number)
        hex += hexOf(unit.unicode(), 4);
    return hex;
}

namespace TextModeCharsets {

QStringList offered(const QString& supportedAnswer) {
    QStringList names;
    const qsizetype start = supportedAnswer.indexOf(QLatin1String("+CSCS:"));
    static const QRegularExpression name(QStringLiteral("[A-Za-z0-9-]+"));
    auto it = name.globalMatch(supportedAnswer.mid(start < 0 ? 0 : start + 6));
    while (it.hasNext()) {
        const QString found = it.next().captured().toUpper();
        if (found != QLatin1String("OK") && !names.contains(found))
            names << found;
    }
    return names;
}

std::optional<TextModeCharset> choose(const QStringList& offered, const QString& text) {
    using Kind = TextModeCharset::Kind;
    const auto offers = [&](const char* set) { return offered.contains(QLatin1String(set)); };
    if (offered.isEmpty()) // the modem did not say: only a text that reads alike in every set
        return typableUnderAnySet(text) ? std::optional(TextModeCharset{Kind::Unchanged}) : std::nullopt;
    if (Check_UNICODE_Message(text)) {
        if (offers("UCS2"))
            return TextModeCharset{Kind::Ucs2};
        if (offers("HEX"))
            return TextModeCharset{Kind::Hex16};
        return std::nullopt;
    }
    if (offers("GSM") && typableUnderGsm(text))
        return TextModeCharset{Kind::Gsm};
    if (offers("HEX"))
        return TextModeCharset{Kind::Hex7};
    if (offers("IRA") && typableUnderIra(text))
        return TextModeCharset{Kind::Ira};
    if (offers("UCS2"))
        return TextModeCharset{Kind::Ucs2};
    return std::nullopt;
}

} // namespace TextModeCharsets
