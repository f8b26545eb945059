#include "StoredRun.h"

#include "CampaignOptions.h"

#include "CampaignQueries.h"
#include "CampaignSenders.h"
#include "OptOuts.h"
#include "Webhooks.h"
#include "core/Clock.h"
#include "core/Log.h"
#include "device/DeliveryState.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <algorithm>

#include <unistd.h>

namespace {

// The columns an item is read from, in the order itemOf() takes them.
const QString kItemColumns = QStringLiteral(
    "position, number, text, state, status, current_status, use_status, device, attempts, outcome_detail,"
    " refs, delivery, reports, last_failure, last_outcome");

UseStatus useStatusOf(const QString& key) {
    return key == QLatin1String("sending")   ? UseStatus::Sending
           : key == QLatin1String("done")    ? UseStatus::Done
           : key == QLatin1String("stopped") ? UseStatus::Stopped
                                             : UseStatus::WaitToDispatch;
}

QString numbersText(const QList<int>& numbers) {
    QStringList words;
    for (int number : numbers)
        words << QString::number(number);
    return words.join(QLatin1Char(' '));
}

QList<int> numbersOf(const QString& text) {
    QList<int> numbers;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        numbers << word.toInt();
    return numbers;
}

QString reportsText(const QHash<int, int>& reports) {
    QStringList words;
    for (auto it = reports.cbegin(); it != reports.cend(); ++it)
        words << QStringLiteral("%1:%2").arg(it.key()).arg(it.value());
    words.sort();
    return words.join(QLatin1Char(' '));
}

QHash<int, int> reportsOf(const QString& text) {
    QHash<int, int> reports;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        reports.insert(word.section(QLatin1Char(':'), 0, 0).toInt(),
                       word.section(QLatin1Char(':'), 1).toInt());
    return reports;
}

QString outcomeText(const std::optional<SendOutcome>& outcome) {
    if (!outcome)
        return {};
    QJsonArray references;
    for (int reference : outcome->references)
        references.append(reference);
    return QString::fromUtf8(QJsonDocument(QJsonObject{{"outcome", outcomeKey(outcome->outcome)},
                                                       {"reason", outcome->reason},
                                                       {"references", references},
                                                       {"part", outcome->part},
                                                       {"parts", outcome->parts},
                                                       {"device", outcome->device}})
                                 .toJson(QJsonDocument::Compact));
}

std::optional<SendOutcome> outcomeOf(const QString& text) {
    const QJsonObject object = QJsonDocument::fromJson(text.toUtf8()).object();
    SendOutcome outcome;
    if (!outcomeFromKey(object.value("outcome").toString(), &outcome.outcome))
        return std::nullopt;
    outcome.reason = object.value("reason").toString();
    for (const QJsonValue reference : object.value("references").toArray())
        outcome.references << reference.toInt();
    outcome.part = object.value("part").toInt();
    outcome.parts = object.value("parts").toInt(1);
    outcome.device = object.value("device").toString();
    return outcome;
}

SendingItem itemOf(const SqlRow& row) {
    SendingItem item;
    item.number = row.value(1).toString();
    item.message = row.value(2).toString();
    item.status = row.value(4).toString();
    item.currentStatus = row.value(5).toString();
    item.useStatus = useStatusOf(row.value(6).toString());
    item.usePort = row.value(7).toString();
    item.attempts = int(row.value(8).toLongLong());
    item.outcome = outcomeOf(row.value(9).toString());
    item.references = numbersOf(row.value(10).toString());
    item.delivery = row.value(11).toString();
    item.reportedStatus = reportsOf(row.value(12).toString());
    item.lastFailure = row.value(13).toString();
    item.lastOutcome = outcomeOf(row.value(14).toString());
    return item;
}

// One message's delivery from its parts' reports: not delivered as soon as one part is not,
// delivered once every part is.
QString deliveryOf(const QList<int>& references, const QHash<int, int>& reported) {
    bool allDelivered = true;
    for (int reference : references) {
        const auto found = reported.constFind(reference);
        if (found == reported.cend()) {
            allDelivered = false;
            continue;
        }
        QString state = deliveryStateOf(*found);
        if (state.startsWith(QLatin1String("Not delivered")))
            return state;
        allDelivered = allDelivered && state == QLatin1String("Delivered");
    }
    return allDelivered ? QStringLiteral("Delivered") : kDeliveryPending;
}

// Every change of an item is written here, and with it the webhooks' notice of it, if any: a
// change whose notice cannot be kept is not kept either.
bool event(SqlDatabase& db, qint64 campaign, int position, const QString& state, const QString& detail,
           const QString& claimer = {}) {
    return db.exec(QStringLiteral("INSERT INTO events (campaign, position, at, state, detail, claimer)"
                                  " VALUES (?, ?, ?, ?, ?, ?)"),
                   {campaign, position, CampaignStore::now(), state, detail,
                    claimer.isEmpty() ? QVariant() : QVariant(claimer)}) &&
           addItemEvent(db, campaign, position, state, detail);
}

// What a claim's pick adds so that two senders never pick one item: SQLite's write transaction
// already holds the whole database; a shared server locks the row, and another sender skips it.
QString rowLock(const SqlDatabase& db) {
    return db.engine() == SqlDatabase::Engine::Postgres ? QStringLiteral(" FOR UPDATE SKIP LOCKED")
                                                        : QString();
}

qint64 leaseUntil() { return CampaignStore::now() + leaseLength(); }

// A steady-clock instant as the store's time.
qint64 storeTime(RunRecord::Clock::time_point at) {
    if (at == RunRecord::Clock::time_point{})
        return 0;
    // Rounded up, and a millisecond more for the store's own clock reading: never early.
    return CampaignStore::now() +
           std::chrono::ceil<std::chrono::milliseconds>(at - RunRecord::Clock::now()).count() + 1;
}

} // namespace

