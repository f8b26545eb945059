#include "NumberRules.h"

#include "core/TextUtils.h"

bool Check_Ph_Number(const QString& number, bool test_flag) {
    const QString s = Trim_Str(number);
    if (s.isEmpty() || s.size() > kMaxNumberLength)
        return true;
    for (QChar c : s) {
        const bool allowed = (c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || (test_flag && c == u',');
        if (!allowed)
            return true;
    }
    return false;
}

bool hasMisplacedPlus(const QString& number) {
    // A leading "+" stands for the international prefix "00"; any other "+" is misplaced.
    QString test = number;
    if (test.startsWith(u'+'))
        test.replace(0, 1, QStringLiteral("00"));
    return test.contains(u'+');
}

QString validTypedNumber(const QString& raw) {
    QString s = Replace_Char_For_Valid_Number(raw);
    if (s.isEmpty() || hasMisplacedPlus(s) || Check_Ph_Number(s, false))
        return QString();
    return s;
}
