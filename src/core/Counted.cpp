#include "Counted.h"

#include <QLocale>

QString localNumber(qint64 n) { return QLocale().toString(n); }

QString counted(qint64 n, const QString& one, const QString& many) {
    return QStringLiteral("%1 %2").arg(localNumber(n), n == 1 || n == -1 ? one : many);
}
