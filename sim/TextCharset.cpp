#include "TextCharset.h"

#include "Gsm7Decoder.h"

#include <cctype>

namespace sim::TextCharset {
namespace {

constexpr char16_t kReplacement = u'\uFFFD';

QString gsmBytesToText(const QByteArray& bytes) {
    QList<quint8> septets;
    QString text;
    for (const char c : bytes) {
        const auto byte = static_cast<quint8>(c);
        if (byte > 127) {
            text += Gsm7Decoder::toText(septets);
            septets.clear();
            text.append(QChar(kReplacement));
        } else {
            septets.append(byte);
        }
    }
    return text + Gsm7Decoder::toText(septets);
}

bool isHexText(const QByteArray& bytes) {
    for (const char c : bytes)
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return false;
    return true;
}

QString utf16FromOctets(const QByteArray& octets) {
    QString text;
    for (qsizetype i = 0; i + 1 < octets.size(); i += 2)
        text.append(QChar(
            char16_t((static_cast<quint8>(octets.at(i)) << 8) | static_cast<quint8>(octets.at(i + 1)))));
    return text;
}

} // namespace

QStringList supported() {
    return {QStringLiteral("GSM"),   QStringLiteral("IRA"),  QStringLiteral("8859-1"),
            QStringLiteral("UTF-8"), QStringLiteral("UCS2"), QStringLiteral("HEX")};
}

bool isSupported(const QString& charset) { return supported().contains(charset.toUpper()); }

QString decodeBody(const QByteArray& bytes, const QString& charset, bool ucs2Coding, bool* ok) {
    *ok = true;
    const QString set = charset.toUpper();
    if (set == u"UCS2" || set == u"HEX") {
        const int unit = set == u"UCS2" ? 4 : 2;
        if (bytes.size() % unit != 0 || !isHexText(bytes)) {
            *ok = false;
            return {};
        }
        const QByteArray octets = QByteArray::fromHex(bytes);
        if (set == u"UCS2" || ucs2Coding) {
            if (octets.size() % 2 != 0) {
                *ok = false;
                return {};
            }
            return utf16FromOctets(octets);
        }
        return gsmBytesToText(octets);
    }
    if (set == u"UTF-8")
        return QString::fromUtf8(bytes);
    if (set == u"8859-1")
        return QString::fromLatin1(bytes);
    if (set == u"IRA") {
        QString text;
        for (const char c : bytes)
            text.append(static_cast<quint8>(c) > 127 ? QChar(kReplacement) : QChar(QLatin1Char(c)));
        return text;
    }
    return gsmBytesToText(bytes);
}

QString decodeParameter(const QString& value, const QString& charset) {
    if (charset.compare(u"UCS2", Qt::CaseInsensitive) != 0 || value.size() % 4 != 0 || value.isEmpty())
        return value;
    const QByteArray latin = value.toLatin1();
    if (!isHexText(latin))
        return value;
    QString decoded = utf16FromOctets(QByteArray::fromHex(latin));
    for (const QChar c : decoded)
        if (!(c.isDigit() || c == u'+' || c == u'*' || c == u'#'))
            return value; // digits that merely look like hex
    return decoded;
}

QString encodeParameter(const QString& value, const QString& charset) {
    if (charset.compare(u"UCS2", Qt::CaseInsensitive) != 0)
        return value;
    QString hex;
    for (const QChar c : value)
        hex += QStringLiteral("%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
    return hex;
}

} // namespace sim::TextCharset
