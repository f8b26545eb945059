#pragma once
// What the campaign store of a data folder says, for tests that look behind a run.
#include "campaigns/CampaignStore.h"
#include "campaigns/StoredRun.h"
#include "campaigns/UnfinishedCampaign.h"
#include "core/DataFolder.h"
#include "sending/SendingItems.h"

#include <memory>
#include <optional>

// The unfinished campaign of the folder on that road (its items being handed over read as
// unknown, as a resume finds them), if there is one.
inline std::optional<UnfinishedCampaign> unfinishedIn(const DataFolder& folder,
                                                      const QString& road = kGsmRoad) {
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, nullptr);
    return store ? unfinishedCampaign(*store, CampaignStore::folderKey(folder), road) : std::nullopt;
}

// A record for an engine run kept in the folder's store.
inline std::unique_ptr<StoredRun> storedRunIn(const DataFolder& folder) {
    QString why;
    std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    return std::make_unique<StoredRun>(std::move(store),
                                       StoredRun::Campaign{CampaignStore::folderKey(folder), "{}", 0}, why);
}

// What the store holds of the latest campaign's items, in order, without touching them (a run
// may still be sending it): each item's delivery.
inline QStringList deliveriesIn(const DataFolder& folder) {
    QStringList deliveries;
    if (const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, nullptr))
        store->read([&](SqlDatabase& db) {
            QList<SqlRow> rows;
            const bool read =
                db.exec("SELECT delivery FROM items WHERE campaign = (SELECT MAX(id) FROM campaigns)"
                        " ORDER BY position",
                        {}, &rows);
            for (const SqlRow& row : rows)
                deliveries << row.value(0).toString();
            return read;
        });
    return deliveries;
}