StoredRun::StoredRun(std::shared_ptr<CampaignStore> store, Campaign campaign, const QString& why)
    : m_store(std::move(store)), m_info(std::move(campaign)),
      m_claimer(QStringLiteral("%1/%2/%3")
                    .arg(CampaignStore::user())
                    .arg(::getpid())
                    .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'))),
      m_failure(m_store ? QString() : why) {}

StoredRun::~StoredRun() {
    m_renewal.stop();
    // A run let go without its end (its record failed) holds nothing any more: its campaign is
    // one that broke off, and what it was handing over may have gone.
    senderEnded(m_claimer);
}

void StoredRun::fail(const QString& why) const {
    std::lock_guard lock(m_mutex);
    if (m_failure.isEmpty()) {
        m_failure = why;
        Show_NSLog_Message(QStringLiteral("The campaign store refused a write: %1").arg(why));
    }
}

QString StoredRun::failure() const {
    std::lock_guard lock(m_mutex);
    return m_failure;
}

bool StoredRun::write(const std::function<bool(SqlDatabase&)>& body) {
    if (!m_store || !failure().isEmpty())
        return false;
    QString why;
    if (m_store->write(body, &why))
        return true;
    if (!why.isEmpty())
        fail(why);
    return false;
}

void StoredRun::begin(const QList<SendingItem>& items, const QString& road) {
    m_road = road;
    const RunSettings settings = settingsOf(m_info.options, road);
    m_window = RecipientWindow::of(settings);
    m_until = settings.until;
    const qint64 now = CampaignStore::now();
    write([&](SqlDatabase& db) {
        if (m_info.attach)
            return attach(db, now);
        m_size = int(items.size());
        m_campaign = insertCampaign(
            db, {m_info.dataFolder, road, m_info.options, QStringLiteral("sending"), m_info.resumes}, items);
        if (m_campaign == 0)
            return false;
        // The campaign it goes on with stops here, once: its recipients still to be sent are in
        // this one. Another sender that resumed it first, or sends it now, keeps it.
        if (m_info.resumes && !continueFrom(db, now))
            return false;
        return registerSender(db, now);
    });
    if (failure().isEmpty())
        // The ticker's interval is prescribed time: a third of the lease as it really lasts.
        m_renewal.start(::Clock::Duration(qint64(double(leaseLength()) / 3 / ::Clock::scale())), [this] {
            renewLeases();
            return true;
        });
}

void StoredRun::renewLeases() {
    write([&](SqlDatabase& db) {
        return db.exec(QStringLiteral("UPDATE items SET lease_until = ? WHERE claimer = ?"
                                      " AND state IN ('claimed', 'sending')"),
                       {leaseUntil(), m_claimer}) &&
               db.exec(QStringLiteral("UPDATE senders SET seen_at = ? WHERE id = ?"),
                       {CampaignStore::now(), m_claimer});
    });
}

void StoredRun::remember(int index, const SqlRow& row) const {
    std::lock_guard lock(m_mutex);
    if (m_recent.size() >= kRecentItems)
        m_recent.clear();
    m_recent.insert(index, itemOf(row));
}

void StoredRun::forget(const QList<int>& indexes) const {
    std::lock_guard lock(m_mutex);
    for (int index : indexes)
        m_recent.remove(index);
}

SendingItem StoredRun::at(int index) const {
    {
        std::lock_guard lock(m_mutex);
        if (const auto recent = m_recent.constFind(index); recent != m_recent.cend())
            return *recent;
    }
    QList<SqlRow> rows;
    if (m_store && !m_store->read([&](SqlDatabase& db) {
            return db.exec(
                QStringLiteral("SELECT %1 FROM items WHERE campaign = ? AND position = ?").arg(kItemColumns),
                {m_campaign, index}, &rows);
        }))
        fail(m_store->where() + QStringLiteral(": cannot be read"));
    return rows.isEmpty() ? SendingItem{} : itemOf(rows.first());
}

QList<SendingItem> StoredRun::all() const {
    QList<SqlRow> rows;
    if (m_store)
        m_store->read([&](SqlDatabase& db) {
            return db.exec(
                QStringLiteral("SELECT %1 FROM items WHERE campaign = ? ORDER BY position").arg(kItemColumns),
                {m_campaign}, &rows);
        });
    QList<SendingItem> items;
    items.reserve(rows.size());
    for (const SqlRow& row : rows)
        items << itemOf(row);
    return items;
}

bool StoredRun::exists(const QString& states) const {
    if (!m_store || m_campaign == 0)
        return false;
    bool found = false;
    m_store->read([&](SqlDatabase& db) {
        found = db.value(QStringLiteral("SELECT 1 FROM items WHERE campaign = ? AND state IN (%1) LIMIT 1")
                             .arg(states),
                         {m_campaign})
                    .isValid();
        return true;
    });
    return found;
}

bool StoredRun::anyWaiting() const { return failure().isEmpty() && exists(QStringLiteral("'queued'")); }

bool StoredRun::anyWaitingOrSending() const {
    return exists(QStringLiteral("'queued', 'claimed', 'sending'"));
}

bool StoredRun::attach(SqlDatabase& db, qint64 now) {
    m_campaign = m_info.attach;
    m_size =
        int(db.value(QStringLiteral("SELECT total FROM campaigns WHERE id = ?"), {m_campaign}).toLongLong());
    if (!db.error().isEmpty() ||
        !db.exec(
            QStringLiteral("UPDATE campaigns SET state = 'sending', started_at = COALESCE(started_at, ?)"
                           " WHERE id = ? AND (state = 'queued' OR (state = 'scheduled' AND start_at <= ?))"),
            {now, m_campaign, now}))
        return false;
    // Its time has not come: nothing of it is sent before.
    const QVariant startAt = db.value(
        QStringLiteral("SELECT start_at FROM campaigns WHERE id = ? AND state = 'scheduled'"), {m_campaign});
    if (startAt.isValid()) {
        fail(QStringLiteral("Campaign %1 is scheduled for %2.")
                 .arg(m_campaign)
                 .arg(QDateTime::fromMSecsSinceEpoch(startAt.toLongLong()).toString(Qt::ISODate)));
        return false;
    }
    return db.error().isEmpty() && registerSender(db, now);
}

bool StoredRun::registerSender(SqlDatabase& db, qint64 now) {
    senderStarted(m_claimer);
    return db.exec(QStringLiteral("INSERT INTO senders (id, host, pid, started_at, seen_at, campaign)"
                                  " VALUES (?, ?, ?, ?, ?, ?)"),
                   {m_claimer, CampaignStore::user(), qint64(::getpid()), now, now, m_campaign});
}

bool StoredRun::continueFrom(SqlDatabase& db, qint64 now) {
    QList<SqlRow> taken;
    if (campaignHeld(db, m_info.resumes)) {
        fail(QStringLiteral("Campaign %1 is being sent by another sender.").arg(m_info.resumes));
        return false;
    }
    if (!db.exec(QStringLiteral("UPDATE campaigns SET state = 'stopped', finished_at = ?, reason = ?,"
                                " resumed_by = ? WHERE id = ? AND state = 'sending' AND resumed_by IS NULL"
                                " RETURNING id"),
                 {now, QStringLiteral("resumed in campaign %1").arg(m_campaign), m_campaign, m_info.resumes},
                 &taken))
        return false;
    if (taken.isEmpty()) {
        fail(QStringLiteral("Campaign %1 was resumed by another sender.").arg(m_info.resumes));
        return false;
    }
    return db.exec(
        QStringLiteral("UPDATE items SET state = 'done', status = ?, use_status = 'stopped',"
                       " current_status = ?, claimer = NULL, changed_at = ?"
                       " WHERE campaign = ? AND (state IN ('queued', 'claimed') OR use_status = 'stopped')"),
        {QStringLiteral("Not sent here: resumed in campaign %1.").arg(m_campaign), kStoppedUse, now,
         m_info.resumes});
}

std::optional<RunRecord::Claim> StoredRun::claimAt(SqlDatabase& db, int position, const QString& device,
                                                   qint64 now) const {
    QList<SqlRow> rows;
    if (!db.exec(QStringLiteral(
                     "UPDATE items SET state = 'sending', device = ?, claimer = ?, lease_until = ?,"
                     " attempts = attempts + 1, use_status = 'sending', current_status = ?,"
                     " requeued_at = NULL, changed_at = ?, sent_at = ?, device_key = ? WHERE campaign = ?"
                     " AND position = ? RETURNING %1")
                     .arg(kItemColumns),
                 {device, m_claimer, leaseUntil(), QStringLiteral("Sending (%1)").arg(device), now, now,
                  deviceKey(device), m_campaign, position},
                 &rows) ||
        rows.isEmpty() || !event(db, m_campaign, position, QStringLiteral("sending"), device, m_claimer))
        return std::nullopt;
    remember(position, rows.first());
    return Claim{Claim::Kind::Send, position, itemOf(rows.first())};
}

bool StoredRun::recipientOptedOut(SqlDatabase& db, int position, bool* optedOut) const {
    QList<SqlRow> rows;
    if (!db.exec(QStringLiteral("SELECT number, number_e164 FROM items WHERE campaign = ? AND position = ?"),
                 {m_campaign, position}, &rows))
        return false;
    *optedOut = false;
    return rows.isEmpty() ||
           optedOutWithin(db, {rows.first().value(1).toString(), rows.first().value(0).toString()}, optedOut);
}

bool StoredRun::pickRetry(SqlDatabase& db, const QString& device, bool onlyDeviceLeft, const Carries& carries,
                          qint64 now, std::optional<int>& position) {
    // A retry whose pause is over, oldest first; one a device refused goes to another device
    // unless this is the only one left. Past one the device does not carry, a few more are
    // looked at: the first it carries goes.
    const auto carried = [&](const SqlRow& row) {
        return (!carries || carries(row.value(1).toString())) && windowOpen(row.value(2).toString(), now);
    };
    bool read = true;
    const auto retries = [&](int limit) {
        QList<SqlRow> rows;
        read = read &&
               db.exec(
                   QStringLiteral("SELECT position, text, zone_key FROM items WHERE campaign = ? AND state = "
                                  "'queued' AND requeued_at IS NOT NULL AND not_before <= ?"
                                  " AND (avoid_device <> ? OR ? = 1) ORDER BY requeued_at, position"
                                  " LIMIT ?") +
                       rowLock(db),
                   {m_campaign, now, device, onlyDeviceLeft ? 1 : 0, limit}, &rows);
        return rows;
    };
    QList<SqlRow> rows = retries(1);
    if (!rows.isEmpty() && !carried(rows.first()))
        rows = retries(kRetriesLookedAt);
    if (const auto first = std::find_if(rows.cbegin(), rows.cend(), carried); first != rows.cend())
        position = int(first->value(0).toLongLong());
    return read;
}

bool StoredRun::finishUnsent(SqlDatabase& db, int position, Claim::Kind kind, const QString& device,
                             qint64 now, QList<Claim>& onTheWay) const {
    QList<SqlRow> rows;
    const QString status = kind == Claim::Kind::Excluded  ? kExcluded
                           : kind == Claim::Kind::Skipped ? kSkipped
                                                          : kOptedOut;
    if (!db.exec(QStringLiteral("UPDATE items SET state = 'done', status = ?, use_status = 'done',"
                                " current_status = ?, device = ?, requeued_at = NULL, changed_at = ?"
                                " WHERE campaign = ? AND position = ? RETURNING %1")
                     .arg(kItemColumns),
                 {status, QStringLiteral("Done (%1)").arg(device), device, now, m_campaign, position},
                 &rows) ||
        rows.isEmpty() || !event(db, m_campaign, position, QStringLiteral("done"), status, m_claimer))
        return false;
    remember(position, rows.first());
    onTheWay.append({kind, position, itemOf(rows.first())});
    return true;
}

bool StoredRun::nextFresh(SqlDatabase& db, qint64 now, QList<SqlRow>& next, QString& zoneKey) {
    // From where this run's last pick was: the items before it are taken, and a server's index
    // still holds their old entries until it is vacuumed.
    const QString select =
        QStringLiteral("SELECT position, number, text, number_e164 FROM items WHERE campaign = ?"
                       " AND state = 'queued' AND requeued_at IS NULL AND position >= ?");
    if (!m_window)
        return db.exec(select + QStringLiteral(" ORDER BY position LIMIT 1") + rowLock(db),
                       {m_campaign, m_freshFrom.load()}, &next);
    // With a send window: the first item of each key whose window is open now, the earliest of
    // them; a key's items are reached through their own index, however many wait elsewhere.
    std::lock_guard lock(m_windowMutex);
    if (!m_zoneKeysRead) {
        QList<SqlRow> keys;
        if (!db.exec(QStringLiteral("SELECT DISTINCT zone_key FROM items WHERE campaign = ?"), {m_campaign},
                     &keys))
            return false;
        for (const SqlRow& key : keys)
            m_zoneFrom.insert(key.value(0).toString(), 0);
        m_zoneKeysRead = true;
    }
    bool anyClosed = false;
    for (auto it = m_zoneFrom.cbegin(); it != m_zoneFrom.cend(); ++it) {
        if (!m_window->isOpen(it.key(), now)) {
            anyClosed = true;
            continue;
        }
        QList<SqlRow> first;
        if (!db.exec(select + QStringLiteral(" AND zone_key = ? ORDER BY position LIMIT 1") + rowLock(db),
                     {m_campaign, it.value(), it.key()}, &first))
            return false;
        if (!first.isEmpty() &&
            (next.isEmpty() || first.first().value(0).toLongLong() < next.first().value(0).toLongLong())) {
            next = first;
            zoneKey = it.key();
        }
    }
    if (next.isEmpty() && anyClosed)
        return noteWaiting(db, now);
    return true;
}

bool StoredRun::windowOpen(const QString& zoneKey, qint64 now) {
    std::lock_guard lock(m_windowMutex);
    return !m_window || m_window->isOpen(zoneKey, now);
}

bool StoredRun::endUnsent(SqlDatabase& db, qint64 now, QList<Claim>& onTheWay) {
    QList<SqlRow> rows;
    if (!db.exec(QStringLiteral("UPDATE items SET state = 'done', status = ?, use_status = 'done',"
                                " current_status = ?, requeued_at = NULL, changed_at = ?"
                                " WHERE campaign = ? AND state = 'queued' RETURNING %1")
                     .arg(kItemColumns),
                 {kEndTimePassed, QStringLiteral("Done (end time)"), now, m_campaign}, &rows))
        return false;
    for (const SqlRow& row : rows) {
        const SendingItem item = itemOf(row);
        const int position = int(row.value(0).toLongLong());
        if (!event(db, m_campaign, position, QStringLiteral("done"), kEndTimePassed, m_claimer))
            return false;
        remember(position, row);
        onTheWay.append({Claim::Kind::Ended, position, item});
    }
    return true;
}

void StoredRun::passFresh(const QString& zoneKey, int position) {
    if (!m_window) {
        m_freshFrom = position + 1;
        return;
    }
    std::lock_guard lock(m_windowMutex);
    m_zoneFrom.insert(zoneKey, position + 1);
}

// Who waits for their window, told once a minute at most: the key that opens first.
bool StoredRun::noteWaiting(SqlDatabase& db, qint64 now) {
    if (now < m_waitNoteUntil)
        return true;
    m_waitNoteUntil = now + qint64(60) * 1000;
    QList<SqlRow> waiting;
    if (!db.exec(QStringLiteral("SELECT zone_key, COUNT(*) FROM items WHERE campaign = ? AND state = 'queued'"
                                " AND requeued_at IS NULL GROUP BY zone_key"),
                 {m_campaign}, &waiting))
        return false;
    QString note;
    qint64 first = 0;
    for (const SqlRow& row : waiting) {
        const QString key = row.value(0).toString();
        const qint64 opening = m_window->nextOpening(key, now);
        if (opening > now && (first == 0 || opening < first)) {
            first = opening;
            note = m_window->waitingText(key, now, int(row.value(1).toLongLong()));
        }
    }
    std::lock_guard lock(m_mutex);
    m_waitNote = note;
    return true;
}

void StoredRun::setDeviceKey(const QString& device, const QString& key) {
    std::lock_guard lock(m_mutex);
    m_deviceKeys.insert(device, key);
}

QVariant StoredRun::deviceKey(const QString& device) const {
    std::lock_guard lock(m_mutex);
    const QString key = m_deviceKeys.value(device);
    return key.isEmpty() ? QVariant() : QVariant(key);
}

qint64 StoredRun::limitedUntil(const QString& device, const DeviceLimits& limits, qint64 now) {
    const QVariant key = deviceKey(device);
    if (!limits.counted() || !key.isValid() || !m_store)
        return 0;
    constexpr qint64 kMinute = qint64(60) * 1000;
    qint64 until = 0;
    const bool read = m_store->read([&](SqlDatabase& db) {
        for (const auto& [limit, span] :
             {std::pair{limits.perMinute, kMinute}, std::pair{limits.perHour, kMinute * 60},
              std::pair{limits.perDay, kMinute * 60 * 24}}) {
            if (limit <= 0)
                continue;
            // The sends within the span; at the limit, it rests until the oldest that counts leaves it.
            const qint64 sent = db.value(QStringLiteral("SELECT COUNT(*) FROM items WHERE device_key = ?"
                                                        " AND sent_at > ?"),
                                         {key, now - span})
                                    .toLongLong();
            if (!db.error().isEmpty())
                return false;
            if (sent < limit)
                continue;
            const qint64 oldest = db.value(QStringLiteral("SELECT sent_at FROM items WHERE device_key = ? AND"
                                                          " sent_at > ? ORDER BY sent_at LIMIT 1 OFFSET ?"),
                                           {key, now - span, sent - limit})
                                      .toLongLong();
            if (!db.error().isEmpty())
                return false;
            until = std::max(until, oldest + span);
        }
        return true;
    });
    if (!read)
        fail(m_store->where() + QStringLiteral(": cannot be read"));
    return until > now ? until : 0;
}

QString StoredRun::waitNote() const {
    std::lock_guard lock(m_mutex);
    return m_waitNote;
}

bool StoredRun::pickFresh(SqlDatabase& db, const QString& device, bool skipDuplicates,
                          const std::function<bool(const QString&)>& isExcluded, const Carries& carries,
                          qint64 now, QList<Claim>& onTheWay, std::optional<int>& position) {
    for (;;) {
        QList<SqlRow> next;
        QString zoneKey;
        if (!nextFresh(db, now, next, zoneKey))
            return false;
        if (next.isEmpty())
            return true;
        const int at = int(next.first().value(0).toLongLong());
        passFresh(zoneKey, at);
        const QString number = next.first().value(1).toString();
        std::optional<Claim::Kind> notSent;
        bool optedOut = false;
        if (isExcluded && isExcluded(number))
            notSent = Claim::Kind::Excluded;
        else if (!optedOutWithin(db, {next.first().value(3).toString(), number}, &optedOut))
            return false;
        else if (optedOut)
            notSent = Claim::Kind::OptedOut;
        else if (skipDuplicates &&
                 db.value(
                       QStringLiteral("SELECT 1 FROM items WHERE campaign = ? AND number = ? AND position < ?"
                                      " LIMIT 1"),
                       {m_campaign, number, at})
                     .isValid())
            notSent = Claim::Kind::Skipped;
        if (!notSent && carries && !carries(next.first().value(2).toString())) {
            // Left to the others: it waits as a retry that avoids this device.
            if (!db.exec(QStringLiteral("UPDATE items SET requeued_at = ?, not_before = 0, avoid_device = ?"
                                        " WHERE campaign = ? AND position = ?"),
                         {now, device, m_campaign, at}))
                return false;
            continue;
        }
        if (!notSent) {
            position = at;
            return true;
        }
        if (!finishUnsent(db, at, *notSent, device, now, onTheWay))
            return false;
    }
}

std::optional<RunRecord::Claim> StoredRun::claimNext(
    const QString& device, bool skipDuplicates, const std::function<bool(const QString&)>& isExcluded,
    const std::function<void(const Claim&)>& finishedOnTheWay, bool onlyDeviceLeft, const Carries& carries) {
    const qint64 now = CampaignStore::now();
    const bool lapseCheck = now >= m_nextLapseCheck;
    if (lapseCheck)
        m_nextLapseCheck = now + leaseLength() / 3;
    QList<Claim> onTheWay;
    std::optional<Claim> claim;
    const auto take = [&](SqlDatabase& db, int position) {
        claim = claimAt(db, position, device, now);
        return claim.has_value();
    };
    const bool kept = write([&](SqlDatabase& db) {
        onTheWay.clear();
        claim.reset();
        if (lapseCheck && !releaseAbandonedClaims(db, m_campaign, m_claimer))
            return false;
        if (m_until > 0 && now >= m_until)
            return endUnsent(db, now, onTheWay);
        for (;;) {
            std::optional<int> retry;
            if (!pickRetry(db, device, onlyDeviceLeft, carries, now, retry))
                return false;
            if (!retry)
                break;
            // Its recipient may have opted out while it waited.
            bool optedOut = false;
            if (!recipientOptedOut(db, *retry, &optedOut))
                return false;
            if (!optedOut)
                return take(db, *retry);
            if (!finishUnsent(db, *retry, Claim::Kind::OptedOut, device, now, onTheWay))
                return false;
        }
        std::optional<int> fresh;
        if (!pickFresh(db, device, skipDuplicates, isExcluded, carries, now, onTheWay, fresh))
            return false;
        return !fresh || take(db, *fresh);
    });
    if (!kept)
        return std::nullopt;
    if (finishedOnTheWay)
        for (const Claim& finished : onTheWay)
            finishedOnTheWay(finished);
    return claim;
}

// The claim already recorded the hand-over: one commit fewer per message, at the price of an
// item claimed and never handed over reading as "may have been sent" should the process die in
// between (never as not sent: nobody is texted twice).
void StoredRun::handing(int, const QString&) {}

bool StoredRun::requeue(int index, const QString& failure, const std::optional<SendOutcome>& outcome,
                        const QString& avoid, qint64 notBefore, bool attemptCounts, const QString& why) {
    const qint64 now = CampaignStore::now();
    return write([&](SqlDatabase& db) {
        QList<SqlRow> rows;
        if (!db.exec(
                QStringLiteral(
                    "UPDATE items SET state = 'queued', use_status = 'wait', current_status = ?, device = "
                    "'',"
                    " claimer = NULL, lease_until = NULL, requeued_at = ?, not_before = ?, avoid_device = "
                    "?,"
                    " attempts = attempts - ?, last_failure = CASE WHEN ? = '' THEN last_failure ELSE ? "
                    "END,"
                    " last_outcome = CASE WHEN ? = '' THEN last_outcome ELSE ? END, changed_at = ?"
                    " WHERE campaign = ? AND position = ? AND state IN ('claimed', 'sending') RETURNING ") +
                    kItemColumns,
                {failure.isEmpty() ? kWaitToDispatch : QStringLiteral("Wait to retry (%1)").arg(failure), now,
                 notBefore, avoid, attemptCounts ? 0 : 1, failure, failure, outcomeText(outcome),
                 outcomeText(outcome), now, m_campaign, index},
                &rows))
            return false;
        if (rows.isEmpty())
            return true; // finished meanwhile
        remember(index, rows.first());
        return event(db, m_campaign, index, QStringLiteral("queued"), why, m_claimer);
    });
}

void StoredRun::retryLater(int index, const SendOutcome& refusal, Clock::time_point notBefore) {
    requeue(index, refusal.text(), refusal, refusal.device, storeTime(notBefore), true, refusal.text());
}

void StoredRun::giveBack(int index, const QString& why, const QString& avoidDevice) {
    // Nothing was tried: the item keeps what its last attempt got, and the why goes to its history.
    requeue(index, {}, std::nullopt, avoidDevice, 0, false, why);
}

bool StoredRun::finish(int index, const SendOutcome& outcome, const QString& currentStatus,
                       bool awaitsReport) {
    const bool awaits = awaitsReport && outcome.delivered() && !outcome.references.isEmpty();
    QList<SqlRow> rows;
    const qint64 now = CampaignStore::now();
    const bool kept = write([&](SqlDatabase& db) {
        rows.clear();
        // An outcome that comes after its lease lapsed ("unknown") is still what the device did.
        return db.exec(QStringLiteral(
                           "UPDATE items SET state = 'done', status = ?, use_status = 'done',"
                           " current_status = ?, outcome = ?, outcome_detail = ?, refs = ?, delivery = ?,"
                           " claimer = NULL, lease_until = NULL, changed_at = ?"
                           " WHERE campaign = ? AND position = ? AND state <> 'done' RETURNING ") +
                           kItemColumns,
                       {outcome.text(), currentStatus, outcomeKey(outcome.outcome), outcomeText(outcome),
                        numbersText(outcome.references), awaits ? kDeliveryPending : QString(), now,
                        m_campaign, index},
                       &rows) &&
               (rows.isEmpty() ||
                event(db, m_campaign, index, QStringLiteral("done"), outcome.text(), m_claimer));
    });
    if (!kept || rows.isEmpty())
        return false;
    remember(index, rows.first());
    if (awaits) {
        const QString device = rows.first().value(7).toString();
        std::lock_guard lock(m_mutex);
        m_awaited.insert(index, {device, outcome.references, {}});
        for (int reference : outcome.references)
            m_reportKeys.insert({device, reference}, index);
    }
    return true;
}

std::optional<int> StoredRun::report(const QString& device, const DeliveryReport& report) {
    int index = 0;
    QString delivery, reports;
    {
        std::lock_guard lock(m_mutex);
        const auto key = m_reportKeys.constFind({device, report.reference});
        if (key == m_reportKeys.cend())
            return std::nullopt;
        index = *key;
        Awaited& awaited = m_awaited[index];
        awaited.reported.insert(report.reference, report.status);
        delivery = deliveryOf(awaited.references, awaited.reported);
        reports = reportsText(awaited.reported);
    }
    write([&](SqlDatabase& db) {
        return db.exec(QStringLiteral("UPDATE items SET delivery = ?, reports = ?, changed_at = ?"
                                      " WHERE campaign = ? AND position = ?"),
                       {delivery, reports, CampaignStore::now(), m_campaign, index}) &&
               event(db, m_campaign, index, QStringLiteral("report"), delivery, m_claimer);
    });
    forget({index});
    return index;
}

int StoredRun::awaitingReports(const QString& device) const {
    std::lock_guard lock(m_mutex);
    int awaiting = 0;
    for (const Awaited& awaited : m_awaited)
        awaiting += deliveryOf(awaited.references, awaited.reported) == kDeliveryPending &&
                    (device.isEmpty() || awaited.device == device);
    return awaiting;
}

QList<int> StoredRun::endReportWait(const QString& device) {
    QList<int> ended;
    {
        std::lock_guard lock(m_mutex);
        // A message the network reported as still trying stays "Pending": that is what it said.
        for (auto it = m_awaited.begin(); it != m_awaited.end();)
            if (it->device == device && it->reported.isEmpty()) {
                ended << it.key();
                for (int reference : it->references)
                    m_reportKeys.remove({device, reference});
                it = m_awaited.erase(it);
            } else {
                ++it;
            }
    }
    std::sort(ended.begin(), ended.end());
    write([&](SqlDatabase& db) {
        for (int index : ended)
            if (!db.exec(
                    QStringLiteral(
                        "UPDATE items SET delivery = ?, changed_at = ? WHERE campaign = ? AND position = ?"),
                    {kNoReport, CampaignStore::now(), m_campaign, index}) ||
                !event(db, m_campaign, index, QStringLiteral("report"), kNoReport, m_claimer))
                return false;
        return true;
    });
    forget(ended);
    return ended;
}

QList<int> StoredRun::markStopped(const QString& why) {
    QList<int> marked;
    if (m_info.attach)
        return marked; // a campaign shared with other senders: what waits is theirs to send
    const qint64 now = CampaignStore::now();
    write([&](SqlDatabase& db) {
        marked.clear();
        // An item waiting for another attempt keeps what its last attempt got.
        QList<SqlRow> rows;
        if (!db.exec(
                QStringLiteral("UPDATE items SET state = 'done', use_status = 'stopped', current_status = ?,"
                               " status = CASE WHEN last_failure = '' THEN ? ELSE last_failure END,"
                               " outcome_detail = last_outcome, claimer = NULL, changed_at = ?"
                               " WHERE campaign = ? AND state = 'queued' RETURNING position, status"),
                {kStoppedUse, why, now, m_campaign}, &rows))
            return false;
        for (const SqlRow& row : rows) {
            marked << int(row.value(0).toLongLong());
            if (!event(db, m_campaign, marked.last(), QStringLiteral("done"), row.value(1).toString(),
                       m_claimer))
                return false;
        }
        return true;
    });
    std::sort(marked.begin(), marked.end());
    forget(marked);
    return marked;
}

void StoredRun::abandon() {
    m_renewal.stop();
    senderEnded(m_claimer);
    if (m_store) // others see it gone at once; otherwise once its lease lapses
        m_store->write([&](SqlDatabase& db) {
            return db.exec(QStringLiteral("DELETE FROM senders WHERE id = ?"), {m_claimer});
        });
}

void StoredRun::end() {
    m_renewal.stop();
    senderEnded(m_claimer);
    write([&](SqlDatabase& db) {
        const qint64 now = CampaignStore::now();
        // Finished once nothing of it waits or is in any sender's hands.
        return db.exec(QStringLiteral(
                           "UPDATE campaigns SET state = 'finished', finished_at = ? WHERE id = ?"
                           " AND state = 'sending' AND NOT EXISTS (SELECT 1 FROM items WHERE campaign = ?"
                           " AND state IN ('queued', 'claimed', 'sending'))"),
                       {now, m_campaign, m_campaign}) &&
               db.exec(QStringLiteral("DELETE FROM senders WHERE id = ?"), {m_claimer});
    });
}
