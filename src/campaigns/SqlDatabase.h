#pragma once
// One connection to the campaign store's database, whatever its engine: statements with
// positional parameters ("?"), rows as lists of values (integers, texts, nulls), write
// transactions, and the engine's own words when it refuses something. A connection is used by
// one thread at a time: its owner (the store) serialises.
#include <QList>
#include <QString>
#include <QVariant>

using SqlRow = QList<QVariant>;

class SqlDatabase {
public:
    enum class Engine { Sqlite, Postgres };

    SqlDatabase() = default;
    virtual ~SqlDatabase() = default;
    SqlDatabase(const SqlDatabase&) = delete;
    SqlDatabase& operator=(const SqlDatabase&) = delete;

    virtual Engine engine() const = 0;
    // Runs one statement; the rows it returns (if any) are appended to rows. False when the
    // database refused it: error() says why.
    virtual bool exec(const QString& sql, const QVariantList& params = {}, QList<SqlRow>* rows = nullptr) = 0;
    // A transaction that holds the right to write from its start, so that two processes never
    // both read the same next item (SQLite: BEGIN IMMEDIATE).
    virtual bool beginWrite() = 0;
    bool commit() { return exec(QStringLiteral("COMMIT")); }
    void rollback() { exec(QStringLiteral("ROLLBACK")); }
    // The first column of the first row, or a null value.
    QVariant value(const QString& sql, const QVariantList& params = {});

    // Why the last statement was refused: the database's words.
    virtual QString error() const = 0;
    // Where the database is, as the operator is told (a file, or host and name).
    virtual QString where() const = 0;
};
