#include "CampaignQueries.h"

#include "CampaignNumbers.h"
#include "CampaignOptions.h"
#include "CampaignSenders.h"
#include "CampaignStore.h"
#include "ItemFate.h"
#include "RecipientWindow.h"
#include "Replies.h"
#include "core/WallClock.h"

namespace {

const QString kCampaignColumns =
    QStringLiteral("id, state, road, created_by, data_folder, reason, created_at, COALESCE(started_at, 0),"
                   " COALESCE(finished_at, 0), total, COALESCE(start_at, 0), COALESCE(send_window, ''),"
                   " COALESCE(window_zone, '')");

CampaignSummary summaryOf(const SqlRow& row) {
    CampaignSummary c;
    c.id = row.value(0).toLongLong();
    c.state = row.value(1).toString();
    c.road = row.value(2).toString();
    c.createdBy = row.value(3).toString();
    c.dataFolder = row.value(4).toString();
    c.reason = row.value(5).toString();
    c.createdAt = row.value(6).toLongLong();
    c.startedAt = row.value(7).toLongLong();
    c.finishedAt = row.value(8).toLongLong();
    c.total = row.value(9).toLongLong();
    c.startAt = row.value(10).toLongLong();
    c.sendWindow = row.value(11).toString();
    c.windowZone = row.value(12).toString();
    return c;
}

// Who of a campaign with a send window waits for it now: the recipients whose window opens
// first, as its run tells them ("waiting for 09:00 in America/Chicago (3 recipients)"); why
// it never opens for some; "" when nobody waits.
bool readWaiting(SqlDatabase& db, CampaignSummary& c, qint64 now) {
    RunSettings settings;
    settings.sendWindow = c.sendWindow;
    settings.windowZone = c.windowZone;
    std::optional<RecipientWindow> window = RecipientWindow::of(settings);
    if (!window)
        return true;
    QList<SqlRow> groups;
    if (!db.exec(QStringLiteral("SELECT zone_key, COUNT(*) FROM items WHERE campaign = ? AND state = 'queued'"
                                " AND requeued_at IS NULL GROUP BY zone_key"),
                 {c.id}, &groups))
        return false;
    qint64 first = 0;
    QString never;
    for (const SqlRow& row : groups) {
        const QString key = row.value(0).toString();
        if (window->isOpen(key, now))
            continue;
        const qint64 opening = window->nextOpening(key, now);
        const int count = int(row.value(1).toLongLong());
        if (opening == 0)
            never = window->waitingText(key, now, count);
        else if (first == 0 || opening < first) {
            first = opening;
            c.waitingText = window->waitingText(key, now, count);
        }
    }
    if (c.waitingText.isEmpty())
        c.waitingText = never;
    return true;
}

// Adds one group of items (state, outcome, how many) to the campaign's counts.
void count(CampaignSummary& c, const QString& state, const QString& outcomeName, qint64 n) {
    switch (itemFate(state, outcomeName)) {
    case ItemFate::Waiting: c.waiting += n; break;
    case ItemFate::InHand: c.inHand += n; break;
    case ItemFate::Unknown: c.unknown += n; break;
    case ItemFate::Sent: c.sent += n; break;
    case ItemFate::Failed: c.failed += n; break;
    case ItemFate::NotSent: c.notSent += n; break;
    }
}

bool countItems(SqlDatabase& db, QList<CampaignSummary>& campaigns, qint64 only) {
    QList<SqlRow> rows;
    if (!db.exec(QStringLiteral(
                     "SELECT campaign, state, outcome, COUNT(*) FROM items WHERE (? = 0 OR campaign = ?)"
                     " GROUP BY campaign, state, outcome"),
                 {only, only}, &rows))
        return false;
    for (const SqlRow& row : rows)
        for (CampaignSummary& c : campaigns)
            if (c.id == row.value(0).toLongLong())
                count(c, row.value(1).toString(), row.value(2).toString(), row.value(3).toLongLong());
    QHash<qint64, ReplyCounts> replies;
    if (!countReplies(db, only, &replies))
        return false;
    for (CampaignSummary& c : campaigns) {
        c.held = c.state == QLatin1String("sending") && campaignHeld(db, c.id);
        c.replies = replies.value(c.id).replies;
        c.optOuts = replies.value(c.id).optOuts;
        // Only campaigns with a window and recipients left to send pay for the look.
        const bool going = c.state == QLatin1String("queued") || c.state == QLatin1String("sending");
        if (going && c.waiting > 0 && !c.sendWindow.isEmpty() && !readWaiting(db, c, Clock::nowMs()))
            return false;
    }
    return db.error().isEmpty();
}

qint64 insertRows(SqlDatabase& db, const NewCampaign& campaign, const QList<SendingItem>& items, qint64 now) {
    QString message = items.isEmpty() ? QString() : items.first().message;
    for (const SendingItem& item : items)
        if (item.message != message) {
            message.clear();
            break;
        }
    const bool sending = campaign.state == QLatin1String("sending");
    // Each number's E.164 form in the campaign's country goes beside it: replies and opt-outs
    // meet the recipient however the list wrote the number.
    const RunSettings settings = settingsOf(campaign.options, campaign.road);
    const QString& country = settings.country;
    const CampaignNumbers numbers(country);
    QList<SqlRow> made;
    if (!db.exec(QStringLiteral("INSERT INTO campaigns (created_at, created_by, data_folder, road, message,"
                                " options, state, total, resumes, started_at, country, start_at, send_window,"
                                " window_zone, end_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"
                                " RETURNING id"),
                 {now, CampaignStore::user(), campaign.dataFolder, campaign.road,
                  message.isNull() ? QVariant() : QVariant(message), campaign.options,
                  campaign.startAt > now ? QStringLiteral("scheduled") : campaign.state, qint64(items.size()),
                  campaign.resumes ? QVariant(campaign.resumes) : QVariant(),
                  sending ? QVariant(now) : QVariant(), country,
                  campaign.startAt > 0 ? QVariant(campaign.startAt) : QVariant(),
                  settings.sendWindow.isEmpty() ? QVariant() : QVariant(settings.sendWindow),
                  settings.windowZone.isEmpty() ? QVariant() : QVariant(settings.windowZone),
                  settings.until > 0 ? QVariant(settings.until) : QVariant()},
                 &made) ||
        made.isEmpty())
        return 0;
    const qint64 id = made.first().value(0).toLongLong();
    // Many rows a statement: a million recipients go in without a million statements.
    constexpr int kRowsAStatement = 100;
    constexpr int kColumns = 12;
    const auto statement = [](int rows) {
        return QStringLiteral(
                   "INSERT INTO items (campaign, position, number, number_e164, text, state, status,"
                   " current_status, use_status, device, changed_at, zone_key) VALUES ") +
               QStringList(rows, QStringLiteral("(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"))
                   .join(QLatin1Char(','));
    };
    const bool windowed = !settings.sendWindow.isEmpty();
    const QString full = statement(kRowsAStatement);
    QVariantList values;
    for (int first = 0; first < items.size(); first += kRowsAStatement) {
        const int rows = int(std::min<qsizetype>(kRowsAStatement, items.size() - first));
        values.clear();
        values.reserve(qsizetype(rows) * kColumns);
        for (int i = first; i < first + rows; ++i) {
            const SendingItem& item = items.at(i);
            const bool done = !item.status.isEmpty();
            const QString e164 = numbers.e164(item.number);
            values << id << i << item.number << (e164.isEmpty() ? QVariant() : QVariant(e164)) << item.message
                   << (done ? QStringLiteral("done") : QStringLiteral("queued")) << item.status
                   << item.currentStatus << (done ? QStringLiteral("done") : QStringLiteral("wait"))
                   << item.usePort << now
                   << (windowed ? QVariant(recipientZoneKey(settings, e164)) : QVariant());
        }
        if (!db.exec(rows == kRowsAStatement ? full : statement(rows), values))
            return 0;
    }
    return id;
}

} // namespace

