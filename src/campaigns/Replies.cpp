#include "Replies.h"

#include "CampaignNumbers.h"
#include "CampaignStore.h"
#include "OptOuts.h"
#include "Webhooks.h"
#include "device/SendOutcome.h"
#include "text/NumberRules.h"

#include <QCryptographicHash>

#include <algorithm>

namespace {

QList<int> arrivedParts(const ReceivedMessage& m) {
    QList<int> parts = m.partsArrived;
    std::sort(parts.begin(), parts.end());
    parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
    return parts;
}

QString partsText(const QList<int>& parts) {
    QStringList words;
    for (int part : parts)
        words << QString::number(part);
    return words.join(QLatin1Char(' '));
}

// One message, however often it is read: its device, sender, time stamp, text and parts. Each
// field goes in with its length, so that no two different messages read alike.
QString dedupKey(const ReceivedMessage& m) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const auto add = [&](const QString& field) {
        const QByteArray bytes = field.toUtf8();
        hash.addData(QByteArray::number(bytes.size()) + ':');
        hash.addData(bytes);
    };
    add(m.device);
    add(m.sender);
    add(QString::number(m.sentAt));
    add(m.text);
    add(QStringLiteral("%1/%2").arg(m.partReference).arg(m.partTotal));
    add(partsText(arrivedParts(m)));
    return QString::fromLatin1(hash.result().toHex());
}

// The outcomes after which the recipient may have had the message: a reply may answer it.
QVariantList reachedOutcomes() {
    QVariantList keys;
    for (Outcome outcome : {Outcome::Sent, Outcome::SentToDevice, Outcome::HandedToPhone, Outcome::Unknown,
                            Outcome::Stopped}) // stopped between parts: the first ones went
        keys << outcomeKey(outcome);
    return keys;
}

struct Match {
    qint64 campaign = 0;
    qint64 at = 0; // when it last texted the sender
    QString country;
};

// The latest campaign that texted the sender between from and until. Each campaign's numbers
// are read in its own country: the sender is compared in each country's reading of it, and
// as received (a list without a country keeps its numbers as written).
bool matchCampaign(SqlDatabase& db, const QString& sender, const QString& senderE164, qint64 from,
                   qint64 until, Match* match) {
    QList<SqlRow> countries;
    if (!db.exec(QStringLiteral("SELECT DISTINCT country FROM campaigns"), {}, &countries))
        return false;
    const QVariantList reached = reachedOutcomes();
    const QString statement =
        QStringLiteral("SELECT i.campaign, COALESCE(i.sent_at, i.changed_at) FROM items i"
                       " JOIN campaigns c ON c.id = i.campaign WHERE c.country = ?"
                       " AND (i.number_e164 = ? OR i.number IN (?, ?))"
                       " AND (i.state = 'unknown' OR i.outcome IN (%1))"
                       " AND COALESCE(i.sent_at, i.changed_at) BETWEEN ? AND ?"
                       " ORDER BY 2 DESC, i.campaign DESC LIMIT 1")
            .arg(QStringList(reached.size(), QStringLiteral("?")).join(QStringLiteral(", ")));
    for (const SqlRow& row : countries) {
        const QString country = row.value(0).toString();
        QString e164 = senderE164.isEmpty() ? CampaignNumbers(country).e164(sender) : senderE164;
        if (e164.isEmpty())
            e164 = sender;
        QList<SqlRow> found;
        if (!db.exec(statement,
                     QVariantList{country, e164, e164, sender} + reached + QVariantList{from, until}, &found))
            return false;
        if (found.isEmpty())
            continue;
        const qint64 at = found.first().value(1).toLongLong(), campaign = found.first().value(0).toLongLong();
        if (match->campaign == 0 || at > match->at || (at == match->at && campaign > match->campaign))
            *match = {campaign, at, country};
    }
    return true;
}

const QString kReceivedColumns = QStringLiteral(
    "r.id, r.device, r.road, r.sender, r.sender_e164, r.number, r.text, r.part_ref, r.part_total, r.parts,"
    " r.complete, r.sent_at, r.received_at, COALESCE(r.campaign, 0), COALESCE(r.read_at, 0),"
    " CASE WHEN EXISTS (SELECT 1 FROM opt_outs o WHERE o.message = r.id) THEN 1"
    " WHEN EXISTS (SELECT 1 FROM opt_outs o WHERE o.ended_message = r.id) THEN 2 ELSE 0 END,"
    " CASE WHEN EXISTS (SELECT 1 FROM opt_outs o WHERE o.number = r.number AND o.active = 1) THEN 1 ELSE 0 "
    "END");

