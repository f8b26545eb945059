#include "WebhookRoutes.h"

#include "ApiContext.h"
#include "ApiJson.h"
#include "ApiRequest.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/Webhooks.h"
#include "core/Log.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSet>
#include <QUrl>

#include <httplib.h>

namespace {

constexpr int kLongestUrl = 2000;
constexpr int kLongestSecret = 200;
constexpr int kSecretBytes = 32;

QString newSecret() {
    QByteArray bytes(kSecretBytes, Qt::Uninitialized);
    QRandomGenerator::system()->generate(bytes.begin(), bytes.end());
    return QString::fromLatin1(bytes.toHex());
}

QJsonObject hookJson(const Webhook& w) {
    return QJsonObject{{"id", w.id},
                       {"url", w.url},
                       {"events", QJsonArray::fromStringList(w.events)},
                       {"created", isoTime(w.createdAt)},
                       {"state", w.disabledAt > 0 ? "disabled" : "active"},
                       {"disabled_reason", w.disabledReason},
                       {"failures", w.failures}};
}

void create(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const std::optional<QJsonObject> body = jsonObjectBody(call.request, res);
    if (!body)
        return;
    const std::variant<WebhookRequest, WebhookProblem> read = readWebhookRequest(*body);
    if (const auto* problem = std::get_if<WebhookProblem>(&read)) {
        replyError(res, 400, problem->field + QStringLiteral(": ") + problem->message, problem->field);
        return;
    }
    const WebhookRequest& request = std::get<WebhookRequest>(read);
    const QString secret = request.secret.isEmpty() ? newSecret() : request.secret;
    QString why;
    const std::optional<Webhook> made =
        createWebhook(*context.store, call.token.id, request.url, request.events, secret, &why);
    if (!made) {
        replyStoreRefused(res, why);
        return;
    }
    QJsonObject json = hookJson(*made);
    json.remove(QStringLiteral("disabled_reason"));
    json.remove(QStringLiteral("failures"));
    // The only time the secret leaves the store.
    json.insert(QStringLiteral("secret"), secret);
    res.set_header("Location", "/v1/webhooks/" + std::to_string(made->id));
    replyJson(res, 201, json);
}

void list(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    QString why;
    const std::optional<QList<Webhook>> hooks = listWebhooks(*context.store, call.token.id, &why);
    if (!hooks) {
        replyStoreRefused(res, why);
        return;
    }
    QJsonArray all;
    for (const Webhook& w : *hooks)
        all.append(hookJson(w));
    replyJson(res, 200, QJsonObject{{"webhooks", all}});
}

void one(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const qint64 id = positiveId(call.request.matches[1]);
    QString why;
    const std::optional<QList<Webhook>> hooks = listWebhooks(*context.store, call.token.id, &why);
    if (!hooks) {
        replyStoreRefused(res, why);
        return;
    }
    for (const Webhook& w : *hooks)
        if (w.id == id) {
            replyJson(res, 200, hookJson(w));
            return;
        }
    replyError(res, 404, QStringLiteral("No webhook %1.").arg(id));
}

void remove(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const qint64 id = positiveId(call.request.matches[1]);
    bool found = false;
    QString why;
    if (!deleteWebhook(*context.store, call.token.id, id, &found, &why)) {
        replyStoreRefused(res, why);
        return;
    }
    if (!found) {
        replyError(res, 404, QStringLiteral("No webhook %1.").arg(id));
        return;
    }
    res.status = 204;
}

} // namespace

std::variant<WebhookRequest, WebhookProblem> readWebhookRequest(const QJsonObject& body) {
    static const QSet<QString> known{"url", "events", "secret"};
    for (auto it = body.begin(); it != body.end(); ++it)
        if (!known.contains(it.key()))
            return WebhookProblem{it.key(), QStringLiteral("unknown field")};
    WebhookRequest r;
    const QJsonValue url = body.value(QLatin1String("url"));
    if (url.isUndefined())
        return WebhookProblem{"url", "is missing"};
    if (!url.isString())
        return WebhookProblem{"url", "must be a string"};
    r.url = url.toString();
    if (r.url.size() > kLongestUrl)
        return WebhookProblem{"url", QStringLiteral("is longer than %1 characters").arg(kLongestUrl)};
    const QUrl parsed(r.url, QUrl::StrictMode);
    const QString scheme = parsed.scheme();
    if (!parsed.isValid() || (scheme != QLatin1String("https") && scheme != QLatin1String("http")) ||
        parsed.host().isEmpty())
        return WebhookProblem{"url", "must be an http or https address with a host"};
    if (!parsed.userInfo().isEmpty())
        return WebhookProblem{"url", "must not hold a user name or password"};
    if (!parsed.fragment().isEmpty())
        return WebhookProblem{"url", "must not hold a fragment (#)"};

    const QJsonValue events = body.value(QLatin1String("events"));
    if (events.isUndefined())
        return WebhookProblem{"events", "is missing"};
    if (!events.isArray())
        return WebhookProblem{"events", "must be an array of event names"};
    if (events.toArray().isEmpty())
        return WebhookProblem{"events", "is empty"};
    for (const QJsonValue e : events.toArray()) {
        const QString name = e.toString();
        if (!e.isString() || !webhookEventNames().contains(name))
            return WebhookProblem{"events", QStringLiteral("must name events from %1")
                                                .arg(webhookEventNames().join(QStringLiteral(", ")))};
        if (r.events.contains(name))
            return WebhookProblem{"events", QStringLiteral("names %1 twice").arg(name)};
        r.events << name;
    }

    const QJsonValue secret = body.value(QLatin1String("secret"));
    if (!secret.isUndefined()) {
        if (!secret.isString())
            return WebhookProblem{"secret", "must be a string"};
        r.secret = secret.toString();
        if (r.secret.size() < 16 || r.secret.size() > kLongestSecret)
            return WebhookProblem{"secret", QStringLiteral("takes 16 to %1 characters").arg(kLongestSecret)};
    }
    return r;
}

void addWebhookRoutes(httplib::Server& server, ApiContext& context) {
    server.Post("/v1/webhooks", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                    create(context, call, res);
                }));
    server.Get("/v1/webhooks", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                   list(context, call, res);
               }));
    server.Get(R"(/v1/webhooks/(\d{1,18}))",
               guarded(context,
                       [&context](const ApiCall& call, httplib::Response& res) { one(context, call, res); }));
    server.Delete(R"(/v1/webhooks/(\d{1,18}))",
                  guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                      remove(context, call, res);
                  }));
}