qint64 insertCampaign(SqlDatabase& db, const NewCampaign& campaign, const QList<SendingItem>& items) {
    const qint64 now = CampaignStore::now();
    // A large list walks the number index in no order: the embedded file's cache holds it while
    // the items go in (64 MiB at most), then gives the memory back.
    const bool large = db.engine() == SqlDatabase::Engine::Sqlite && items.size() > 10000;
    if (large && !db.exec(QStringLiteral("PRAGMA cache_size=-65536")))
        return 0;
    const qint64 id = insertRows(db, campaign, items, now);
    if (large)
        db.exec(QStringLiteral("PRAGMA cache_size=-2000"));
    // A server plans the claims by its statistics, which know nothing yet of a campaign just
    // made: a large one would be read whole at each claim until the server's own analysis
    // comes round. Its statistics go in with it (ANALYZE counts this transaction's rows).
    if (id != 0 && db.engine() == SqlDatabase::Engine::Postgres && items.size() >= 1000 &&
        !db.exec(QStringLiteral("ANALYZE items")))
        return 0;
    return id;
}

qint64 createCampaign(CampaignStore& store, const NewCampaign& campaign, const QList<SendingItem>& items,
                      QString* error) {
    qint64 id = 0;
    store.write([&](SqlDatabase& db) { return (id = insertCampaign(db, campaign, items)) != 0; }, error);
    return id;
}