ReceivedRow rowOf(const SqlRow& r) {
    ReceivedRow row;
    row.id = r.value(0).toLongLong();
    ReceivedMessage& m = row.message;
    m.device = r.value(1).toString();
    m.road = r.value(2).toString();
    m.sender = r.value(3).toString();
    m.senderE164 = r.value(4).toString();
    row.number = r.value(5).toString();
    m.text = r.value(6).toString();
    m.partReference = int(r.value(7).toLongLong());
    m.partTotal = int(r.value(8).toLongLong());
    for (const QString& word : r.value(9).toString().split(QLatin1Char(' '), Qt::SkipEmptyParts))
        m.partsArrived << word.toInt();
    m.complete = r.value(10).toLongLong() == 1;
    m.sentAt = r.value(11).toLongLong();
    row.receivedAt = r.value(12).toLongLong();
    row.campaign = r.value(13).toLongLong();
    row.readAt = r.value(14).toLongLong();
    const qint64 change = r.value(15).toLongLong();
    row.change = change == 1 ? OptOutWord::Stop : change == 2 ? OptOutWord::Start : OptOutWord::None;
    row.senderOptedOut = r.value(16).toLongLong() == 1;
    return row;
}

} // namespace

ReplyRules replyRulesOf(const ReplyOptions& options) {
    ReplyRules rules;
    rules.window = std::chrono::hours(24) * options.windowDays;
    rules.extraStopWords = options.extraStopWords;
    return rules;
}

std::optional<StoredReply> storeReceived(CampaignStore& store, const ReceivedMessage& m,
                                         const ReplyRules& rules, QString* error) {
    const qint64 now = CampaignStore::now();
    const QString dedup = dedupKey(m);
    const QString written = normaliseNumberText(m.sender);
    // A name ("MyBank") answers no campaign and cannot be opted out: nothing is ever sent to it.
    const bool dialable = isPhoneNumber(written);
    const QString senderE164 = m.senderE164.isEmpty() ? CampaignNumbers({}).e164(written) : m.senderE164;
    // The reply's time is the network's when it gave one; no reply answers a text sent after
    // it was kept.
    const qint64 replyTime = m.sentAt > 0 ? m.sentAt : now;
    StoredReply result;
    const auto existing = [&](SqlDatabase& db, bool* found) {
        QList<SqlRow> rows;
        if (!db.exec(QStringLiteral("SELECT id, COALESCE(campaign, 0), number FROM received WHERE dedup = ?"),
                     {dedup}, &rows))
            return false;
        *found = !rows.isEmpty();
        if (*found)
            result = {rows.first().value(0).toLongLong(), false, rows.first().value(1).toLongLong(),
                      rows.first().value(2).toString(), OptOutWord::None};
        return true;
    };
    const bool kept = store.write(
        [&](SqlDatabase& db) {
            result = {};
            bool found = false;
            if (!existing(db, &found))
                return false;
            if (found)
                return true;
            Match match;
            if (dialable && !matchCampaign(db, written, senderE164, replyTime - qint64(rules.window.count()),
                                           now, &match))
                return false;
            QString number = senderE164;
            if (number.isEmpty() && dialable)
                number = CampaignNumbers(match.country).e164(written);
            if (number.isEmpty())
                number = dialable ? written : m.sender.trimmed();
            QList<SqlRow> rows;
            const QList<int> parts = arrivedParts(m);
            if (!db.exec(
                    QStringLiteral("INSERT INTO received (device, road, sender, sender_e164, number, text,"
                                   " part_ref, part_total, parts, complete, sent_at, received_at,"
                                   " campaign, dedup) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"
                                   " ON CONFLICT (dedup) DO NOTHING RETURNING id"),
                    {m.device, m.road, m.sender, senderE164, number, m.text, m.partReference, m.partTotal,
                     partsText(parts), m.complete ? 1 : 0, m.sentAt, now,
                     match.campaign ? QVariant(match.campaign) : QVariant(), dedup},
                    &rows))
                return false;
            if (rows.isEmpty()) // another sender kept it meanwhile
                return existing(db, &found);
            result = {rows.first().value(0).toLongLong(), true, match.campaign, number, OptOutWord::None};
            if (!addReceivedEvent(db, {result.id, m.sender, senderE164, m.text, match.campaign, now}))
                return false;
            // Only a whole message says what it says: the first part of a long one may be "Stop".
            if (!dialable || !m.complete)
                return true;
            bool changed = false;
            switch (optOutWordOf(m.text, rules.extraStopWords)) {
            case OptOutWord::Stop:
                if (!optOutWithin(db, number, kOptOutByKeyword, result.id, now, &changed))
                    return false;
                result.change = changed ? OptOutWord::Stop : OptOutWord::None;
                break;
            case OptOutWord::Start:
                if (!optInWithin(db, number, kOptOutByKeyword, result.id, now, &changed))
                    return false;
                result.change = changed ? OptOutWord::Start : OptOutWord::None;
                break;
            case OptOutWord::None: break;
            }
            return true;
        },
        error);
    return kept ? std::optional(result) : std::nullopt;
}

