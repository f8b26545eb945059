#include "TextUtils.h"

#include "Guard.h"

namespace {

// Whitespace and newlines: Unicode Z* categories, tab, LF, VT, FF, CR and NEL.
bool isWhitespaceOrNewline(QChar c) { return c.isSpace(); }

// Control characters: the Cc and Cf categories.
bool isControl(QChar c) {
    const auto cat = c.category();
    return cat == QChar::Other_Control || cat == QChar::Other_Format;
}

template <typename Pred> QString trimBothEnds(const QString& s, Pred drop) {
    qsizetype begin = 0;
    qsizetype end = s.size();
    while (begin < end && drop(s.at(begin)))
        ++begin;
    while (end > begin && drop(s.at(end - 1)))
        --end;
    return s.mid(begin, end - begin);
}

QString replaceAll(const QString& s, const QString& find, const QString& repl, Qt::CaseSensitivity cs) {
    if (find.isEmpty())
        return s; // nothing to look for: an empty pattern would otherwise match between every character
    QString out = s;
    out.replace(find, repl, cs);
    return out;
}

bool findIn(const QString& hay, const QString& needle, Qt::CaseSensitivity cs) {
    if (hay.isNull() || needle.isNull() || needle.isEmpty())
        return false;
    return hay.contains(needle, cs);
}

} // namespace

QString Trim_Str(const QString& s) {
    // The trimmed text is a copy of any length (a whole file's text, say).
    return Guard::run(
        "Trim_Str", [&] { return trimBothEnds(trimBothEnds(s, isWhitespaceOrNewline), isControl); },
        QString());
}

QString MakeUpper(const QString& s) {
    const QString trimmed = Trim_Str(s);
    if (trimmed.isEmpty())
        return QString();
    return Trim_Str(trimmed.toUpper());
}

QString MakeLower(const QString& s) {
    const QString trimmed = Trim_Str(s);
    if (trimmed.isEmpty())
        return QString();
    return Trim_Str(trimmed.toLower());
}

QString Replace_char_in_string(const QString& s, const QString& find, const QString& repl) {
    return replaceAll(s, find, repl, Qt::CaseSensitive);
}

QString Replace_char_in_string_Case_Insensitive(const QString& s, const QString& find, const QString& repl) {
    return replaceAll(s, find, repl, Qt::CaseInsensitive);
}

bool Find_Str(const QString& hay, const QString& needle) { return findIn(hay, needle, Qt::CaseSensitive); }

bool Find_Str_Case_Insensitive(const QString& hay, const QString& needle) {
    return findIn(hay, needle, Qt::CaseInsensitive);
}

QString Left_Str_substringToIndex(const QString& s, int n) {
    n = qMax(n, 0);
    return n >= s.size() ? s : s.left(n);
}

QString Right_Str_substringFromIndex(const QString& s, int n) {
    n = qMax(n, 0);
    return n >= s.size() ? s : s.right(n);
}

QString Read_Str_FromIndex(const QString& s, int i) {
    if (i < 0 || i > s.size())
        return QString();
    return s.mid(i);
}

QString Read_Str_Upto_Index(const QString& s, int i) {
    if (i < 0 || i > s.size())
        return QString();
    return s.left(i);
}

QString Replace_Char_For_Valid_Number(const QString& s) {
    static const char* const kNoise[] = {"-", " ", "(", ")", ".", ",", "[", "]"};
    QString out = s;
    for (const char* noise : kNoise)
        out.remove(QLatin1String(noise));
    return Trim_Str(out);
}

QString Replace_Sent_Item_and_Template_New_Line_with_Seprator(const QString& s) {
    // Every kind of line break: the stores' readers end a line at CR too.
    QString lf = s;
    lf.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return replaceAll(lf, QStringLiteral("\n"), kStoredNewLineSeparator, Qt::CaseSensitive);
}

QString Replace_Sent_Item_and_Template_Seprator_With_New_Line(const QString& s) {
    return replaceAll(s, kStoredNewLineSeparator, QStringLiteral("\n"), Qt::CaseSensitive);
}
