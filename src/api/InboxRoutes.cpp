#include "InboxRoutes.h"

#include "ApiContext.h"
#include "ApiJson.h"
#include "ApiRequest.h"
#include "campaigns/Replies.h"

#include <QRegularExpression>

#include <httplib.h>

namespace {

QJsonValue idOrNull(qint64 id) { return id == 0 ? QJsonValue() : QJsonValue(id); }

QJsonObject messageJson(const ReceivedRow& row) {
    const ReceivedMessage& m = row.message;
    return QJsonObject{{"id", row.id},
                       {"from", m.sender},
                       {"from_e164", m.senderE164.isEmpty() ? QJsonValue() : QJsonValue(m.senderE164)},
                       {"text", m.text},
                       {"received", isoTime(row.receivedAt)},
                       {"sent", isoTime(m.sentAt)},
                       {"campaign", idOrNull(row.campaign)},
                       {"device", m.device},
                       {"road", m.road},
                       {"complete", m.complete},
                       {"read", row.readAt != 0}};
}

// The filter the query asks for, or a 400 sent.
std::optional<ReceivedFilter> filterOf(const httplib::Request& req, httplib::Response& res) {
    ReceivedFilter filter;
    // Oldest first after a cursor (a program that reads everything once), or newest first
    // before one (a page of the latest replies).
    const std::string order = req.has_param("order") ? req.get_param_value("order") : "oldest";
    if (order != "oldest" && order != "newest") {
        replyError(res, 400, QStringLiteral("order: must be oldest or newest"), QStringLiteral("order"));
        return std::nullopt;
    }
    filter.oldestFirst = order == "oldest";
    if (req.has_param("since")) {
        // A "+" left unencoded in a query reads as a space: an offset can only have meant "+".
        static const QRegularExpression spacedOffset(QStringLiteral(" (\\d\\d:?\\d\\d)$"));
        const QString since = QString::fromStdString(req.get_param_value("since"))
                                  .replace(spacedOffset, QStringLiteral("+\\1"));
        filter.since = timeFromIso(since);
        if (filter.since == 0) {
            replyError(
                res, 400,
                QStringLiteral("since: must be a time with its offset, such as \"2026-11-27T09:00:00Z\""),
                QStringLiteral("since"));
            return std::nullopt;
        }
    }
    if (req.has_param("campaign")) {
        // 0: the replies that answer no campaign.
        const std::string text = req.get_param_value("campaign");
        filter.campaign = text == "0" ? 0 : positiveId(text);
        if (filter.campaign == 0 && text != "0") {
            replyError(res, 400, QStringLiteral("campaign: must be a campaign id, or 0 for none"),
                       QStringLiteral("campaign"));
            return std::nullopt;
        }
    }
    // The cursor: "after" the last message of an oldest-first page, "before" the last of a
    // newest-first one.
    const char* cursor = filter.oldestFirst ? "after" : "before";
    if (req.has_param(filter.oldestFirst ? "before" : "after")) {
        replyError(
            res, 400,
            QStringLiteral("%1: goes with order=%2")
                .arg(filter.oldestFirst ? "before" : "after", filter.oldestFirst ? "newest" : "oldest"),
            QLatin1String(filter.oldestFirst ? "before" : "after"));
        return std::nullopt;
    }
    if (req.has_param(cursor)) {
        const std::string text = req.get_param_value(cursor);
        const qint64 id = positiveId(text);
        if (id == 0 && text != "0") {
            replyError(res, 400,
                       QStringLiteral("%1: must be the next cursor of a page").arg(QLatin1String(cursor)),
                       QLatin1String(cursor));
            return std::nullopt;
        }
        (filter.oldestFirst ? filter.after : filter.before) = id;
    }
    const std::optional<int> limit = pageSize(req, res);
    if (!limit)
        return std::nullopt;
    // One more than the page: whether another page follows.
    filter.limit = *limit + 1;
    return filter;
}

void inbox(ApiContext& context, const ApiCall& call, httplib::Response& res) {
    const std::optional<ReceivedFilter> filter = filterOf(call.request, res);
    if (!filter)
        return;
    QString why;
    std::optional<QList<ReceivedRow>> rows = listReceived(*context.store, *filter, &why);
    if (!rows) {
        replyStoreRefused(res, why);
        return;
    }
    const bool more = rows->size() == filter->limit;
    if (more)
        rows->removeLast();
    QJsonArray messages;
    for (const ReceivedRow& row : *rows)
        messages.append(messageJson(row));
    replyJson(
        res, 200,
        QJsonObject{{"messages", messages}, {"next", more ? QJsonValue(rows->last().id) : QJsonValue()}});
}

} // namespace

void addInboxRoutes(httplib::Server& server, ApiContext& context) {
    server.Get("/v1/inbox", guarded(context, [&context](const ApiCall& call, httplib::Response& res) {
                   inbox(context, call, res);
               }));
}
