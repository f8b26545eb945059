#pragma once
// What the phone itself says of the messages its app was handed: the app sends by itself, and
// the phone's SMS provider (`content query --uri content://sms`) keeps each one as sent, failed
// or still queued. A row confirms one message only: the same number, the exact text, and newer
// than everything the provider held when the run began (identical messages match in order).
#include "core/Clock.h"

#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>
#include <utility>

// The words of a message the phone confirmed, or could not.
inline const QString kStatusSentByPhone = QStringLiteral("Sent (in the phone's sent messages)");
inline const QString kStatusFailedInPhone = QStringLiteral("Failed (the phone could not send)");
inline const QString kStatusNotConfirmed = QStringLiteral("Handed to the phone (not confirmed)");

struct PhoneSms {
    qint64 id = 0;
    QString address;
    int type = 0; // the provider's: 2 sent, 4 outbox, 5 failed, 6 queued
    QString body;
};

// The rows of `content query … --projection _id:address:type:body`; nothing when the phone
// refused the query (`refusal` gets its words).
std::optional<QList<PhoneSms>> parseSmsRows(const QString& output, QString* refusal);
// The output of any `content query` cut into its rows ("Row: N …", a row running on over the
// line breaks of its last column); nothing when the phone refused the query (`refusal` says why).
std::optional<QStringList> providerRecords(const QString& output, QString* refusal);

class PhoneSentBox {
public:
    enum class Fate { Sent, Failed, NotConfirmed, Unreadable };

    // Where the provider stands before the run's first message; false (and why) when the phone
    // does not let this computer read its messages.
    bool open(QString* why);
    // What the phone did with the message it was just handed, asked again until it is sent or
    // failed, or until `wait` is over (NotConfirmed); Unreadable (and why) when the phone stops
    // letting us read.
    Fate confirm(const QString& number, const QString& text, Clock::Duration wait, QString* why);
    // The same for a whole list the phone was handed at once (number, text), in its order;
    // asked until every one is sent or failed, the wait is over, or stop() turns true.
    QList<Fate> confirmAll(const QList<std::pair<QString, QString>>& messages, Clock::Duration wait,
                           const std::function<bool()>& stop, QString* why);

private:
    std::optional<QList<PhoneSms>> read(QString* why) const;

    qint64 m_baseline = 0; // rows up to this one were there before the run
    QSet<qint64> m_used;   // rows that confirmed a message already
};
