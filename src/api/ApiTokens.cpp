#include "ApiTokens.h"

#include "campaigns/CampaignStore.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace {

constexpr int kMaxNameLength = 64;
constexpr int kTokenBytes = 32;

QString newToken() {
    QByteArray bytes(kTokenBytes, Qt::Uninitialized);
    QRandomGenerator::system()->generate(bytes.begin(), bytes.end());
    return QStringLiteral("bsms_") + QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding |
                                                                        QByteArray::OmitTrailingEquals));
}

ApiToken tokenFrom(const SqlRow& row) {
    return ApiToken{row.value(0).toLongLong(), row.value(1).toString(), row.value(2).toLongLong(),
                    row.value(3).isNull() ? 0 : row.value(3).toLongLong()};
}

} // namespace

QString tokenHash(const QString& token) {
    return QString::fromLatin1(QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256).toHex());
}

std::optional<QString> createToken(CampaignStore& store, const QString& name, QString* error) {
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty() || trimmed.size() > kMaxNameLength) {
        *error = QStringLiteral("A token's name takes 1 to %1 characters.").arg(kMaxNameLength);
        return std::nullopt;
    }
    const QString token = newToken();
    bool taken = false;
    const bool written = store.write(
        [&](SqlDatabase& db) {
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral("SELECT id FROM api_tokens WHERE name = ?"), {trimmed}, &rows))
                return false;
            if (!rows.isEmpty()) {
                taken = true;
                return false;
            }
            return db.exec(QStringLiteral("INSERT INTO api_tokens (name, hash, created_at) VALUES (?, ?, ?)"),
                           {trimmed, tokenHash(token), CampaignStore::now()});
        },
        error);
    if (taken)
        *error = QStringLiteral("A token named \"%1\" exists already.").arg(trimmed);
    return written ? std::optional<QString>(token) : std::nullopt;
}

bool revokeToken(CampaignStore& store, const QString& name, QString* error) {
    bool found = false;
    const bool written = store.write(
        [&](SqlDatabase& db) {
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral(
                             "UPDATE api_tokens SET revoked_at = ? WHERE name = ? AND revoked_at IS NULL"
                             " RETURNING id"),
                         {CampaignStore::now(), name.trimmed()}, &rows))
                return false;
            found = !rows.isEmpty();
            return found;
        },
        error);
    if (!found && error->isEmpty())
        *error = QStringLiteral("No token named \"%1\" is in use.").arg(name.trimmed());
    return written;
}

std::optional<QList<ApiToken>> listTokens(CampaignStore& store, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(
                    QStringLiteral("SELECT id, name, created_at, revoked_at FROM api_tokens ORDER BY id"), {},
                    &rows);
            },
            error))
        return std::nullopt;
    QList<ApiToken> tokens;
    for (const SqlRow& row : rows)
        tokens << tokenFrom(row);
    return tokens;
}

std::optional<ApiToken> tokenOf(CampaignStore& store, const QString& token, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(
                    QStringLiteral("SELECT id, name, created_at, revoked_at FROM api_tokens WHERE hash = ?"),
                    {tokenHash(token)}, &rows);
            },
            error) ||
        rows.isEmpty())
        return std::nullopt;
    return tokenFrom(rows.first());
}
