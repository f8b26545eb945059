#include "TextFileDecoder.h"

#include "CodePageDecoder.h"
#include "core/Guard.h"

#include <QStringDecoder>

#include <algorithm>
#include <optional>

#include <unicode/ucsdet.h>

namespace {

struct Bom {
    QByteArray bytes;
    const char* name;
    QStringConverter::Encoding encoding;
};

// Longest marks first: the UTF-32 LE mark starts with the UTF-16 LE one.
const Bom kBoms[] = {
    {QByteArray("\xFF\xFE\x00\x00", 4), "UTF-32LE", QStringConverter::Utf32LE},
    {QByteArray("\x00\x00\xFE\xFF", 4), "UTF-32BE", QStringConverter::Utf32BE},
    {QByteArray("\xEF\xBB\xBF", 3), "UTF-8", QStringConverter::Utf8},
    {QByteArray("\xFF\xFE", 2), "UTF-16LE", QStringConverter::Utf16LE},
    {QByteArray("\xFE\xFF", 2), "UTF-16BE", QStringConverter::Utf16BE},
};

const Bom* markOf(const QByteArray& bytes) {
    for (const Bom& bom : kBoms)
        if (bytes.startsWith(bom.bytes))
            return &bom;
    return nullptr;
}

bool isValidUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder(bytes);
    return !decoder.hasError();
}

// Text files hold printable characters and a few layout controls; anything with NUL
// bytes, or where control bytes are more than a tenth of the content, is binary.
bool looksBinary(const QByteArray& bytes) {
    qsizetype controls = 0;
    for (const char ch : bytes) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == 0)
            return true;
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != '\v' && c != 0x1A &&
            c != 0x1B)
            ++controls;
    }
    return controls * 10 > bytes.size();
}

// UTF-16 without a byte-order mark (as some programs export "Unicode text"): text in the
// Latin, Greek, Cyrillic or similar ranges has a zero high byte in most characters, so one
// of the two byte positions is mostly zero and the other almost never.
std::optional<QStringConverter::Encoding> utf16WithoutMark(const QByteArray& bytes) {
    const qsizetype n = std::min<qsizetype>(bytes.size(), 4096) & ~qsizetype(1);
    if (n < 4)
        return std::nullopt;
    qsizetype evenZeros = 0, oddZeros = 0;
    for (qsizetype i = 0; i < n; i += 2) {
        evenZeros += bytes.at(i) == 0;
        oddZeros += bytes.at(i + 1) == 0;
    }
    const qsizetype units = n / 2;
    std::optional<QStringConverter::Encoding> guess;
    if (oddZeros * 10 >= units * 7 && evenZeros * 20 <= units)
        guess = QStringConverter::Utf16LE;
    else if (evenZeros * 10 >= units * 7 && oddZeros * 20 <= units)
        guess = QStringConverter::Utf16BE;
    if (!guess)
        return std::nullopt;
    QStringDecoder decoder(*guess, QStringConverter::Flag::Stateless);
    const QString text = decoder(bytes.left(bytes.size() & ~qsizetype(1)));
    if (decoder.hasError() || text.contains(QChar(0)))
        return std::nullopt;
    return guess;
}

// The charset ICU's detector likes best; windows-1252 when it has no opinion.
QString detectLegacyCharset(const QByteArray& bytes) {
    UErrorCode status = U_ZERO_ERROR;
    UCharsetDetector* detector = ucsdet_open(&status);
    QString name;
    if (U_SUCCESS(status)) {
        ucsdet_setText(detector, bytes.constData(), int32_t(qMin<qsizetype>(bytes.size(), 1 << 20)), &status);
        const UCharsetMatch* match = U_SUCCESS(status) ? ucsdet_detect(detector, &status) : nullptr;
        if (U_SUCCESS(status) && match != nullptr)
            name = QString::fromLatin1(ucsdet_getName(match, &status));
        ucsdet_close(detector);
    }
    // ICU names ISO-8859-1 when it cannot tell it from windows-1252; the latter is a superset
    // of its printable part, so bytes 0x80-0x9F come out as the characters Windows meant.
    if (U_FAILURE(status) || name.isEmpty() || name == QLatin1String("ISO-8859-1") ||
        name.startsWith(QLatin1String("UTF")))
        return QStringLiteral("windows-1252");
    return name;
}

} // namespace

QString TextFileDecoder::detectEncoding(const QByteArray& bytes) {
    if (const Bom* bom = markOf(bytes))
        return QString::fromLatin1(bom->name);
    if (const auto utf16 = utf16WithoutMark(bytes))
        return *utf16 == QStringConverter::Utf16LE ? QStringLiteral("UTF-16LE") : QStringLiteral("UTF-16BE");
    if (looksBinary(bytes))
        return QString();
    if (isValidUtf8(bytes))
        return QStringLiteral("UTF-8");
    return detectLegacyCharset(bytes);
}

bool TextFileDecoder::decode(const QByteArray& bytes, QString& text) {
    text.clear();
    const bool decoded = Guard::run(
        "Text file could not be decoded",
        [&] {
            if (const Bom* bom = markOf(bytes)) {
                QStringDecoder decoder(bom->encoding, QStringConverter::Flag::Stateless);
                text = decoder(bytes.mid(bom->bytes.size()));
                return true;
            }
            if (const auto utf16 = utf16WithoutMark(bytes)) {
                QStringDecoder decoder(*utf16, QStringConverter::Flag::Stateless);
                text = decoder(bytes);
                return true;
            }
            const QString encoding = detectEncoding(bytes);
            if (encoding.isEmpty())
                return false;
            text = encoding == QLatin1String("UTF-8") ? QString::fromUtf8(bytes)
                                                      : CodePageDecoder::decode(bytes, encoding);
            return true;
        },
        false);
    if (!decoded)
        text.clear();
    return decoded;
}
