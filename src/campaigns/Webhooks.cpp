#include "Webhooks.h"

#include "CampaignStore.h"
#include "ItemFate.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimeZone>
#include <QUuid>

namespace {

QJsonValue isoOf(qint64 ms) {
    if (ms <= 0)
        return QJsonValue::Null;
    return QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc()).toString(Qt::ISODateWithMs);
}

const QString kWebhookColumns =
    QStringLiteral("w.id, w.token, COALESCE(t.name, ''), w.url, w.events, w.secret, w.created_at,"
                   " COALESCE(w.disabled_at, 0), w.disabled_reason, w.failures,"
                   " (SELECT COUNT(*) FROM outbox o WHERE o.webhook = w.id AND o.delivered_at IS NULL"
                   " AND o.given_up_at IS NULL)");

Webhook webhookOf(const SqlRow& r) {
    Webhook w;
    w.id = r.value(0).toLongLong();
    w.token = r.value(1).toLongLong();
    w.tokenName = r.value(2).toString();
    w.url = r.value(3).toString();
    w.events = r.value(4).toString().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    w.secret = r.value(5).toString();
    w.createdAt = r.value(6).toLongLong();
    w.disabledAt = r.value(7).toLongLong();
    w.disabledReason = r.value(8).toString();
    w.failures = int(r.value(9).toLongLong());
    w.pending = r.value(10).toLongLong();
    return w;
}

} // namespace

const QStringList& webhookEventNames() {
    static const QStringList names{kEventSent, kEventDelivered, kEventFailed, kEventReceived, kEventOptedOut};
    return names;
}

std::optional<Webhook> createWebhook(CampaignStore& store, qint64 token, const QString& url,
                                     const QStringList& events, const QString& secret, QString* error) {
    QList<SqlRow> rows;
    const bool written = store.write(
        [&](SqlDatabase& db) {
            rows.clear();
            QList<SqlRow> made;
            return db.exec(QStringLiteral("INSERT INTO webhooks (token, url, events, secret, created_at)"
                                          " VALUES (?, ?, ?, ?, ?) RETURNING id"),
                           {token, url, events.join(QLatin1Char(' ')), secret, CampaignStore::now()},
                           &made) &&
                   !made.isEmpty() &&
                   db.exec(QStringLiteral("SELECT %1 FROM webhooks w LEFT JOIN api_tokens t ON t.id = w.token"
                                          " WHERE w.id = ?")
                               .arg(kWebhookColumns),
                           {made.first().value(0)}, &rows);
        },
        error);
    if (!written || rows.isEmpty())
        return std::nullopt;
    return webhookOf(rows.first());
}

std::optional<QList<Webhook>> listWebhooks(CampaignStore& store, qint64 token, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(
                    QStringLiteral("SELECT %1 FROM webhooks w LEFT JOIN api_tokens t ON t.id = w.token"
                                   " WHERE w.deleted_at IS NULL AND (? = 0 OR w.token = ?)"
                                   " ORDER BY w.id")
                        .arg(kWebhookColumns),
                    {token, token}, &rows);
            },
            error))
        return std::nullopt;
    QList<Webhook> hooks;
    for (const SqlRow& row : rows)
        hooks << webhookOf(row);
    return hooks;
}

bool deleteWebhook(CampaignStore& store, qint64 token, qint64 id, bool* found, QString* error) {
    *found = false;
    return store.write(
        [&](SqlDatabase& db) {
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral("UPDATE webhooks SET deleted_at = ? WHERE id = ? AND token = ?"
                                        " AND deleted_at IS NULL RETURNING id"),
                         {CampaignStore::now(), id, token}, &rows))
                return false;
            *found = !rows.isEmpty();
            return !*found ||
                   db.exec(QStringLiteral("DELETE FROM outbox WHERE webhook = ? AND delivered_at IS NULL"
                                          " AND given_up_at IS NULL"),
                           {id});
        },
        error);
}

bool enableWebhook(CampaignStore& store, qint64 id, bool* found, QString* error) {
    *found = false;
    const qint64 now = CampaignStore::now();
    return store.write(
        [&](SqlDatabase& db) {
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral("UPDATE webhooks SET disabled_at = NULL, disabled_reason = '',"
                                        " failures = 0 WHERE id = ? AND deleted_at IS NULL RETURNING id"),
                         {id}, &rows))
                return false;
            *found = !rows.isEmpty();
            // Their day of tries starts again: created_at is what the 24 hours count from.
            return !*found ||
                   db.exec(
                       QStringLiteral("UPDATE outbox SET next_at = ?, created_at = ?, attempts = 0"
                                      " WHERE webhook = ? AND delivered_at IS NULL AND given_up_at IS NULL"),
                       {now, now, id});
        },
        error);
}

