#pragma once
// The virtual phone's SMS provider: every message its companion app sent (or failed to send, or
// still queues), answered to `content query --uri content://sms[/sent|/failed|/queued|/outbox]
// [--projection a:b:c]` as a phone prints it ("Row: N key=value, key=value"), or refused as a
// phone refuses a shell without READ_SMS.
#include <QList>
#include <QString>
#include <QStringList>

namespace sim {

class PhoneMessages {
public:
    // The provider's type numbers.
    enum Type { Sent = 2, Outbox = 4, Failed = 5, Queued = 6 };

    void add(const QString& number, const QString& text, Type type, qint64 dateMs);
    // The output of `content` with these arguments (after the word "content").
    QString content(const QStringList& args, bool denied) const;

private:
    struct Message {
        qint64 id;
        QString address, body;
        qint64 date;
        Type type;
    };
    QList<Message> m_messages;
};

} // namespace sim
