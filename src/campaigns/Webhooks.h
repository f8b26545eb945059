#pragma once
// Webhooks: other programs' addresses that hear what became of their messages. Each change
// worth telling (an item sent, delivered or failed, a reply kept, an opt-out) adds one outbox
// row per active webhook that asked for its event, in the transaction of the change itself:
// the change and its notice are kept together or not at all. Delivery reads the outbox later.
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class CampaignStore;
class SqlDatabase;

inline const QString kEventSent = QStringLiteral("sms:sent");
inline const QString kEventDelivered = QStringLiteral("sms:delivered");
inline const QString kEventFailed = QStringLiteral("sms:failed");
inline const QString kEventReceived = QStringLiteral("sms:received");
inline const QString kEventOptedOut = QStringLiteral("sms:opted-out");

// Every event a webhook may ask for.
const QStringList& webhookEventNames();

struct Webhook {
    qint64 id = 0;
    qint64 token = 0;
    QString tokenName;
    QString url;
    QStringList events;
    QString secret;
    qint64 createdAt = 0;
    qint64 disabledAt = 0; // 0 while active
    QString disabledReason;
    int failures = 0;   // deliveries failed in a row
    qint64 pending = 0; // outbox rows neither delivered nor given up
};

// A new webhook of the token; nothing with the store's words when it refused.
std::optional<Webhook> createWebhook(CampaignStore& store, qint64 token, const QString& url,
                                     const QStringList& events, const QString& secret, QString* error);
// The webhooks not deleted, oldest first: the token's (token > 0) or everyone's (0).
std::optional<QList<Webhook>> listWebhooks(CampaignStore& store, qint64 token, QString* error);
// Deletes the token's webhook (the row stays, marked) and drops what it had not delivered.
// found says whether there was one to delete.
bool deleteWebhook(CampaignStore& store, qint64 token, qint64 id, bool* found, QString* error);
// Turns a disabled webhook back on: its rows still waiting are tried again from now.
bool enableWebhook(CampaignStore& store, qint64 id, bool* found, QString* error);

// Within the caller's transaction: one outbox row for each active webhook that asked for the
// event. Without such a webhook this costs one read, and data() is never called.
bool addWebhookEvent(SqlDatabase& db, const QString& event, const std::function<QJsonObject()>& data);

// The events an item's change tells ("done" with its outcome, "report" with the delivery):
// sms:sent, sms:failed, sms:delivered or none.
QString itemEventOf(const QString& change, const QString& itemState, const QString& outcomeKey,
                    const QString& detail);
// Adds the event an item's change tells, if any (only changes "done" and "report" read more).
bool addItemEvent(SqlDatabase& db, qint64 campaign, int position, const QString& change,
                  const QString& detail);
struct ReceivedEvent {
    qint64 id = 0;
    QString from, fromE164, text;
    qint64 campaign = 0; // the campaign it answers; 0 for none
    qint64 receivedAt = 0;
};
bool addReceivedEvent(SqlDatabase& db, const ReceivedEvent& received);
bool addOptOutEvent(SqlDatabase& db, const QString& number, const QString& how, qint64 since);
