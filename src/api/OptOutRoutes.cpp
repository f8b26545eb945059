#include "OptOutRoutes.h"

#include "ApiContext.h"
#include "ApiJson.h"
#include "ApiRequest.h"
#include "NumberCheck.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/OptOuts.h"
#include "list/DefaultCountry.h"

#include <QUrl>

#include <httplib.h>

namespace {

QJsonObject optOutJson(const OptOut& o, bool withEnd) {
    QJsonObject json{{"number", o.number}, {"since", isoTime(o.since)}, {"how", o.how}};
    if (withEnd) {
        json.insert(QStringLiteral("active"), o.active);
        json.insert(QStringLiteral("ended"), isoTime(o.endedAt));
    }
    return json;
}

// The number as opt-outs keep it, checked as a recipient's is (numbers written without their
// country are read in the data folder's); "" and a 400 sent when it cannot be one.
QString keptNumber(ApiContext& context, const QString& written, const QString& field,
                   httplib::Response& res) {
    DefaultCountry country;
    country.load(context.folder);
    QString normalised;
    if (const std::optional<RequestProblem> problem =
            checkNumber(written, country.region(), field, normalised)) {
        replyError(res, 400, problem->field + QStringLiteral(": ") + problem->message, problem->field);
        return {};
    }
    QString kept = optOutNumber(written);
    if (kept.isEmpty())
        replyError(res, 400, QStringLiteral("%1: is not a phone number").arg(field), field);
    return kept;
}

void list(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const std::optional<bool> all = flagParam(call.request, res, "all", false);
    if (!all)
        return;
    QString why;
    const std::optional<QList<OptOut>> rows = listOptOuts(*context.store, !*all, &why);
    if (!rows) {
        replyStoreRefused(res, why);
        return;
    }
    QJsonArray list;
    for (const OptOut& o : *rows)
        list.append(optOutJson(o, *all));
    replyJson(res, 200, QJsonObject{{"opt_outs", list}});
}

void one(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const QString number =
        keptNumber(context, QString::fromStdString(call.request.matches[1]), QStringLiteral("number"), res);
    if (number.isEmpty())
        return;
    std::optional<OptOut> active;
    QString why;
    if (!context.store->read([&](SqlDatabase& db) { return activeOptOutWithin(db, number, &active); },
                             &why)) {
        replyStoreRefused(res, why);
        return;
    }
    if (!active) {
        replyError(res, 404, QStringLiteral("%1 is not opted out.").arg(number));
        return;
    }
    replyJson(res, 200, optOutJson(*active, false));
}

void add(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const std::optional<QJsonObject> body = jsonObjectBody(call.request, res);
    if (!body)
        return;
    for (auto it = body->begin(); it != body->end(); ++it)
        if (it.key() != QLatin1String("number")) {
            replyError(res, 400, it.key() + QStringLiteral(": unknown field"), it.key());
            return;
        }
    const QJsonValue written = body->value(QLatin1String("number"));
    if (!written.isString()) {
        replyError(res, 400,
                   written.isUndefined() ? QStringLiteral("number: is missing")
                                         : QStringLiteral("number: must be a string"),
                   QStringLiteral("number"));
        return;
    }
    const QString number = keptNumber(context, written.toString(), QStringLiteral("number"), res);
    if (number.isEmpty())
        return;
    const qint64 now = CampaignStore::now();
    bool added = false;
    std::optional<OptOut> active;
    QString why;
    // Added and read back in one transaction: a concurrent removal cannot leave it unanswerable.
    if (!context.store->write(
            [&](SqlDatabase& db) {
                return optOutWithin(db, number, kOptOutByApi, 0, now, &added) &&
                       activeOptOutWithin(db, number, &active) && active.has_value();
            },
            &why)) {
        replyStoreRefused(res, why);
        return;
    }
    if (added)
        res.set_header("Location", "/v1/opt-outs/" + QUrl::toPercentEncoding(number).toStdString());
    replyJson(res, added ? 201 : 200, optOutJson(*active, false));
}

void remove(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const QString number =
        keptNumber(context, QString::fromStdString(call.request.matches[1]), QStringLiteral("number"), res);
    if (number.isEmpty())
        return;
    const qint64 now = CampaignStore::now();
    bool ended = false;
    QString why;
    if (!context.store->write(
            [&](SqlDatabase& db) { return optInWithin(db, number, kOptOutByApi, 0, now, &ended); }, &why)) {
        replyStoreRefused(res, why);
        return;
    }
    if (!ended) {
        replyError(res, 404, QStringLiteral("%1 is not opted out.").arg(number));
        return;
    }
    res.status = 204;
}

} // namespace

void addOptOutRoutes(httplib::Server& server, ApiContext& context) {
    // The number comes decoded: "+" as itself or as %2B.
    const char* const onePath = R"(/v1/opt-outs/([^/]{1,64}))";
    server.Get("/v1/opt-outs", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                   list(context, call, res);
               }));
    server.Post("/v1/opt-outs", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                    add(context, call, res);
                }));
    server.Get(onePath, guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                   one(context, call, res);
               }));
    server.Delete(onePath, guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                      remove(context, call, res);
                  }));
}
