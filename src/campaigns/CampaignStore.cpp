#include "CampaignStore.h"

#include "CampaignSchema.h"
#include "JournalImport.h"
#include "SqliteDatabase.h"
#include "core/DataFolder.h"

#include <QDateTime>
#include <QHash>

#include <unistd.h>

QString CampaignStore::path(const DataFolder& folder) {
    return folder.Bulk_SMS_Data_Folder_Path() + QStringLiteral("/Campaigns.db");
}

std::shared_ptr<CampaignStore> CampaignStore::forFolder(const DataFolder& folder, QString* error) {
    static std::mutex lock;
    static QHash<QString, std::weak_ptr<CampaignStore>> open;
    const std::lock_guard guard(lock);
    const QString file = path(folder);
    if (std::shared_ptr<CampaignStore> store = open.value(file).lock())
        return store;
    QString why;
    std::unique_ptr<SqlDatabase> db = SqliteDatabase::open(file, &why);
    if (!db || !CampaignSchema::migrate(*db, &why)) {
        if (error)
            *error = why;
        return nullptr;
    }
    auto store = std::make_shared<CampaignStore>(std::move(db));
    if (!importJournals(*store, folder, &why)) {
        if (error)
            *error = why;
        return nullptr;
    }
    open.insert(file, store);
    return store;
}

bool CampaignStore::write(const std::function<bool(SqlDatabase&)>& body, QString* error) {
    const std::lock_guard guard(m_mutex);
    if (!m_db->beginWrite()) {
        if (error)
            *error = m_db->error();
        return false;
    }
    if (body(*m_db) && m_db->commit())
        return true;
    const QString why = m_db->error();
    m_db->rollback();
    if (error)
        *error = why;
    return false;
}

bool CampaignStore::read(const std::function<bool(SqlDatabase&)>& body, QString* error) {
    const std::lock_guard guard(m_mutex);
    if (body(*m_db))
        return true;
    if (error)
        *error = m_db->error();
    return false;
}

qint64 CampaignStore::now() { return QDateTime::currentMSecsSinceEpoch(); }

QString CampaignStore::user() {
    const QString name = qEnvironmentVariable("USER", qEnvironmentVariable("LOGNAME"));
    char host[256] = {};
    ::gethostname(host, sizeof host - 1);
    return (name.isEmpty() ? QString::number(::getuid()) : name) + QLatin1Char('@') +
           QString::fromLocal8Bit(host);
}

bool CampaignStore::limitPages(int pages) {
    return read([&](SqlDatabase& db) {
        const qint64 used = db.value(QStringLiteral("PRAGMA page_count")).toLongLong();
        return db.exec(QStringLiteral("PRAGMA max_page_count = %1").arg(used + pages));
    });
}
