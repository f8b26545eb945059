#include "CampaignItems.h"

#include "CampaignStore.h"

std::optional<QList<ReportItem>> campaignItems(CampaignStore& store, qint64 id, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(QStringLiteral("SELECT number, text, current_status, status FROM items"
                                              " WHERE campaign = ? ORDER BY position"),
                               {id}, &rows);
            },
            error))
        return std::nullopt;
    QList<ReportItem> items;
    items.reserve(rows.size());
    for (const SqlRow& row : rows)
        items.append({row.value(0).toString(), row.value(1).toString(), row.value(2).toString(),
                      row.value(3).toString()});
    return items;
}
