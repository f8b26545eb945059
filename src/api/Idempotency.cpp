#include "Idempotency.h"

#include "campaigns/CampaignStore.h"
#include "campaigns/SqlDatabase.h"

QString idempotencyKeyProblem(const QString& key) {
    constexpr int kLongest = 255;
    if (key.isEmpty() || key.size() > kLongest)
        return QStringLiteral("must have 1 to %1 characters").arg(kLongest);
    for (const QChar c : key)
        if (c.unicode() < 0x21 || c.unicode() > 0x7e)
            return QStringLiteral("may hold visible ASCII characters only");
    return {};
}

std::optional<KeyClaim> claimIdempotencyKey(SqlDatabase& db, qint64 token, const QString& key,
                                            const QString& requestHash) {
    const qint64 now = CampaignStore::now();
    if (!db.exec(
            QStringLiteral("DELETE FROM idempotency_keys WHERE token = ? AND key = ? AND expires_at <= ?"),
            {token, key, now}))
        return std::nullopt;
    // Inserted first: a second request with the key, on another connection, waits here until
    // the first one's transaction ends, and then finds its row.
    QList<SqlRow> rows;
    if (!db.exec(
            QStringLiteral("INSERT INTO idempotency_keys (token, key, request_hash, campaign, expires_at)"
                           " VALUES (?, ?, ?, 0, ?) ON CONFLICT DO NOTHING RETURNING token"),
            {token, key, requestHash, now + kIdempotencyKeyLifeMs}, &rows))
        return std::nullopt;
    if (!rows.isEmpty())
        return KeyClaim{};
    if (!db.exec(
            QStringLiteral("SELECT request_hash, campaign FROM idempotency_keys WHERE token = ? AND key = ?"),
            {token, key}, &rows) ||
        rows.isEmpty())
        return std::nullopt;
    const SqlRow& row = rows.first();
    if (row.value(0).toString() != requestHash)
        return KeyClaim{KeyClaim::Kind::Conflict, 0};
    return KeyClaim{KeyClaim::Kind::Replay, row.value(1).toLongLong()};
}

bool settleIdempotencyKey(SqlDatabase& db, qint64 token, const QString& key, qint64 campaign) {
    return db.exec(QStringLiteral("UPDATE idempotency_keys SET campaign = ? WHERE token = ? AND key = ?"),
                   {campaign, token, key});
}
