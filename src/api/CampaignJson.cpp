#include "CampaignJson.h"

#include "ApiJson.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/ItemFate.h"

namespace {

// How many items one page reads at most while it looks for those in a state.
constexpr int kMostScanned = 5000;

QJsonArray references(const QString& refs) {
    QJsonArray list;
    for (const QString& r : refs.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        list.append(r.toInt());
    return list;
}

} // namespace

QJsonObject campaignJson(const CampaignSummary& c) {
    return QJsonObject{{"id", c.id},
                       {"state", c.state},
                       {"road", c.road},
                       {"created", isoTime(c.createdAt)},
                       {"start_at", isoTime(c.startAt)},
                       {"started", isoTime(c.startedAt)},
                       {"finished", isoTime(c.finishedAt)},
                       {"window", c.sendWindow.isEmpty() ? QJsonValue() : QJsonValue(c.sendWindow)},
                       {"waiting_for_hours", c.waitingText},
                       {"total", c.total},
                       {"counts", QJsonObject{{"sent", c.sent},
                                              {"failed", c.failed},
                                              {"unknown", c.unknown},
                                              {"queued", c.waiting},
                                              {"sending", c.inHand},
                                              {"not_sent", c.notSent}}},
                       {"replies", c.replies},
                       {"opt_outs", c.optOuts},
                       {"reason", c.reason}};
}

bool isApiItemState(const QString& state) {
    static const QStringList states{"queued", "sending", "sent", "failed", "unknown", "not_sent"};
    return states.contains(state);
}

std::optional<ItemPage> itemPage(CampaignStore& store, qint64 campaign, const QString& state, qint64 after,
                                 int limit, QString* error) {
    ItemPage page;
    const int chunk = state.isEmpty() ? limit + 1 : qMin(kMostScanned, 10 * limit + 1);
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(
                    QStringLiteral("SELECT position, number, number_e164, text, state, outcome, status,"
                                   " device, attempts, refs, delivery, changed_at, sent_at FROM items"
                                   " WHERE campaign = ? AND position > ? ORDER BY position LIMIT ?"),
                    {campaign, after, chunk}, &rows);
            },
            error))
        return std::nullopt;
    qint64 last = after;
    for (const SqlRow& row : rows) {
        if (page.items.size() == limit) {
            page.next = last;
            return page;
        }
        last = row.value(0).toLongLong();
        const QString itemState = apiItemState(row.value(4).toString(), row.value(5).toString());
        if (!state.isEmpty() && itemState != state)
            continue;
        page.items.append(QJsonObject{{"position", last},
                                      {"to", row.value(1).toString()},
                                      {"e164", row.value(2).toString()},
                                      {"text", row.value(3).toString()},
                                      {"state", itemState},
                                      {"status", row.value(6).toString()},
                                      {"device", row.value(7).toString()},
                                      {"attempts", row.value(8).toLongLong()},
                                      {"refs", references(row.value(9).toString())},
                                      {"delivery", row.value(10).toString()},
                                      {"changed", isoTime(row.value(11).toLongLong())},
                                      {"sent", isoTime(row.value(12).toLongLong())}});
    }
    // Every row read: more only when the read stopped at its bound.
    if (rows.size() == chunk)
        page.next = last;
    return page;
}
