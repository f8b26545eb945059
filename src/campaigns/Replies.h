#pragma once
// The messages recipients send back, read from modems' SIMs and phones' inboxes: each kept
// once however often it is read (a read again after a crash, before the SIM let go of it),
// tied to the campaign it answers, and its stop or start word applied to its sender, all in
// the transaction that keeps it.
#include "OptOutWords.h"
#include "core/ReplyOptions.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

class CampaignStore;
class SqlDatabase;
struct IncomingMessage;

struct ReceivedMessage {
    QString device; // ICCID, IMEI or the phone's serial, as the reader names it
    QString road;   // kGsmRoad, kAndroidRoad
    QString sender; // as received: "+447911123456", "07911123456", "MyBank"
    // Its E.164 form when the reader knows it; "" lets the store work it out when it can (a
    // number with its "+", or in the country of the campaign it answers).
    QString senderE164;
    QString text;
    // Of a long message: its reference, how many parts it has and which arrived (from 1).
    int partReference = 0, partTotal = 1;
    QList<int> partsArrived;
    bool complete = true; // every part arrived
    qint64 sentAt = 0;    // the network's time stamp (ms since the epoch, UTC); 0 unknown
};

// A message as a device read it, as the store files it: under the device's receiver key and road.
ReceivedMessage receivedFromDevice(const QString& device, const QString& road, const IncomingMessage& in);

// How replies are read.
struct ReplyRules {
    // A reply answers the latest campaign that texted its sender this long before it.
    std::chrono::milliseconds window = std::chrono::hours(24 * 7);
    QStringList extraStopWords; // the operator's own, beside the standard ones
};

// The rules the operator's options ask for.
ReplyRules replyRulesOf(const ReplyOptions& options);

// What storing a message did.
struct StoredReply {
    qint64 id = 0;
    bool fresh = false;                   // false: it was kept before, and nothing was done again
    qint64 campaign = 0;                  // the campaign it answers; 0: not from a campaign
    QString number;                       // its sender as opt-outs name it
    OptOutWord change = OptOutWord::None; // Stop: its sender opted out now; Start: back in
};

// Keeps the message (its campaign and opt-out word applied); nothing (and error) when the
// store refused, and then nothing of it was kept.
std::optional<StoredReply> storeReceived(CampaignStore& store, const ReceivedMessage& message,
                                         const ReplyRules& rules = {}, QString* error = nullptr);

// A kept message as the lists show it.
struct ReceivedRow {
    qint64 id = 0;
    ReceivedMessage message;
    QString number;
    qint64 receivedAt = 0; // when it was kept
    qint64 campaign = 0;
    qint64 readAt = 0;                    // 0: unread
    OptOutWord change = OptOutWord::None; // what it did to its sender
    bool senderOptedOut = false;          // its sender is opted out now
};

struct ReceivedFilter {
    static constexpr qint64 kAnyCampaign = -1;
    qint64 campaign = kAnyCampaign; // 0: the messages that answer no campaign
    qint64 since = 0;               // kept at or after (ms since the epoch)
    bool unreadOnly = false;
    bool optedOutOnly = false; // from senders opted out now
    qint64 before = 0;         // the cursor: messages older than this id (0: from the newest)
    // Oldest first instead, from after this id: a client that reads what arrived since it last
    // asked (0: from the oldest).
    bool oldestFirst = false;
    qint64 after = 0;
    int limit = 100;
};

// The messages the filter takes, newest first (as kept; or oldest first), limit at most; the
// last one's id is the next page's cursor.
std::optional<QList<ReceivedRow>> listReceived(CampaignStore& store, const ReceivedFilter& filter,
                                               QString* error = nullptr);
// Marks the messages read (or unread again).
bool markRead(CampaignStore& store, const QList<qint64>& ids, bool read = true, QString* error = nullptr);

// How many replies a campaign had, and how many of them opted their sender out.
struct ReplyCounts {
    qint64 replies = 0, optOuts = 0;
};
std::optional<ReplyCounts> campaignReplyCounts(CampaignStore& store, qint64 campaign,
                                               QString* error = nullptr);
// The same of every campaign (campaign 0) or of one, by campaign, with the caller's connection.
bool countReplies(SqlDatabase& db, qint64 campaign, QHash<qint64, ReplyCounts>* counts);
