#pragma once
// The bearer tokens other programs send with: created by the operator ("bulksms token create"),
// shown once, kept only as a hash, revoked by name. A revoked token is kept, so that its
// caller is told it was revoked rather than unknown.
#include <QList>
#include <QString>

#include <optional>

class CampaignStore;

struct ApiToken {
    qint64 id = 0;
    QString name;
    qint64 createdAt = 0, revokedAt = 0; // ms since the epoch; 0: not revoked
};

// A new token named name: the token itself (the only time it exists outside the caller), or
// nothing with why (a name already used, an empty or too long one, the store's refusal).
std::optional<QString> createToken(CampaignStore& store, const QString& name, QString* error);
// Revokes the token of that name; false with why (no such token, or the store refused).
bool revokeToken(CampaignStore& store, const QString& name, QString* error);
std::optional<QList<ApiToken>> listTokens(CampaignStore& store, QString* error = nullptr);

// Who a presented token is: nothing when unknown (or the store refused, error then set).
std::optional<ApiToken> tokenOf(CampaignStore& store, const QString& token, QString* error = nullptr);

QString tokenHash(const QString& token);
