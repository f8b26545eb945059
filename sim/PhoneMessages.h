#pragma once
// The virtual phone's SMS provider: every message its companion app sent (or failed to send, or
// still queues) and every one it received, answered to `content query --uri
// content://sms[/inbox|/sent|/failed|/queued|/outbox] [--projection a:b:c] [--where "date>N"]`
// as a phone prints it ("Row: N key=value, key=value"), or refused as a phone refuses a shell
// without READ_SMS.
#include <QList>
#include <QString>
#include <QStringList>

namespace sim {

class PhoneMessages {
public:
    // The provider's type numbers.
    enum Type { Inbox = 1, Sent = 2, Outbox = 4, Failed = 5, Queued = 6 };

    void add(const QString& number, const QString& text, Type type, qint64 dateMs);
    // The output of `content` with these arguments (after the word "content").
    QString content(const QStringList& args, bool denied) const;

private:
    struct Message;
    // A "--where" of the form <column><op><number> (op: = != < <= > >=) on _id, date or type;
    // false for anything else, which the provider's SQL would not have taken from us either.
    static bool matches(const Message& message, const QString& where, bool* understood);

    struct Message {
        qint64 id;
        QString address, body;
        qint64 date;
        Type type;
    };
    QList<Message> m_messages;
};

} // namespace sim
