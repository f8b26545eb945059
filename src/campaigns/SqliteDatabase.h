#pragma once
// The embedded database: one SQLite file in the data folder, written ahead (WAL) and synced to
// the disk at every commit, waiting for another process's write rather than failing at once.
#include "SqlDatabase.h"

#include <QHash>

#include <memory>

struct sqlite3;
struct sqlite3_stmt;

class SqliteDatabase : public SqlDatabase {
public:
    // Opens (creating it 0600 when missing) the file at path; nothing when it cannot be opened,
    // and error gets "<path>: <reason>". A symbolic link in its place is refused.
    static std::unique_ptr<SqliteDatabase> open(const QString& path, QString* error);
    ~SqliteDatabase() override;

    Engine engine() const override { return Engine::Sqlite; }
    bool exec(const QString& sql, const QVariantList& params = {}, QList<SqlRow>* rows = nullptr) override;
    bool beginWrite() override;
    QString error() const override { return m_error; }
    QString where() const override { return m_path; }

private:
    SqliteDatabase(sqlite3* db, QString path) : m_db(db), m_path(std::move(path)) {}
    sqlite3_stmt* prepared(const QString& sql);
    bool fail(const QString& why);

    sqlite3* m_db;
    QString m_path;
    QString m_error;
    QHash<QString, sqlite3_stmt*> m_statements; // prepared once, reused
};
