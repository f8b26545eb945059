#include "ProbeAnswers.h"

#include <QRegularExpression>

#include "PDU.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"

namespace ProbeAnswers {

const QStringList kMakerWords = {"AT+CGMI", "AT+GMI", "+CGMI", "+GMI"};
const QStringList kModelWords = {"AT+CGMM", "AT+GMM", "+CGMM", "+GMM"};
const QStringList kImeiWords = {"AT+CGSN", "+CGSN"};
const QStringList kBatteryWords = {"AT+CBC", "+CBC"};
const QStringList kSignalWords = {"AT+CSQ", "+CSQ"};
const QStringList kOperatorWords = {"AT+COPS", "+COPS"};
const QStringList kRevisionWords = {"AT+CGMR", "AT+GMR", "+CGMR", "+GMR"};
const QStringList kSmscWords = {"AT+CSCA", "+CSCA"};

QString clean(const QString& answer, const QStringList& commandWords, bool keepQuotes) {
    QString s = answer;
    s.remove(QLatin1Char('?'));
    if (!keepQuotes)
        s.remove(QLatin1Char('"'));
    s.remove(QLatin1Char('<'));
    s.remove(QLatin1Char('>'));
    s.remove(QStringLiteral("OK"));
    s.remove(QStringLiteral("\\r\\n"));
    s.remove(QStringLiteral("\\r"));
    s.remove(QStringLiteral("\\n"));
    for (const QString& word : commandWords)
        s.remove(word);
    s = Trim_Str(s);
    if (s.startsWith(QLatin1Char(':')))
        s.remove(0, 1);
    return Trim_Str(s);
}

QString modelName(const QString& cleaned) {
    const qsizetype at = cleaned.indexOf(QStringLiteral("MODEL"));
    if (at < 0)
        return cleaned;
    return Trim_Str(cleaned.mid(at + 6));
}

QString imeiDigits(const QString& cleaned) {
    QString s = cleaned;
    if (s.startsWith(QStringLiteral("IMEI"))) // the answer's own word, not a record key
        s.remove(0, 4);
    return Trim_Str(s);
}

namespace {

bool isIccid(const QString& digits) {
    static const QRegularExpression pattern(QStringLiteral("^89[0-9]{17,18}$"));
    return pattern.match(digits).hasMatch();
}

// The number a word of the answer holds, or "".
QString iccidOf(const QString& word) {
    QString text = word.toUpper();
    static const QRegularExpression swapped(QStringLiteral("^98[0-9F]{18}$"));
    if (swapped.match(text).hasMatch()) {
        for (qsizetype i = 0; i + 1 < text.size(); i += 2)
            std::swap(text[i], text[i + 1]);
    }
    if (text.endsWith(QLatin1Char('F')))
        text.chop(1);
    return isIccid(text) ? text : QString();
}

} // namespace

QString iccidDigits(const QString& answer) {
    static const QRegularExpression separators(QStringLiteral("[^0-9A-Za-z]+"));
    QString found;
    for (const QString& word : answer.split(separators, Qt::SkipEmptyParts)) {
        const QString iccid = iccidOf(word);
        if (iccid.isEmpty())
            continue;
        if (!found.isEmpty() && found != iccid)
            return QString(); // two SIMs in one answer: trust neither
        found = iccid;
    }
    return found;
}

QString batteryText(const QString& cleaned) {
    if (cleaned.isEmpty())
        return QString();
    const QChar state = cleaned.at(0);
    QString charge = cleaned.size() > 1 && cleaned.at(1) == u',' ? cleaned.mid(2) : QString();
    switch (state.unicode()) {
    case u'0': return charge + QStringLiteral("%");
    case u'1': return charge + QStringLiteral("% ( Charging )");
    case u'2': return kNoBattery;
    case u'3': return QStringLiteral("Recognized power fault.");
    default: return charge;
    }
}

QString signalText(const QString& cleaned) {
    const QString first = cleaned.section(QLatin1Char(','), 0, 0).trimmed();
    bool ok = false;
    const int r = first.toInt(&ok);
    if (r == 99) // 27.007: "not known or not detectable", no number to show
        return QStringLiteral("No signal");
    const int value = ok ? r : 0;
    if (value < 9)
        return QStringLiteral("Low (%1)").arg(value);
    if (value <= 14)
        return QStringLiteral("Medium (%1)").arg(value);
    if (value <= 18)
        return QStringLiteral("Good (%1)").arg(value);
    return QStringLiteral("High (%1)").arg(value);
}

QString firstQuoted(const QString& text) {
    const qsizetype open = text.indexOf(QLatin1Char('"'));
    const qsizetype close = open < 0 ? -1 : text.indexOf(QLatin1Char('"'), open + 1);
    return close < 0 ? text : text.mid(open + 1, close - open - 1);
}

namespace {
bool isHex(const QString& text) {
    for (QChar c : text)
        if (!c.isDigit() && !(c >= u'a' && c <= u'f') && !(c >= u'A' && c <= u'F'))
            return false;
    return true;
}
} // namespace

QString decodeUcs2Hex(const QString& hex) {
    if (hex.isEmpty() || hex.size() % 4 != 0 || !isHex(hex))
        return QString();
    return PDU::DecodeUserData_16_bit(hex);
}

QString decodePacked7BitHex(const QString& hex) {
    if (hex.isEmpty() || hex.size() % 2 != 0 || !isHex(hex))
        return QString();
    const QList<int> septets = PDU::DecodeUserData(hex, static_cast<int>(hex.size() / 2 * 8 / 7));
    QString out;
    for (int septet : septets) {
        // Digits, "+", "*" and "#" share their codes with ASCII; nothing else matters here.
        const bool numberCharacter =
            (septet >= '0' && septet <= '9') || septet == '+' || septet == '*' || septet == '#';
        out.append(numberCharacter ? QChar(septet) : QChar(u'?'));
    }
    if (!septets.isEmpty() && septets.last() == 0)
        out.chop(1); // the fill bits of the last octet made one septet of zeros
    return out;
}

QString smscNumber(const QString& cleanedWithQuotes) {
    const QString text = firstQuoted(cleanedWithQuotes);
    QString number = text;
    if (!number.startsWith(QLatin1Char('+'))) {
        const QString ucs2 = decodeUcs2Hex(text);
        const QString packed = decodePacked7BitHex(text);
        if (ucs2.startsWith(QLatin1Char('+')))
            number = ucs2;
        else if (packed.startsWith(QLatin1Char('+')))
            number = packed;
        else if (!ucs2.isEmpty() && !Check_Ph_Number(ucs2, false))
            number = ucs2;
    }
    // Type of address 145 is an international number, written with or without a space
    // after the comma ("...",145 or "...", 145).
    static const QRegularExpression international(QStringLiteral("\"\\s*,\\s*145(?!\\d)"));
    if (!number.isEmpty() && !number.startsWith(QLatin1Char('+')) &&
        international.match(cleanedWithQuotes).hasMatch())
        number.prepend(QLatin1Char('+'));
    return number;
}

} // namespace ProbeAnswers
