#include "GsmAlphabet.h"

namespace {
// The default alphabet's characters outside the contiguous ASCII ranges below, and the
// extension table (form feed, ^ { } \ [ ~ ] | and the euro sign).
// clang-format off
constexpr char16_t kGsmSpecials[] = {
    u'@',    u'\u00A3', u'$',      u'\u00A5', u'\u00E8', u'\u00E9', u'\u00F9', u'\u00EC', u'\u00F2', u'\u00C7',
    u'\n',   u'\u00D8', u'\u00F8', u'\r',     u'\u00C5', u'\u00E5', u'\u0394', u'_',      u'\u03A6', u'\u0393',
    u'\u039B', u'\u03A9', u'\u03A0', u'\u03A8', u'\u03A3', u'\u0398', u'\u039E', u'\u00C6', u'\u00E6', u'\u00DF',
    u'\u00C9', u' ',     u'!',      u'"',      u'#',      u'\u00A4', u'\u00A1', u'\u00C4', u'\u00D6', u'\u00D1',
    u'\u00DC', u'\u00A7', u'\u00BF', u'\u00E4', u'\u00F6', u'\u00F1', u'\u00FC', u'\u00E0',
    // extension table
    u'\f',   u'^',      u'{',      u'}',      u'\\',     u'[',      u'~',      u']',      u'|',      u'\u20AC',
};
// clang-format on
} // namespace

bool isGsm7Character(QChar c) {
    const char16_t u = c.unicode();
    if ((u >= 37 && u <= 63) || (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z'))
        return true;
    for (char16_t special : kGsmSpecials)
        if (special == u)
            return true;
    return false;
}

bool Check_UNICODE_Message(const QString& text) {
    for (QChar c : text)
        if (!isGsm7Character(c))
            return true;
    return false;
}
