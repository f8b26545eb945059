#pragma once
// The replies as conversations: the numbers that wrote, newest reply first, and one number's
// exchange with the campaigns (what they sent it, what it answered), for the inbox window.
#include <QList>
#include <QString>

#include <optional>

class CampaignStore;

// Which replies count. A number is listed when one of its replies passes; its row tells of the
// replies that pass.
struct ConversationFilter {
    static constexpr qint64 kAnyCampaign = -1;
    qint64 campaign = kAnyCampaign; // 0: the replies that answer no campaign
    bool unreadOnly = false;        // numbers with an unread reply
    bool optedOutOnly = false;      // numbers opted out now
    qint64 since = 0;               // kept at or after (ms since the epoch)
    // In the number (as kept or as received) or the text; case does not matter (ASCII at least),
    // and "%" and "_" are themselves.
    QString search;
    // Listed even when unreadOnly would leave it out: the conversation the operator is reading
    // (it was marked read by being opened).
    QString keep;
    qint64 before = 0; // the cursor: numbers whose latest reply is older than this id (0: newest)
    int limit = 500;
};

// A number that wrote, as the list shows it.
struct ConversationRow {
    QString number;      // as opt-outs name it
    QString sender;      // as its latest reply came
    qint64 latest = 0;   // its latest reply's id (the next page's cursor)
    qint64 latestAt = 0; // when it was kept
    QString latestText;  //
    bool latestComplete = true;
    qint64 campaign = 0; // the campaign its latest reply answers; 0: none
    qint64 replies = 0, unread = 0;
    bool optedOut = false; // opted out now
};

struct ConversationPage {
    QList<ConversationRow> rows;
    bool more = false; // another page follows (the last row's latest is its cursor)
};

std::optional<ConversationPage> listConversations(CampaignStore& store, const ConversationFilter& filter,
                                                  QString* error = nullptr);

// One message of a conversation: a campaign's text to the number, or the number's reply.
struct ConversationEntry {
    enum class Kind { Sent, Reply };
    Kind kind = Kind::Reply;
    qint64 id = 0;       // the reply's id; of a sent message, its item's
    qint64 at = 0;       // sent (the network's time when a reply has one), ms since the epoch
    qint64 campaign = 0; // 0: a reply that answers none
    QString text;
    // Of a sent message: its fate is unknown (it may not have gone).
    bool unknown = false;
    // Of a reply: whether every part arrived, and which did of how many.
    bool complete = true;
    int partTotal = 1;
    QList<int> partsArrived;
    qint64 readAt = 0;
};

// The number's conversation, oldest first: the campaigns' messages that may have reached it
// (the text as sent and when), interleaved with its replies; the latest `limit` of them.
std::optional<QList<ConversationEntry>> conversationOf(CampaignStore& store, const QString& number,
                                                       int limit = 500, QString* error = nullptr);

// Marks the number's replies up to upTo (their id; newer ones came after the operator looked)
// read; how many were unread.
std::optional<int> markConversationRead(CampaignStore& store, const QString& number, qint64 upTo,
                                        QString* error = nullptr);

// Every reply the filter takes (keep and the cursor aside), newest first, for an export.
struct ReplyLine {
    qint64 id = 0, receivedAt = 0, campaign = 0, readAt = 0;
    QString number, text;
    bool complete = true;
    bool optedOut = false; // its sender, now
};
std::optional<QList<ReplyLine>> repliesMatching(CampaignStore& store, const ConversationFilter& filter,
                                                QString* error = nullptr);

// A campaign that has replies, for the filter's choices.
struct RepliedCampaign {
    qint64 id = 0, createdAt = 0, replies = 0;
};
std::optional<QList<RepliedCampaign>> repliedCampaigns(CampaignStore& store, QString* error = nullptr);

// How many replies nobody read yet.
std::optional<qint64> unreadReplies(CampaignStore& store, QString* error = nullptr);
