#include "PostgresDatabase.h"

#include <QUrl>

#include <libpq-fe.h>

namespace {

// The server's type numbers of the values we send and read.
constexpr Oid kInt2 = 21, kInt4 = 23, kInt8 = 20, kText = 25;

} // namespace

QString PostgresDatabase::shown(const QString& url) {
    QUrl parsed(url);
    if (!parsed.password().isEmpty())
        parsed.setPassword(QStringLiteral("***"));
    return parsed.toString();
}

QByteArray PostgresDatabase::numbered(const QString& sql) {
    QString out;
    out.reserve(sql.size() + 16);
    int next = 0;
    QChar quote;
    for (const QChar c : sql) {
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            quote = c;
        } else if (c == QLatin1Char('?')) {
            out += QLatin1Char('$') + QString::number(++next);
            continue;
        }
        out += c;
    }
    return out.toUtf8();
}

std::unique_ptr<PostgresDatabase> PostgresDatabase::open(const QString& url, QString* error) {
    const QString where = shown(url);
    PGconn* connection = PQconnectdb(url.toUtf8().constData());
    if (!connection || PQstatus(connection) != CONNECTION_OK) {
        *error = QStringLiteral("%1: %2").arg(
            where, connection ? QString::fromUtf8(PQerrorMessage(connection)).trimmed()
                              : QStringLiteral("out of memory"));
        PQfinish(connection);
        return nullptr;
    }
    std::unique_ptr<PostgresDatabase> database(new PostgresDatabase(connection, where));
    // Quiet about what it does by itself (a table that is already there, say).
    if (!database->exec(QStringLiteral("SET client_min_messages = warning"))) {
        *error = database->error();
        return nullptr;
    }
    return database;
}

PostgresDatabase::~PostgresDatabase() { PQfinish(m_connection); }

bool PostgresDatabase::fail(const QString& why) {
    m_error = QStringLiteral("%1: %2").arg(m_where, why.trimmed());
    return false;
}

bool PostgresDatabase::exec(const QString& sql, const QVariantList& params, QList<SqlRow>* rows) {
    QList<QByteArray> values;
    std::vector<const char*> pointers;
    std::vector<Oid> types;
    values.reserve(params.size());
    types.reserve(params.size());
    pointers.reserve(params.size());
    for (const QVariant& param : params) {
        if (param.isNull()) {
            values << QByteArray();
            types.push_back(0);
        } else if (param.typeId() == QMetaType::QString) {
            values << param.toString().toUtf8();
            types.push_back(kText);
        } else {
            values << QByteArray::number(param.toLongLong());
            types.push_back(kInt8);
        }
    }
    for (int i = 0; i < params.size(); ++i)
        pointers.push_back(params.at(i).isNull() ? nullptr : values.at(i).constData());
    PGresult* result = PQexecParams(m_connection, numbered(sql).constData(), int(params.size()), types.data(),
                                    pointers.data(), nullptr, nullptr, 0);
    const ExecStatusType status = PQresultStatus(result);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        const QString why =
            QString::fromUtf8(result ? PQresultErrorMessage(result) : PQerrorMessage(m_connection));
        PQclear(result);
        return fail(why);
    }
    if (rows)
        for (int r = 0, n = PQntuples(result); r < n; ++r) {
            SqlRow row;
            for (int c = 0, columns = PQnfields(result); c < columns; ++c) {
                if (PQgetisnull(result, r, c)) {
                    row << QVariant();
                    continue;
                }
                const char* text = PQgetvalue(result, r, c);
                const Oid type = PQftype(result, c);
                if (type == kInt2 || type == kInt4 || type == kInt8)
                    row << QVariant(QByteArray(text).toLongLong());
                else
                    row << QVariant(QString::fromUtf8(text, PQgetlength(result, r, c)));
            }
            rows->append(row);
        }
    PQclear(result);
    m_error.clear();
    return true;
}
