#include "CodePageDecoder.h"

#include "core/Log.h"

#include <unicode/ucnv.h>

namespace {
QString decodeWith(const QByteArray& bytes, const char* name, bool* ok) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* conv = ucnv_open(name, &status);
    if (U_FAILURE(status) || conv == nullptr) {
        *ok = false;
        return QString();
    }
    QString out(bytes.size() * 2 + 1, Qt::Uninitialized);
    status = U_ZERO_ERROR;
    const int32_t n = ucnv_toUChars(conv, reinterpret_cast<UChar*>(out.data()), int32_t(out.size()),
                                    bytes.constData(), int32_t(bytes.size()), &status);
    ucnv_close(conv);
    if (U_FAILURE(status)) {
        *ok = false;
        return QString();
    }
    *ok = true;
    out.truncate(n);
    return out;
}
} // namespace

QString CodePageDecoder::charsetOfCodePage(int codePage) {
    switch (codePage) {
    case 437: return QStringLiteral("ibm-437");
    case 850: return QStringLiteral("ibm-850");
    case 932: return QStringLiteral("Shift_JIS");
    case 936: return QStringLiteral("GBK");
    case 949: return QStringLiteral("windows-949");
    case 950: return QStringLiteral("Big5");
    case 10000: return QStringLiteral("macintosh");
    case 65001: return QStringLiteral("UTF-8");
    default: break;
    }
    if (codePage >= 1250 && codePage <= 1258)
        return QStringLiteral("windows-%1").arg(codePage);
    if (codePage > 0)
        return QStringLiteral("cp%1").arg(codePage);
    return QStringLiteral("windows-1252");
}

QString CodePageDecoder::decode(const QByteArray& bytes, const QString& charsetName) {
    if (bytes.isEmpty())
        return QString();
    bool ok = false;
    QString text = decodeWith(bytes, charsetName.toLatin1().constData(), &ok);
    if (ok)
        return text;
    Show_NSLog_Message(QStringLiteral("Unknown code page %1, read as windows-1252").arg(charsetName));
    text = decodeWith(bytes, "windows-1252", &ok);
    return ok ? text : QString::fromLatin1(bytes);
}
