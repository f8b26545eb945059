#include "TextLines.h"

namespace TextLines {

QStringList split(const QString& text) {
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c != QLatin1Char('\n') && c != QLatin1Char('\r'))
            continue;
        lines << text.mid(start, i - start);
        if (c == QLatin1Char('\r') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n'))
            ++i; // CR LF ends one line
        start = i + 1;
    }
    lines << text.mid(start);
    return lines;
}

} // namespace TextLines
