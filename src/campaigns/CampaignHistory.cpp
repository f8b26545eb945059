#include "CampaignHistory.h"

#include "CampaignStore.h"
#include "ItemFate.h"

#include <QHash>
#include <QMap>

#include <algorithm>
#include <array>

namespace {

constexpr qint64 kMinute = 60000;

// The narrowest of the usual widths (minutes, then whole days) that fits the span in so many buckets.
qint64 bucketWidth(qint64 from, qint64 to) {
    static constexpr std::array<qint64, 11> kMinutes{1, 2, 5, 10, 15, 30, 60, 120, 180, 360, 720};
    const auto fits = [&](qint64 width) {
        return (to - from / width * width) / width < CampaignHistory::kMaxBuckets;
    };
    for (qint64 minutes : kMinutes)
        if (fits(minutes * kMinute))
            return minutes * kMinute;
    qint64 days = 1;
    while (!fits(days * 1440 * kMinute))
        ++days;
    return days * 1440 * kMinute;
}

// When each item came to its outcome: its last finish; one that may have been sent without a
// finish (its sender was lost while handing it over) at its last hand-over.
QList<CampaignHistory::Step> outcomesOf(const QList<CampaignEvent>& events) {
    QHash<int, const CampaignEvent*> finished, handed;
    for (const CampaignEvent& e : events)
        if (e.state == QLatin1String("done"))
            finished.insert(e.position, &e);
        else if (e.state == QLatin1String("sending"))
            handed.insert(e.position, &e);
    QMultiMap<qint64, ItemFate> fates;
    for (const CampaignEvent* last : std::as_const(finished))
        fates.insert(last->at, itemFate(last->itemState, last->itemOutcome));
    for (const CampaignEvent* last : std::as_const(handed))
        if (!finished.contains(last->position) &&
            itemFate(last->itemState, last->itemOutcome) == ItemFate::Unknown)
            fates.insert(last->at, ItemFate::Unknown);
    QList<CampaignHistory::Step> steps;
    CampaignHistory::Step step;
    for (auto it = fates.cbegin(); it != fates.cend(); ++it) {
        int* counted = it.value() == ItemFate::Sent      ? &step.sent
                       : it.value() == ItemFate::Failed  ? &step.failed
                       : it.value() == ItemFate::Unknown ? &step.unknown
                                                         : nullptr;
        if (counted == nullptr)
            continue; // stopped or cancelled: not an outcome of a device
        ++*counted;
        step.at = it.key();
        steps << step;
    }
    return steps;
}

} // namespace

CampaignHistory historyOf(const QList<CampaignEvent>& events) {
    CampaignHistory history;
    if (events.isEmpty())
        return history;
    const auto [first, last] =
        std::minmax_element(events.cbegin(), events.cend(),
                            [](const CampaignEvent& a, const CampaignEvent& b) { return a.at < b.at; });
    history.from = first->at;
    history.to = last->at;
    history.outcomes = outcomesOf(events);
    history.bucketMs = bucketWidth(history.from, history.to);
    history.firstBucket = history.from / history.bucketMs * history.bucketMs;
    const int buckets = int((history.to - history.firstBucket) / history.bucketMs) + 1;
    // Every hand-over is the device's work, a retry's too.
    QMap<QString, QList<double>> handed;
    for (const CampaignEvent& e : events) {
        if (e.state != QLatin1String("sending"))
            continue;
        QList<double>& counts = handed[e.detail];
        counts.resize(buckets);
        counts[int((e.at - history.firstBucket) / history.bucketMs)] += 1;
    }
    const double minutes = double(history.bucketMs) / kMinute;
    for (auto it = handed.begin(); it != handed.end(); ++it) {
        for (double& count : *it)
            count /= minutes;
        history.devices.append({it.key(), *it});
    }
    return history;
}

std::optional<CampaignHistory> campaignHistory(CampaignStore& store, qint64 id, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(
                    QStringLiteral(
                        "SELECT e.at, e.position, e.state, e.detail, i.state, i.outcome FROM events e"
                        " JOIN items i ON i.campaign = e.campaign AND i.position = e.position"
                        " WHERE e.campaign = ? AND e.state IN ('sending', 'done') ORDER BY e.id"),
                    {id}, &rows);
            },
            error))
        return std::nullopt;
    QList<CampaignEvent> events;
    events.reserve(rows.size());
    for (const SqlRow& row : rows)
        events.append({row.value(0).toLongLong(), int(row.value(1).toLongLong()), row.value(2).toString(),
                       row.value(3).toString(), row.value(4).toString(), row.value(5).toString()});
    return historyOf(events);
}