std::optional<QList<CampaignSummary>> listCampaigns(CampaignStore& store, QString* error) {
    QList<CampaignSummary> campaigns;
    const bool read = store.read(
        [&](SqlDatabase& db) {
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral("SELECT %1 FROM campaigns ORDER BY id DESC").arg(kCampaignColumns),
                         {}, &rows))
                return false;
            for (const SqlRow& row : rows)
                campaigns << summaryOf(row);
            return countItems(db, campaigns, 0);
        },
        error);
    return read ? std::optional(campaigns) : std::nullopt;
}

std::optional<CampaignSummary> campaignSummary(CampaignStore& store, qint64 id, QString* error) {
    QList<CampaignSummary> found;
    const bool read = store.read(
        [&](SqlDatabase& db) {
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral("SELECT %1 FROM campaigns WHERE id = ?").arg(kCampaignColumns), {id},
                         &rows))
                return false;
            for (const SqlRow& row : rows)
                found << summaryOf(row);
            return countItems(db, found, id);
        },
        error);
    if (!read || found.isEmpty())
        return std::nullopt;
    return found.first();
}

std::optional<int> cancelCampaign(CampaignStore& store, qint64 id, QString* error) {
    std::optional<int> cancelled;
    store.write(
        [&](SqlDatabase& db) {
            const qint64 now = CampaignStore::now();
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral("UPDATE campaigns SET state = 'cancelled', finished_at = ?,"
                                        " reason = 'cancelled by the operator' WHERE id = ? RETURNING id"),
                         {now, id}, &rows))
                return false;
            if (rows.isEmpty())
                return true;
            rows.clear();
            if (!db.exec(QStringLiteral(
                             "UPDATE items SET state = 'done', status = ?, use_status = 'stopped',"
                             " current_status = ?, changed_at = ? WHERE campaign = ? AND state = 'queued'"
                             " RETURNING position"),
                         {QStringLiteral("Not sent: the campaign was cancelled."), kStoppedUse, now, id},
                         &rows))
                return false;
            cancelled = int(rows.size());
            return true;
        },
        error);
    return cancelled;
}

bool rescheduleCampaign(CampaignStore& store, qint64 id, qint64 startAt, QString* error) {
    bool moved = false;
    const bool written = store.write(
        [&](SqlDatabase& db) {
            const qint64 now = CampaignStore::now();
            QList<SqlRow> rows;
            // A queued one that no sender took up yet may be put off too.
            if (!db.exec(
                    QStringLiteral("UPDATE campaigns SET start_at = ?, state = ? WHERE id = ?"
                                   " AND (state = 'scheduled' OR (state = 'queued' AND started_at IS NULL))"
                                   " RETURNING id"),
                    {startAt, startAt > now ? QStringLiteral("scheduled") : QStringLiteral("queued"), id},
                    &rows))
                return false;
            moved = !rows.isEmpty();
            return true;
        },
        error);
    return written && moved;
}

std::optional<int> resendUnknown(CampaignStore& store, qint64 id, QString* error) {
    std::optional<int> requeued;
    store.write(
        [&](SqlDatabase& db) {
            const QVariant found = db.value(QStringLiteral("SELECT id FROM campaigns WHERE id = ?"), {id});
            if (!found.isValid())
                return db.error().isEmpty();
            QList<SqlRow> rows;
            const qint64 now = CampaignStore::now();
            if (!releaseAbandonedClaims(db, id) ||
                !db.exec(QStringLiteral(
                             "UPDATE items SET state = 'queued', status = '', outcome = '',"
                             " outcome_detail = '', use_status = 'wait', current_status = ?, device = '',"
                             " requeued_at = ?, not_before = 0, avoid_device = '', changed_at = ? WHERE "
                             "campaign = ?"
                             " AND (state = 'unknown' OR outcome = 'unknown') RETURNING position"),
                         {kWaitToDispatch, now, now, id}, &rows))
                return false;
            requeued = int(rows.size());
            return rows.isEmpty() ||
                   db.exec(
                       QStringLiteral("UPDATE campaigns SET state = 'queued', finished_at = NULL WHERE id = ?"
                                      " AND state IN ('finished', 'stopped')"),
                       {id});
        },
        error);
    return requeued;
}

