#pragma once
// The campaign store: every campaign, its recipients' items and every change of an item, in
// one database (an SQLite file in the data folder). A process opens the store of a data folder
// once and shares it between its runs and windows; every statement goes through its one
// connection, one at a time. A write is a transaction that either reaches the disk whole or
// is refused with the database's words; whoever wrote decides what the refusal stops.
#include "SqlDatabase.h"

#include <functional>
#include <memory>
#include <mutex>

class DataFolder;

class CampaignStore {
public:
    // The store of the data folder, opened (created, migrated, and any run journal left by an
    // older version imported) at the first call of the process; nothing when it cannot be
    // opened, and error gets why.
    static std::shared_ptr<CampaignStore> forFolder(const DataFolder& folder, QString* error);
    // "Campaigns.db" in the data folder.
    static QString path(const DataFolder& folder);
    // The database every store of the process uses instead of the data folder's file: a
    // PostgreSQL URL ("postgresql://…"), from --database, else BULKSMS_DATABASE; "" for the file.
    static void useDatabase(const QString& url);
    static QString database();
    // How a campaign names the data folder it was created from ("host:path"): a shared
    // database holds the campaigns of many computers.
    static QString folderKey(const DataFolder& folder);

    explicit CampaignStore(std::unique_ptr<SqlDatabase> db) : m_db(std::move(db)) {}

    // Runs body in one write transaction: true once it committed. False when body returned
    // false or the database refused a statement or the commit; error (may be null) then gets
    // the database's words (or "" when body gave up by itself).
    bool write(const std::function<bool(SqlDatabase&)>& body, QString* error = nullptr);
    // Runs body with the connection, outside any transaction.
    bool read(const std::function<bool(SqlDatabase&)>& body, QString* error = nullptr);

    QString where() const { return m_db->where(); }

    // The program's clock, in milliseconds since the epoch: every time the store keeps.
    static qint64 now();
    // "user@host": who created a campaign, or claims its items; the host alone.
    static QString user();
    static QString hostName();

    // The database may grow by this many pages at most: its next write beyond meets a full
    // disk (the tests of a full disk use it).
    bool limitPages(int pages);

private:
    std::mutex m_mutex; // the connection is used by one thread at a time
    std::unique_ptr<SqlDatabase> m_db;
};
