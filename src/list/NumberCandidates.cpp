#include "NumberCandidates.h"

#include "core/TextUtils.h"

namespace {
// Braces and backslashes are what is left of markup in exported files.
QString withoutMarkup(QString s) {
    s.remove(QLatin1Char('\\'));
    s.remove(QLatin1Char('{'));
    s.remove(QLatin1Char('}'));
    return s;
}
} // namespace

namespace NumberCandidates {

QStringList fromTextLines(const QString& text) {
    QStringList out;
    const QStringList lines = text.split(QLatin1Char('\n'));
    out.reserve(lines.size());
    for (const QString& line : lines)
        out << Replace_Char_For_Valid_Number(withoutMarkup(line));
    return out;
}

QStringList fromCsv(const QString& text) {
    QStringList out;
    for (const QString& line : text.split(QLatin1Char('\r'))) {
        if (!line.contains(QLatin1Char(',')))
            continue;
        for (const QString& cell : line.split(QLatin1Char(',')))
            out << withoutMarkup(cell);
    }
    return out;
}

QStringList fromPaste(const QString& text) {
    QStringList out;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (line.contains(QLatin1Char('\t')))
            out << line.split(QLatin1Char('\t'));
        else
            out << line;
    }
    return out;
}

} // namespace NumberCandidates