bool releaseAbandonedClaims(SqlDatabase& db, qint64 campaign, const QString& exceptClaimer) {
    const qint64 now = CampaignStore::now();
    QList<SqlRow> claimers;
    if (!db.exec(
            QStringLiteral("SELECT DISTINCT claimer FROM items WHERE claimer IS NOT NULL AND claimer <> ?"
                           " AND (? = 0 OR campaign = ?)"),
            {exceptClaimer, campaign, campaign}, &claimers))
        return false;
    for (const SqlRow& row : claimers) {
        const QString claimer = row.value(0).toString();
        const qint64 gone = claimerGone(claimer) ? 1 : 0;
        if (!db.exec(
                QStringLiteral("UPDATE items SET state = 'unknown', status = ?, use_status = 'done',"
                               " current_status = ?, outcome = 'unknown', claimer = NULL, changed_at = ?"
                               " WHERE claimer = ? AND state = 'sending' AND (? = 1 OR lease_until < ?)"),
                {kStatusUnknown, kDone, now, claimer, gone, now}) ||
            !db.exec(
                QStringLiteral("UPDATE items SET state = 'queued', use_status = 'wait', current_status = ?,"
                               " attempts = attempts - 1, claimer = NULL, device = '', requeued_at = ?,"
                               " changed_at = ? WHERE claimer = ? AND state = 'claimed'"
                               " AND (? = 1 OR lease_until < ?)"),
                {kWaitToDispatch, now, now, claimer, gone, now}))
            return false;
    }
    return true;
}

std::optional<CampaignToSend> nextCampaignToSend(CampaignStore& store, const QString& road, QString* error) {
    std::optional<CampaignToSend> next;
    const bool read = store.write(
        [&](SqlDatabase& db) {
            if (!releaseAbandonedClaims(db, 0))
                return false;
            QList<SqlRow> rows;
            if (!db.exec(
                    QStringLiteral("SELECT c.id, c.options FROM campaigns c WHERE c.road = ?"
                                   " AND (c.state IN ('queued', 'sending') OR (c.state = 'scheduled' AND"
                                   " c.start_at <= ?)) AND EXISTS (SELECT 1 FROM items i"
                                   " WHERE i.campaign = c.id AND i.state = 'queued') ORDER BY c.id LIMIT 1"),
                    {road, CampaignStore::now()}, &rows))
                return false;
            if (!rows.isEmpty())
                next = CampaignToSend{rows.first().value(0).toLongLong(), rows.first().value(1).toString(), 0,
                                      0};
            return true;
        },
        error);
    return read ? next : std::nullopt;
}

std::optional<CampaignToSend> dueScheduledCampaign(CampaignStore& store, const QString& dataFolder,
                                                   const QString& road, QString* error) {
    std::optional<CampaignToSend> due;
    const bool read = store.read(
        [&](SqlDatabase& db) {
            QList<SqlRow> rows;
            if (!db.exec(
                    QStringLiteral("SELECT c.id, c.options, c.total, c.start_at FROM campaigns c"
                                   " WHERE c.data_folder = ? AND c.road = ? AND c.state = 'scheduled'"
                                   " AND c.start_at <= ? AND EXISTS (SELECT 1 FROM items i"
                                   " WHERE i.campaign = c.id AND i.state = 'queued') ORDER BY c.start_at,"
                                   " c.id LIMIT 1"),
                    {dataFolder, road, CampaignStore::now()}, &rows))
                return false;
            if (!rows.isEmpty())
                due = CampaignToSend{rows.first().value(0).toLongLong(), rows.first().value(1).toString(),
                                     rows.first().value(2).toLongLong(), rows.first().value(3).toLongLong()};
            return true;
        },
        error);
    return read ? due : std::nullopt;
}

bool anyInHand(CampaignStore& store, const QString& road) {
    bool found = false;
    store.read([&](SqlDatabase& db) {
        found = db.value(QStringLiteral("SELECT 1 FROM items i JOIN campaigns c ON c.id = i.campaign"
                                        " WHERE i.claimer IS NOT NULL AND c.road = ? LIMIT 1"),
                         {road})
                    .isValid();
        return true;
    });
    return found;
}
