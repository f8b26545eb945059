#pragma once
// What the campaign store of a data folder says, for tests that look behind a run.
#include "PostgresCluster.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/StoredRun.h"
#include "campaigns/UnfinishedCampaign.h"
#include "core/DataFolder.h"
#include "sending/SendingItems.h"

#include <memory>
#include <optional>

// For a case run on each engine ("sqlite", "postgresql"): on "postgresql", the store of every
// data folder becomes a new database of the test program's server. False (and why) when there
// is no server: the case is then skipped.
inline bool useStoreEngine(const char* engine, QString* why) {
    if (QLatin1String(engine) != QLatin1String("postgresql"))
        return true;
    PostgresCluster* server = PostgresCluster::shared(why);
    if (!server)
        return false;
    CampaignStore::useDatabase(server->newDatabase());
    return true;
}

// The unfinished campaign of the folder on that road (its items being handed over read as
// unknown, as a resume finds them), if there is one.
inline std::optional<UnfinishedCampaign> unfinishedIn(const DataFolder& folder,
                                                      const QString& road = kGsmRoad) {
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, nullptr);
    return store ? unfinishedCampaign(*store, CampaignStore::folderKey(folder), road) : std::nullopt;
}

// The latest campaign on the road that did not end, even while its run still sends it, as a
// resume would find it once its sender is gone.
inline std::optional<UnfinishedCampaign> recordedIn(const DataFolder& folder,
                                                    const QString& road = kGsmRoad) {
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, nullptr);
    qint64 latest = 0;
    if (store)
        store->read([&](SqlDatabase& db) {
            latest = db.value("SELECT MAX(id) FROM campaigns WHERE road = ? AND state = 'sending'", {road})
                         .toLongLong();
            return true;
        });
    return latest ? unfinishedCampaign(*store, CampaignStore::folderKey(folder), road, nullptr, latest)
                  : std::nullopt;
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
