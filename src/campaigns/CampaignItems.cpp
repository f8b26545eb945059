#include "CampaignItems.h"

#include "CampaignStore.h"
#include "sending/ItemReport.h"

std::optional<QList<ReportItem>> campaignItems(CampaignStore& store, qint64 id, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(
                    QStringLiteral("SELECT number, text, current_status, status, device, attempts,"
                                   " refs, delivery FROM items WHERE campaign = ? ORDER BY position"),
                    {id}, &rows);
            },
            error))
        return std::nullopt;
    QList<ReportItem> items;
    items.reserve(rows.size());
    for (const SqlRow& row : rows) {
        // Read as the run's record reads an item, then reported as a run reports it.
        SendingItem item;
        item.number = row.value(0).toString();
        item.message = row.value(1).toString();
        item.currentStatus = row.value(2).toString();
        item.status = row.value(3).toString();
        item.usePort = row.value(4).toString();
        item.attempts = int(row.value(5).toLongLong());
        for (const QString& word : row.value(6).toString().split(QLatin1Char(' '), Qt::SkipEmptyParts))
            item.references << word.toInt();
        item.delivery = row.value(7).toString();
        items.append(reportItemOf(item));
    }
    return items;
}
