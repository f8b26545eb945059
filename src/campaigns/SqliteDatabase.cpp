#include "SqliteDatabase.h"

#include "core/NoFollowPaths.h"

#include <QFile>

#include <sqlite3.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Another process holding the write lock is waited for this long before a write is refused.
constexpr int kBusyTimeoutMs = 10000;

bool isLink(const QString& path) {
    struct stat st {};
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 && S_ISLNK(st.st_mode);
}

} // namespace

QVariant SqlDatabase::value(const QString& sql, const QVariantList& params) {
    QList<SqlRow> rows;
    if (!exec(sql, params, &rows) || rows.isEmpty() || rows.first().isEmpty())
        return {};
    return rows.first().first();
}

std::unique_ptr<SqliteDatabase> SqliteDatabase::open(const QString& path, QString* error) {
    // The file is made private before SQLite writes to it; its -wal and -shm files take its mode.
    const int fd = openNoFollow(path, O_RDWR | O_CREAT, 0600, error);
    if (fd < 0)
        return nullptr;
    ::close(fd);
    for (const char* side : {"-wal", "-shm"})
        if (isLink(path + QLatin1String(side))) {
            *error = QStringLiteral("%1%2: a symbolic link is in its place").arg(path, QLatin1String(side));
            return nullptr;
        }
    sqlite3* db = nullptr;
    const int opened =
        sqlite3_open_v2(QFile::encodeName(path).constData(), &db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (opened != SQLITE_OK) {
        *error = QStringLiteral("%1: %2").arg(
            path, QString::fromUtf8(db ? sqlite3_errmsg(db) : sqlite3_errstr(opened)));
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    std::unique_ptr<SqliteDatabase> database(new SqliteDatabase(db, path));
    // Written ahead and synced at every commit: a commit that returned is on the disk.
    for (const char* pragma :
         {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL", "PRAGMA foreign_keys=ON"})
        if (!database->exec(QString::fromLatin1(pragma))) {
            *error = database->error();
            return nullptr;
        }
    return database;
}

SqliteDatabase::~SqliteDatabase() {
    for (sqlite3_stmt* statement : std::as_const(m_statements))
        sqlite3_finalize(statement);
    sqlite3_close(m_db);
}

bool SqliteDatabase::fail(const QString& why) {
    m_error = QStringLiteral("%1: %2").arg(m_path, why);
    return false;
}

sqlite3_stmt* SqliteDatabase::prepared(const QString& sql) {
    if (sqlite3_stmt* statement = m_statements.value(sql))
        return statement;
    sqlite3_stmt* statement = nullptr;
    const QByteArray text = sql.toUtf8();
    if (sqlite3_prepare_v2(m_db, text.constData(), int(text.size()), &statement, nullptr) != SQLITE_OK) {
        fail(QString::fromUtf8(sqlite3_errmsg(m_db)));
        sqlite3_finalize(statement);
        return nullptr;
    }
    m_statements.insert(sql, statement);
    return statement;
}

bool SqliteDatabase::exec(const QString& sql, const QVariantList& params, QList<SqlRow>* rows) {
    sqlite3_stmt* statement = prepared(sql);
    if (!statement)
        return false;
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    for (int i = 0; i < params.size(); ++i) {
        const QVariant& param = params.at(i);
        int bound = SQLITE_OK;
        if (param.isNull())
            bound = sqlite3_bind_null(statement, i + 1);
        else if (param.typeId() == QMetaType::QString) {
            const QByteArray text = param.toString().toUtf8();
            bound = sqlite3_bind_text(statement, i + 1, text.constData(), int(text.size()), SQLITE_TRANSIENT);
        } else
            bound = sqlite3_bind_int64(statement, i + 1, param.toLongLong());
        if (bound != SQLITE_OK)
            return fail(QString::fromUtf8(sqlite3_errmsg(m_db)));
    }
    for (;;) {
        const int step = sqlite3_step(statement);
        if (step == SQLITE_DONE)
            break;
        if (step != SQLITE_ROW) {
            const QString why = QString::fromUtf8(sqlite3_errmsg(m_db));
            sqlite3_reset(statement);
            return fail(why);
        }
        if (!rows)
            continue;
        SqlRow row;
        for (int c = 0, n = sqlite3_column_count(statement); c < n; ++c) {
            switch (sqlite3_column_type(statement, c)) {
            case SQLITE_NULL: row << QVariant(); break;
            case SQLITE_INTEGER: row << QVariant(qint64(sqlite3_column_int64(statement, c))); break;
            default:
                row << QVariant(
                    QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, c)),
                                      sqlite3_column_bytes(statement, c)));
            }
        }
        rows->append(row);
    }
    sqlite3_reset(statement);
    m_error.clear();
    return true;
}

bool SqliteDatabase::beginWrite() { return exec(QStringLiteral("BEGIN IMMEDIATE")); }