std::optional<QList<ReceivedRow>> listReceived(CampaignStore& store, const ReceivedFilter& f,
                                               QString* error) {
    QStringList where{QStringLiteral("r.received_at >= ?")};
    QVariantList params{f.since};
    if (f.campaign == 0) {
        where << QStringLiteral("r.campaign IS NULL");
    } else if (f.campaign > 0) {
        where << QStringLiteral("r.campaign = ?");
        params << f.campaign;
    }
    if (f.unreadOnly)
        where << QStringLiteral("r.read_at IS NULL");
    if (f.optedOutOnly)
        where << QStringLiteral(
            "EXISTS (SELECT 1 FROM opt_outs o WHERE o.number = r.number AND o.active = 1)");
    if (f.before > 0) {
        where << QStringLiteral("r.id < ?");
        params << f.before;
    }
    if (f.after > 0) {
        where << QStringLiteral("r.id > ?");
        params << f.after;
    }
    params << qMax(0, f.limit);
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(QStringLiteral("SELECT %1 FROM received r WHERE %2 ORDER BY r.id %3 LIMIT ?")
                                   .arg(kReceivedColumns, where.join(QStringLiteral(" AND ")),
                                        f.oldestFirst ? QStringLiteral("ASC") : QStringLiteral("DESC")),
                               params, &rows);
            },
            error))
        return std::nullopt;
    QList<ReceivedRow> list;
    list.reserve(rows.size());
    for (const SqlRow& row : rows)
        list << rowOf(row);
    return list;
}

bool markRead(CampaignStore& store, const QList<qint64>& ids, bool read, QString* error) {
    const qint64 now = CampaignStore::now();
    return store.write(
        [&](SqlDatabase& db) {
            for (qint64 id : ids)
                if (!(read
                          ? db.exec(QStringLiteral(
                                        "UPDATE received SET read_at = COALESCE(read_at, ?) WHERE id = ?"),
                                    {now, id})
                          : db.exec(QStringLiteral("UPDATE received SET read_at = NULL WHERE id = ?"), {id})))
                    return false;
            return true;
        },
        error);
}

bool countReplies(SqlDatabase& db, qint64 campaign, QHash<qint64, ReplyCounts>* counts) {
    QList<SqlRow> replies, optOuts;
    if (!db.exec(QStringLiteral("SELECT campaign, COUNT(*) FROM received WHERE campaign IS NOT NULL"
                                " AND (? = 0 OR campaign = ?) GROUP BY campaign"),
                 {campaign, campaign}, &replies) ||
        !db.exec(
            QStringLiteral("SELECT r.campaign, COUNT(*) FROM opt_outs o JOIN received r ON r.id = o.message"
                           " WHERE r.campaign IS NOT NULL AND (? = 0 OR r.campaign = ?) GROUP BY r.campaign"),
            {campaign, campaign}, &optOuts))
        return false;
    for (const SqlRow& row : replies)
        (*counts)[row.value(0).toLongLong()].replies = row.value(1).toLongLong();
    for (const SqlRow& row : optOuts)
        (*counts)[row.value(0).toLongLong()].optOuts = row.value(1).toLongLong();
    return true;
}

std::optional<ReplyCounts> campaignReplyCounts(CampaignStore& store, qint64 campaign, QString* error) {
    QHash<qint64, ReplyCounts> counts;
    if (campaign <= 0 ||
        !store.read([&](SqlDatabase& db) { return countReplies(db, campaign, &counts); }, error))
        return std::nullopt;
    return counts.value(campaign);
}
