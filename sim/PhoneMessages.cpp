#include "PhoneMessages.h"

#include <QHash>

namespace sim {

namespace {

const QStringList kColumns = {QStringLiteral("_id"), QStringLiteral("address"), QStringLiteral("body"),
                              QStringLiteral("date"), QStringLiteral("type")};

// The types a URI shows: every one for content://sms.
bool shows(const QString& uri, int type) {
    static const QHash<QString, int> kinds = {
        {QStringLiteral("content://sms/sent"), PhoneMessages::Sent},
        {QStringLiteral("content://sms/outbox"), PhoneMessages::Outbox},
        {QStringLiteral("content://sms/failed"), PhoneMessages::Failed},
        {QStringLiteral("content://sms/queued"), PhoneMessages::Queued}};
    return uri == QLatin1String("content://sms") || kinds.value(uri, -1) == type;
}

} // namespace

void PhoneMessages::add(const QString& number, const QString& text, Type type, qint64 dateMs) {
    m_messages.append({qint64(m_messages.size()) + 1, number, text, dateMs, type});
}

QString PhoneMessages::content(const QStringList& args, bool denied) const {
    if (args.value(0) != QLatin1String("query"))
        return QStringLiteral("usage: adb shell content [subcommand] [options]\n");
    QString uri;
    QStringList projection = kColumns;
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args.at(i) == QLatin1String("--uri"))
            uri = args.at(i + 1);
        else if (args.at(i) == QLatin1String("--projection"))
            projection = args.at(i + 1).split(QLatin1Char(':'));
    }
    if (!uri.startsWith(QLatin1String("content://sms")))
        return QStringLiteral("[ERROR] Unsupported operation: query %1\n").arg(uri);
    if (denied)
        return QStringLiteral(
                   "Error while accessing provider:sms\n"
                   "java.lang.SecurityException: Permission Denial: reading "
                   "com.android.providers.telephony.SmsProvider uri %1 from pid=4242, uid=2000 requires "
                   "android.permission.READ_SMS, or grantUriPermission()\n")
            .arg(uri);
    QString out;
    int row = 0;
    // Newest first, as the provider sorts by default.
    for (auto it = m_messages.crbegin(); it != m_messages.crend(); ++it) {
        if (!shows(uri, it->type))
            continue;
        const QHash<QString, QString> values = {{QStringLiteral("_id"), QString::number(it->id)},
                                                {QStringLiteral("address"), it->address},
                                                {QStringLiteral("body"), it->body},
                                                {QStringLiteral("date"), QString::number(it->date)},
                                                {QStringLiteral("type"), QString::number(it->type)}};
        QStringList fields;
        for (const QString& column : projection)
            fields << column + QLatin1Char('=') + values.value(column, QStringLiteral("NULL"));
        out += QStringLiteral("Row: %1 %2\n").arg(row++).arg(fields.join(QStringLiteral(", ")));
    }
    return row == 0 ? QStringLiteral("No result found.\n") : out;
}

} // namespace sim
