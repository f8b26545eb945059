#include "CampaignStore.h"

#include "CampaignSchema.h"
#include "JournalImport.h"
#include "PostgresDatabase.h"
#include "SqliteDatabase.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/WallClock.h"

#include <QDateTime>
#include <QHash>

#include <pwd.h>
#include <unistd.h>

QString CampaignStore::path(const DataFolder& folder) {
    return folder.Bulk_SMS_Data_Folder_Path() + QStringLiteral("/Campaigns.db");
}

namespace {

// The database chosen for the whole process (useDatabase).
struct DatabaseChoice {
    std::mutex lock;
    QString url;
    bool set = false;
};

DatabaseChoice& databaseChoice() {
    static DatabaseChoice choice;
    return choice;
}

std::unique_ptr<SqlDatabase> openDatabase(const QString& url, const QString& file, QString* why) {
    if (url.isEmpty())
        return SqliteDatabase::open(file, why);
    if (url.startsWith(QLatin1String("postgresql://")) || url.startsWith(QLatin1String("postgres://")))
        return PostgresDatabase::open(url, why);
    *why = QStringLiteral("%1: not a database this program can use (postgresql://… is)")
               .arg(PostgresDatabase::shown(url));
    return nullptr;
}

} // namespace

void CampaignStore::useDatabase(const QString& url) {
    DatabaseChoice& choice = databaseChoice();
    const std::lock_guard guard(choice.lock);
    choice.url = url;
    choice.set = true;
}

QString CampaignStore::database() {
    DatabaseChoice& choice = databaseChoice();
    const std::lock_guard guard(choice.lock);
    return choice.set ? choice.url : qEnvironmentVariable("BULKSMS_DATABASE");
}

QString CampaignStore::folderKey(const DataFolder& folder) {
    return hostName() + QLatin1Char(':') + folder.Bulk_SMS_Data_Folder_Path();
}

std::shared_ptr<CampaignStore> CampaignStore::forFolder(const DataFolder& folder, QString* error) {
    static std::mutex lock;
    static QHash<QString, std::weak_ptr<CampaignStore>> open;
    const std::lock_guard guard(lock);
    const QString file = path(folder);
    const QString url = database();
    const QString key = url + QLatin1Char('\n') + file;
    if (std::shared_ptr<CampaignStore> store = open.value(key).lock())
        return store;
    QString why;
    if (url.isEmpty())
        Create_Folder(folder.Bulk_SMS_Data_Folder_Path()); // its first run may come before any other file
    std::unique_ptr<SqlDatabase> db = openDatabase(url, file, &why);
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
    open.insert(key, store);
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

QString CampaignStore::hostName() {
    char host[256] = {};
    ::gethostname(host, sizeof host - 1);
    return QString::fromLocal8Bit(host);
}

qint64 CampaignStore::now() { return Clock::nowMs(); }

QString CampaignStore::user() {
    // Who the process runs as (looked up once: the lookup is not for several threads at once);
    // the number only when the password database has no name for it.
    static const QString name = [] {
        const struct passwd* entry = ::getpwuid(::getuid());
        return entry && entry->pw_name ? QString::fromLocal8Bit(entry->pw_name) : QString::number(::getuid());
    }();
    return name + QLatin1Char('@') + hostName();
}

bool CampaignStore::limitPages(int pages) {
    return read([&](SqlDatabase& db) {
        const qint64 used = db.value(QStringLiteral("PRAGMA page_count")).toLongLong();
        return db.exec(QStringLiteral("PRAGMA max_page_count = %1").arg(used + pages));
    });
}
