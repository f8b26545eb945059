#pragma once
// The messages people sent to the phone, read from its SMS provider's inbox
// (`content query --uri content://sms/inbox`): each read once it is newer than the last one
// kept; the phone keeps them all, nothing is deleted there.
#include "device/IncomingMessage.h"

#include <QList>
#include <QString>

#include <optional>

// The rows of `content query … --projection _id:address:date:body` as received messages (the
// row's _id as its place); nothing when the phone refused (`refusal` gets its words).
std::optional<QList<IncomingMessage>> parseInboxRows(const QString& output, QString* refusal);

class PhoneInbox {
public:
    // The messages after the last one kept; nothing (and why) when the phone refuses to tell.
    std::optional<QList<IncomingMessage>> readNew(QString* why) const;
    // Those are kept elsewhere: the next read starts after them.
    void kept(const QList<IncomingMessage>& messages);

private:
    qint64 m_after = 0; // the last _id kept
};
