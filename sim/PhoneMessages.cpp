#include "PhoneMessages.h"

#include <QHash>
#include <QRegularExpression>

namespace sim {

namespace {

const QStringList kColumns = {QStringLiteral("_id"), QStringLiteral("address"), QStringLiteral("body"),
                              QStringLiteral("date"), QStringLiteral("type")};

// The types a URI shows: every one for content://sms.
bool shows(const QString& uri, int type) {
    static const QHash<QString, int> kinds = {
        {QStringLiteral("content://sms/inbox"), PhoneMessages::Inbox},
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

bool PhoneMessages::matches(const Message& message, const QString& where, bool* understood) {
    static const QRegularExpression condition(
        QStringLiteral("^\\s*(_id|date|type)\\s*(=|!=|<>|<=|>=|<|>)\\s*'?(-?\\d+)'?\\s*$"));
    const QRegularExpressionMatch m = condition.match(where);
    *understood = m.hasMatch();
    if (!m.hasMatch())
        return false;
    const QString column = m.captured(1);
    const qint64 value = column == u"_id"    ? message.id
                         : column == u"date" ? message.date
                                             : qint64(message.type);
    const qint64 bound = m.captured(3).toLongLong();
    const QString op = m.captured(2);
    if (op == u"=")
        return value == bound;
    if (op == u"!=" || op == u"<>")
        return value != bound;
    if (op == u"<")
        return value < bound;
    if (op == u"<=")
        return value <= bound;
    if (op == u">")
        return value > bound;
    return value >= bound;
}

QString PhoneMessages::content(const QStringList& args, bool denied) const {
    if (args.value(0) != QLatin1String("query"))
        return QStringLiteral("usage: adb shell content [subcommand] [options]\n");
    QString uri;
    QString where;
    QStringList projection = kColumns;
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args.at(i) == QLatin1String("--uri"))
            uri = args.at(i + 1);
        else if (args.at(i) == QLatin1String("--projection"))
            projection = args.at(i + 1).split(QLatin1Char(':'));
        else if (args.at(i) == QLatin1String("--where"))
            where = args.at(i + 1);
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
    if (bool understood = true; !where.isEmpty()) {
        matches(Message{0, {}, {}, 0, Inbox}, where, &understood);
        if (!understood)
            return QStringLiteral("Error while accessing provider:sms\n"
                                  "android.database.sqlite.SQLiteException: near \"%1\": syntax error "
                                  "(code 1 SQLITE_ERROR)\n")
                .arg(where);
    }
    QString out;
    int row = 0;
    // Newest first, as the provider sorts by default.
    for (auto it = m_messages.crbegin(); it != m_messages.crend(); ++it) {
        if (!shows(uri, it->type))
            continue;
        bool understood = true;
        if (!where.isEmpty() && !matches(*it, where, &understood))
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
