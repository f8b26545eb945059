#pragma once
// The shared database: a PostgreSQL server that several computers' senders use at once. The
// statements are the store's own, their "?" placeholders numbered for the server; a write
// transaction is a plain BEGIN, and the claim locks the row it picks (FOR UPDATE SKIP LOCKED)
// so that two senders never pick the same item.
#include "SqlDatabase.h"

#include <memory>

struct pg_conn;

class PostgresDatabase : public SqlDatabase {
public:
    // Connects to the server the URL names ("postgresql://user@host/name", "?host=/socket/dir"
    // for a local socket); nothing when it cannot, and error gets why (the URL without its
    // password).
    static std::unique_ptr<PostgresDatabase> open(const QString& url, QString* error);
    ~PostgresDatabase() override;

    Engine engine() const override { return Engine::Postgres; }
    bool exec(const QString& sql, const QVariantList& params = {}, QList<SqlRow>* rows = nullptr) override;
    bool beginWrite() override { return exec(QStringLiteral("BEGIN")); }
    QString error() const override { return m_error; }
    QString where() const override { return m_where; }

    // "?" placeholders as the server numbers them ("$1", "$2", ...), quoted text left alone.
    static QByteArray numbered(const QString& sql);
    // The URL as it may be shown: any password in it replaced by "***".
    static QString shown(const QString& url);

private:
    PostgresDatabase(pg_conn* connection, QString where)
        : m_connection(connection), m_where(std::move(where)) {}
    bool fail(const QString& why);

    pg_conn* m_connection;
    QString m_where;
    QString m_error;
};
