#include "PhoneInbox.h"

#include "AdbRunner.h"
#include "PhoneSentBox.h"

#include <QRegularExpression>

#include <algorithm>

std::optional<QList<IncomingMessage>> parseInboxRows(const QString& output, QString* refusal) {
    const std::optional<QStringList> records = providerRecords(output, refusal);
    if (!records)
        return std::nullopt;
    // The body last: it may hold anything, line breaks and ", " included.
    static const QRegularExpression row(
        QStringLiteral("^Row: \\d+ _id=(\\d+), address=(.*?), date=(\\d+), body=(.*)$"),
        QRegularExpression::DotMatchesEverythingOption);
    QList<IncomingMessage> messages;
    for (const QString& record : *records) {
        const QRegularExpressionMatch match = row.match(record);
        if (!match.hasMatch())
            continue;
        IncomingMessage message;
        message.sender = match.captured(2);
        message.text = match.captured(4);
        message.sentAt = match.captured(3).toLongLong();
        message.partsArrived = {1};
        message.places = {int(std::min<qint64>(match.captured(1).toLongLong(), INT_MAX))};
        messages << message;
    }
    return messages;
}

std::optional<QList<IncomingMessage>> PhoneInbox::readNew(QString* why) const {
    return parseInboxRows(
        ExecuteExternalFile({QStringLiteral("shell"), QStringLiteral("content"), QStringLiteral("query"),
                             QStringLiteral("--uri"), QStringLiteral("content://sms/inbox"),
                             QStringLiteral("--projection"), QStringLiteral("_id:address:date:body"),
                             QStringLiteral("--where"),
                             phoneShellWord(QStringLiteral("_id>%1").arg(m_after))}),
        why);
}

void PhoneInbox::kept(const QList<IncomingMessage>& messages) {
    for (const IncomingMessage& message : messages)
        for (const int place : message.places)
            m_after = std::max<qint64>(m_after, place);
}
