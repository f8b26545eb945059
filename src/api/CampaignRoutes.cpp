#include "CampaignRoutes.h"

#include "ApiContext.h"
#include "ApiJson.h"
#include "ApiRequest.h"
#include "CampaignJson.h"
#include "CampaignRequest.h"
#include "Idempotency.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "core/Log.h"
#include "list/DefaultCountry.h"

#include <QCryptographicHash>
#include <QJsonDocument>

#include <httplib.h>

namespace {

void replyCampaign(ApiContext& context, httplib::Response& res, qint64 id, int status) {
    QString why;
    const std::optional<CampaignSummary> c = campaignSummary(*context.store, id, &why);
    if (!c) {
        if (why.isEmpty())
            replyError(res, 404, QStringLiteral("No campaign %1.").arg(id));
        else
            replyStoreRefused(res, why);
        return;
    }
    replyJson(res, status, campaignJson(*c));
}

// Creates the campaign a request asks for, once per idempotency key.
void create(ApiContext& context, const ApiCall& call, httplib::Response& res, bool single) {
    const std::optional<QJsonObject> body = jsonObjectBody(call.request, res);
    if (!body)
        return;
    const QString key = QString::fromStdString(call.request.get_header_value("Idempotency-Key"));
    if (call.request.has_header("Idempotency-Key"))
        if (const QString why = idempotencyKeyProblem(key); !why.isEmpty()) {
            replyError(res, 400, QStringLiteral("Idempotency-Key %1.").arg(why),
                       QStringLiteral("Idempotency-Key"));
            return;
        }
    DefaultCountry country;
    country.load(context.folder);
    const std::variant<CampaignRequest, RequestProblem> read =
        single ? readMessageRequest(*body, country.region()) : readCampaignRequest(*body, country.region());
    if (const auto* problem = std::get_if<RequestProblem>(&read)) {
        replyError(res, 400,
                   problem->field.isEmpty() ? problem->message
                                            : problem->field + QStringLiteral(": ") + problem->message,
                   problem->field);
        return;
    }
    const CampaignRequest& request = std::get<CampaignRequest>(read);
    const QList<SendingItem> items = loadItems(request.rows, request.settings);
    const NewCampaign campaign{CampaignStore::folderKey(context.folder),
                               request.settings.road,
                               optionsOf(request.settings),
                               QStringLiteral("queued"),
                               0,
                               request.startAt};
    const QString hash =
        QString::fromLatin1(QCryptographicHash::hash(call.request.path.c_str() +
                                                         QJsonDocument(*body).toJson(QJsonDocument::Compact),
                                                     QCryptographicHash::Sha256)
                                .toHex());
    KeyClaim claim;
    qint64 id = 0;
    QString why;
    const bool written = context.store->write(
        [&](SqlDatabase& db) {
            if (!key.isEmpty()) {
                const std::optional<KeyClaim> taken = claimIdempotencyKey(db, call.token.id, key, hash);
                if (!taken)
                    return false;
                claim = *taken;
                if (claim.kind != KeyClaim::Kind::New)
                    return true;
            }
            id = insertCampaign(db, campaign, items);
            return id != 0 && (key.isEmpty() || settleIdempotencyKey(db, call.token.id, key, id));
        },
        &why);
    if (!written) {
        replyStoreRefused(res, why);
        return;
    }
    if (claim.kind == KeyClaim::Kind::Conflict) {
        replyError(res, 422, QStringLiteral("This Idempotency-Key was used for another request."),
                   QStringLiteral("Idempotency-Key"));
        return;
    }
    if (claim.kind == KeyClaim::Kind::Replay) {
        id = claim.campaign;
        res.set_header("Idempotent-Replayed", "true");
    }
    res.set_header("Location", "/v1/campaigns/" + std::to_string(id));
    replyCampaign(context, res, id, 201);
}

void list(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const httplib::Request& req = call.request;
    const std::optional<int> limit = pageSize(req, res);
    if (!limit)
        return;
    const qint64 before = req.has_param("before") ? positiveId(req.get_param_value("before")) : 0;
    if (req.has_param("before") && before == 0) {
        replyError(res, 400, QStringLiteral("before: must be a campaign id"), QStringLiteral("before"));
        return;
    }
    QString why;
    const std::optional<QList<CampaignSummary>> all = listCampaigns(*context.store, &why);
    if (!all) {
        replyStoreRefused(res, why);
        return;
    }
    QJsonArray page;
    qint64 next = 0;
    for (const CampaignSummary& c : *all) {
        if (before != 0 && c.id >= before)
            continue;
        if (page.size() == *limit) {
            next = page.last().toObject().value(QLatin1String("id")).toInteger();
            break;
        }
        page.append(campaignJson(c));
    }
    replyJson(res, 200,
              QJsonObject{{"campaigns", page}, {"next", next == 0 ? QJsonValue() : QJsonValue(next)}});
}

void items(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const httplib::Request& req = call.request;
    const qint64 id = positiveId(req.matches[1]);
    const QString state = QString::fromStdString(req.get_param_value("state"));
    if (!state.isEmpty() && !isApiItemState(state)) {
        replyError(res, 400,
                   QStringLiteral("state: must be one of queued, sending, sent, failed, unknown, not_sent"),
                   QStringLiteral("state"));
        return;
    }
    // Positions count from 0: the first page starts after -1.
    const qint64 after = req.has_param("after") ? positiveId(req.get_param_value("after")) : -1;
    if (req.has_param("after") && after <= 0 && req.get_param_value("after") != "0") {
        replyError(res, 400, QStringLiteral("after: must be the next cursor of a page"),
                   QStringLiteral("after"));
        return;
    }
    const std::optional<int> limit = pageSize(req, res);
    if (!limit)
        return;
    QString why;
    if (!campaignSummary(*context.store, id, &why)) {
        if (why.isEmpty())
            replyError(res, 404, QStringLiteral("No campaign %1.").arg(id));
        else
            replyStoreRefused(res, why);
        return;
    }
    const std::optional<ItemPage> page = itemPage(*context.store, id, state, after, *limit, &why);
    if (!page) {
        replyStoreRefused(res, why);
        return;
    }
    replyJson(res, 200,
              QJsonObject{{"items", page->items},
                          {"next", page->next == 0 ? QJsonValue() : QJsonValue(page->next)}});
}

void cancel(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const qint64 id = positiveId(call.request.matches[1]);
    QString why;
    const std::optional<CampaignSummary> c = campaignSummary(*context.store, id, &why);
    if (c && (c->state == QLatin1String("finished") || c->state == QLatin1String("cancelled"))) {
        replyError(res, 409, QStringLiteral("Campaign %1 is %2 already.").arg(id).arg(c->state));
        return;
    }
    if (!c || !cancelCampaign(*context.store, id, &why)) {
        if (why.isEmpty())
            replyError(res, 404, QStringLiteral("No campaign %1.").arg(id));
        else
            replyStoreRefused(res, why);
        return;
    }
    replyCampaign(context, res, id, 200);
}

} // namespace

void addCampaignRoutes(httplib::Server& server, ApiContext& context) {
    server.Post("/v1/messages", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                    create(context, call, res, true);
                }));
    server.Post("/v1/campaigns", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                    create(context, call, res, false);
                }));
    server.Get("/v1/campaigns", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                   list(context, call, res);
               }));
    server.Get(R"(/v1/campaigns/(\d{1,18}))",
               guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                   replyCampaign(context, res, positiveId(call.request.matches[1]), 200);
               }));
    server.Get(R"(/v1/campaigns/(\d{1,18})/items)",
               guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                   items(context, call, res);
               }));
    server.Post(R"(/v1/campaigns/(\d{1,18})/cancel)",
                guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                    cancel(context, call, res);
                }));
}
