#pragma once
// A client that retries a create after a time-out sends the same Idempotency-Key: the key names
// the campaign the first request made, so the retry gets that campaign and nobody is texted
// twice. Keys are kept per token for 24 hours; the same key with another request is refused.
#include <QString>

#include <optional>

class SqlDatabase;

inline constexpr qint64 kIdempotencyKeyLifeMs = qint64(24) * 3600 * 1000;

// Why a key as sent cannot be used ("" when it can): 1 to 255 visible ASCII characters.
QString idempotencyKeyProblem(const QString& key);

struct KeyClaim {
    enum class Kind { New, Replay, Conflict } kind = Kind::New;
    qint64 campaign = 0; // Replay: the campaign the first request made
};
// Within the caller's write transaction: takes the key for this request (a key another
// transaction is taking is waited for). Nothing when the database refused.
std::optional<KeyClaim> claimIdempotencyKey(SqlDatabase& db, qint64 token, const QString& key,
                                            const QString& requestHash);
// Names the campaign a New claim made; false when refused.
bool settleIdempotencyKey(SqlDatabase& db, qint64 token, const QString& key, qint64 campaign);
