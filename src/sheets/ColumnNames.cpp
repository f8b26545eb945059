#include "ColumnNames.h"

QString Get_Column_Char_Str(const QString& reference) {
    for (int i = 0; i < reference.size(); ++i) {
        if (reference.at(i) >= QLatin1Char('1') && reference.at(i) <= QLatin1Char('9'))
            return reference.left(i);
    }
    return reference;
}

int Asc_Val(const QString& s) { return s.isEmpty() ? 0 : (s.at(0).unicode() & 0xFF); }

int Get_Col_index(const QString& letters, int base) {
    switch (letters.size()) {
    case 1: return Asc_Val(letters) - base;
    case 2: return (Asc_Val(letters) - 64) * 26 + Asc_Val(letters.mid(1)) - base;
    case 3: {
        // Beyond ZZ: only proper capital letters, so a hostile reference cannot make a
        // row wider than the widest sheet (XFD, 16,384 columns).
        for (const QChar c : letters) {
            if (c < QLatin1Char('A') || c > QLatin1Char('Z'))
                return -1;
        }
        const int number = ((letters.at(0).unicode() - 64) * 26 + letters.at(1).unicode() - 64) * 26 +
                           letters.at(2).unicode() - 64;
        return number > 16384 ? -1 : number - (base - 64);
    }
    default: return -1;
    }
}

QString columnLettersFromNumber(int number) {
    QString letters;
    while (number > 0) {
        const int rest = (number - 1) % 26;
        letters.prepend(QChar(u'A' + rest));
        number = (number - 1) / 26;
    }
    return letters;
}