namespace {

// The active webhooks: id and the events each asked for.
bool activeHooks(SqlDatabase& db, QList<SqlRow>& hooks) {
    return db.exec(
        // A revoked token's webhooks hear nothing more: revoking a leaked token stops the
        // messages' numbers and texts going where its holder pointed them.
        QStringLiteral("SELECT id, events FROM webhooks WHERE deleted_at IS NULL AND disabled_at IS NULL"
                       " AND token IN (SELECT id FROM api_tokens WHERE revoked_at IS NULL)"),
        {}, &hooks);
}

bool addEventFor(SqlDatabase& db, const QList<SqlRow>& hooks, const QString& event,
                 const std::function<QJsonObject()>& data) {
    QJsonObject body;
    const qint64 now = CampaignStore::now();
    for (const SqlRow& hook : hooks) {
        if (!hook.value(1).toString().split(QLatin1Char(' ')).contains(event))
            continue;
        if (body.isEmpty())
            body = QJsonObject{{"event", event}, {"created", isoOf(now)}, {"data", data()}};
        // Each hook's notice is an event of its own: receivers dedupe by its id.
        const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        body.insert(QStringLiteral("id"), id);
        if (!db.exec(QStringLiteral("INSERT INTO outbox (webhook, event_id, event, body, created_at, next_at)"
                                    " VALUES (?, ?, ?, ?, ?, ?)"),
                     {hook.value(0), id, event,
                      QString::fromUtf8(QJsonDocument(body).toJson(QJsonDocument::Compact)), now, now}))
            return false;
    }
    return true;
}

} // namespace

bool addWebhookEvent(SqlDatabase& db, const QString& event, const std::function<QJsonObject()>& data) {
    QList<SqlRow> hooks;
    return activeHooks(db, hooks) && addEventFor(db, hooks, event, data);
}

QString itemEventOf(const QString& change, const QString& itemState, const QString& outcomeKey,
                    const QString& detail) {
    if (change == QLatin1String("report")) {
        if (detail == QLatin1String("Delivered"))
            return kEventDelivered;
        return detail.startsWith(QLatin1String("Not delivered")) ? kEventFailed : QString();
    }
    if (change != QLatin1String("done"))
        return {};
    switch (itemFate(itemState, outcomeKey)) {
    case ItemFate::Sent: return kEventSent;
    case ItemFate::Failed: return kEventFailed;
    default: break;
    }
    return {};
}

bool addItemEvent(SqlDatabase& db, qint64 campaign, int position, const QString& change,
                  const QString& detail) {
    if (change != QLatin1String("done") &&
        (change != QLatin1String("report") || itemEventOf(change, {}, {}, detail).isEmpty()))
        return true;
    // Without webhooks, this one read is all a change costs.
    QList<SqlRow> hooks;
    if (!activeHooks(db, hooks))
        return false;
    if (hooks.isEmpty())
        return true;
    QList<SqlRow> rows;
    if (!db.exec(QStringLiteral("SELECT number, number_e164, state, outcome, status, device, refs, delivery"
                                " FROM items WHERE campaign = ? AND position = ?"),
                 {campaign, position}, &rows))
        return false;
    if (rows.isEmpty())
        return true;
    const SqlRow& r = rows.first();
    const QString event = itemEventOf(change, r.value(2).toString(), r.value(3).toString(), detail);
    if (event.isEmpty())
        return true;
    return addEventFor(db, hooks, event, [&] {
        QJsonArray refs;
        for (const QString& ref : r.value(6).toString().split(QLatin1Char(' '), Qt::SkipEmptyParts))
            refs.append(ref.toInt());
        return QJsonObject{{"campaign", campaign},
                           {"position", position},
                           {"to", r.value(0).toString()},
                           {"e164", r.value(1).toString()},
                           {"state", apiItemState(r.value(2).toString(), r.value(3).toString())},
                           {"status", r.value(4).toString()},
                           {"device", r.value(5).toString()},
                           {"refs", refs},
                           {"delivery", r.value(7).toString()}};
    });
}

bool addReceivedEvent(SqlDatabase& db, const ReceivedEvent& r) {
    return addWebhookEvent(db, kEventReceived, [&] {
        return QJsonObject{{"id", r.id},
                           {"from", r.from},
                           {"from_e164", r.fromE164},
                           {"text", r.text},
                           {"campaign", r.campaign > 0 ? QJsonValue(r.campaign) : QJsonValue()},
                           {"received", isoOf(r.receivedAt)}};
    });
}

bool addOptOutEvent(SqlDatabase& db, const QString& number, const QString& how, qint64 since) {
    return addWebhookEvent(db, kEventOptedOut, [&] {
        return QJsonObject{{"number", number}, {"how", how}, {"since", isoOf(since)}};
    });
}
