#include "DynamicMessages.h"

#include <QRegularExpression>

QString fillTemplate(const QString& templ, const QStringList& values) {
    static const QRegularExpression pattern(QStringLiteral("<COL-([0-9]+)>"),
                                            QRegularExpression::CaseInsensitiveOption);
    QString out;
    qsizetype last = 0;
    for (auto it = pattern.globalMatch(templ); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        const QString digits = match.captured(1);
        bool ok = false;
        const int column = digits.toInt(&ok);
        // Only the written form of a column number is a placeholder (<COL-01> is text).
        if (!ok || column < 1 || column > values.size() || QString::number(column) != digits)
            continue;
        out += QStringView(templ).mid(last, match.capturedStart() - last);
        out += values.at(column - 1);
        last = match.capturedEnd();
    }
    out += QStringView(templ).mid(last);
    return out;
}
