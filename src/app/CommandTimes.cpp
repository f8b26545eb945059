#include "CommandTimes.h"

#include <QDateTime>

qint64 timeOf(const QString& text) {
    for (const QString& format : {QStringLiteral("yyyy-MM-dd HH:mm:ss"), QStringLiteral("yyyy-MM-dd HH:mm"),
                                  QStringLiteral("yyyy-MM-dd")}) {
        const QDateTime at = QDateTime::fromString(text.trimmed(), format);
        if (at.isValid())
            return at.toMSecsSinceEpoch();
    }
    const QDateTime iso = QDateTime::fromString(text.trimmed(), Qt::ISODate);
    return iso.isValid() ? iso.toMSecsSinceEpoch() : 0;
}

QString timeText(qint64 ms) {
    return ms == 0 ? QStringLiteral("-") : QDateTime::fromMSecsSinceEpoch(ms).toString(Qt::ISODate);
}
