#include "XlsxText.h"

#include <algorithm>
#include <array>

namespace {

int hexValue(QChar c) {
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return -1;
}

// The code of the escape starting at i, or -1 when none starts there.
int escapeAt(QStringView text, qsizetype i) {
    if (i + 7 > text.size() || text.at(i) != QLatin1Char('_') || text.at(i + 1) != QLatin1Char('x') ||
        text.at(i + 6) != QLatin1Char('_'))
        return -1;
    int code = 0;
    for (qsizetype k = i + 2; k < i + 6; ++k) {
        const int h = hexValue(text.at(k));
        if (h < 0)
            return -1;
        code = code * 16 + h;
    }
    return code;
}

bool xmlCanCarry(char16_t u) {
    if (u < 0x20)
        return u == u'\t' || u == u'\n';
    return u != 0xFFFE && u != 0xFFFF;
}

QString escapeOf(char16_t u) {
    return QStringLiteral("_x%1_").arg(
        QString::number(uint(u), 16).toUpper().rightJustified(4, QLatin1Char('0')));
}

} // namespace

QString decodeXlsxEscapes(const QString& text) {
    if (!text.contains(QLatin1String("_x")))
        return text;
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size();) {
        const int code = escapeAt(text, i);
        if (code >= 0) {
            out.append(QChar(char16_t(code)));
            i += 7;
        } else {
            out.append(text.at(i));
            ++i;
        }
    }
    return out;
}

QString encodeXlsxEscapes(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool pairedSurrogate =
            (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) ||
            (c.isLowSurrogate() && i > 0 && text.at(i - 1).isHighSurrogate());
        if (escapeAt(text, i) >= 0)
            out.append(QLatin1String("_x005F"));
        if (!xmlCanCarry(c.unicode()) || (c.isSurrogate() && !pairedSurrogate))
            out.append(escapeOf(c.unicode()));
        else
            out.append(c);
    }
    return out;
}

bool isPlainNumber(const QString& text) {
    qsizetype i = 0;
    const qsizetype n = text.size();
    if (i < n && text.at(i) == QLatin1Char('-'))
        ++i;
    const qsizetype intStart = i;
    while (i < n && text.at(i).isDigit() && text.at(i).unicode() < 128)
        ++i;
    const qsizetype intDigits = i - intStart;
    if (intDigits == 0 || (intDigits > 1 && text.at(intStart) == QLatin1Char('0')))
        return false;
    qsizetype fracDigits = 0;
    if (i < n && text.at(i) == QLatin1Char('.')) {
        ++i;
        const qsizetype fracStart = i;
        while (i < n && text.at(i).isDigit() && text.at(i).unicode() < 128)
            ++i;
        fracDigits = i - fracStart;
        if (fracDigits == 0 || text.at(i - 1) == QLatin1Char('0'))
            return false;
    }
    if (i != n)
        return false;
    const bool zeroInteger = intDigits == 1 && text.at(intStart) == QLatin1Char('0');
    qsizetype significant = (zeroInteger ? 0 : intDigits) + fracDigits;
    if (zeroInteger) { // leading zeros of the fraction are not significant
        for (qsizetype k = intStart + 2; k < n && text.at(k) == QLatin1Char('0'); ++k)
            --significant;
    }
    if (text == QLatin1String("-0"))
        return false;
    return significant <= 15;
}

char* writeXlsxTextAsXml(QStringView text, char* out) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    // ASCII written as it is, the common case: printable, no markup, no escape's start.
    static constexpr auto kPlain = [] {
        std::array<bool, 128> plain{};
        for (char16_t u = 0x20; u < 0x80; ++u)
            plain[u] = u != u'&' && u != u'<' && u != u'>' && u != u'_';
        plain[u'\t'] = plain[u'\n'] = true;
        return plain;
    }();
    const auto escape = [&out](char16_t u) {
        *out++ = '_';
        *out++ = 'x';
        *out++ = kHex[(u >> 12) & 0xF];
        *out++ = kHex[(u >> 8) & 0xF];
        *out++ = kHex[(u >> 4) & 0xF];
        *out++ = kHex[u & 0xF];
        *out++ = '_';
    };
    const qsizetype n = text.size();
    const char16_t* units = text.utf16();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t u = units[i];
        if (u < 0x80 && kPlain[u]) {
            *out++ = char(u);
        } else if (u < 0x80) {
            switch (u) {
            case u'&': out = std::copy_n("&amp;", 5, out); continue;
            case u'<': out = std::copy_n("&lt;", 4, out); continue;
            case u'>': out = std::copy_n("&gt;", 4, out); continue;
            case u'_':
                if (escapeAt(text, i) >= 0) // a literal escape: its underscore is escaped
                    out = std::copy_n("_x005F", 6, out);
                break;
            default:
                if (!xmlCanCarry(u)) {
                    escape(u);
                    continue;
                }
            }
            *out++ = char(u);
        } else if (u < 0x800) {
            *out++ = char(0xC0 | (u >> 6));
            *out++ = char(0x80 | (u & 0x3F));
        } else if (QChar::isHighSurrogate(u) && i + 1 < n && QChar::isLowSurrogate(units[i + 1])) {
            const char32_t c = QChar::surrogateToUcs4(u, units[++i]);
            *out++ = char(0xF0 | (c >> 18));
            *out++ = char(0x80 | ((c >> 12) & 0x3F));
            *out++ = char(0x80 | ((c >> 6) & 0x3F));
            *out++ = char(0x80 | (c & 0x3F));
        } else if (QChar::isSurrogate(u) || !xmlCanCarry(u)) { // unpaired, or U+FFFE/U+FFFF
            escape(u);
        } else {
            *out++ = char(0xE0 | (u >> 12));
            *out++ = char(0x80 | ((u >> 6) & 0x3F));
            *out++ = char(0x80 | (u & 0x3F));
        }
    }
    return out;
}
