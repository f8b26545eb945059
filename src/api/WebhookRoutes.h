#pragma once
// /v1/webhooks: a token registers the addresses that hear what becomes of messages, reads them
// and deletes them; it sees only its own.
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

struct ApiContext;
namespace httplib {
class Server;
}

struct WebhookRequest {
    QString url;
    QStringList events;
    QString secret; // "" when the caller gave none
};
struct WebhookProblem {
    QString field, message;
};
// The body of POST /v1/webhooks, field by field.
std::variant<WebhookRequest, WebhookProblem> readWebhookRequest(const QJsonObject& body);

void addWebhookRoutes(httplib::Server& server, ApiContext& context);
