#include "OptOuts.h"

#include "CampaignNumbers.h"
#include "CampaignStore.h"
#include "Webhooks.h"
#include "text/NumberRules.h"

namespace {

const QString kOptOutColumns =
    QStringLiteral("id, number, since, how, COALESCE(message, 0), active, COALESCE(ended_at, 0),"
                   " COALESCE(ended_how, ''), COALESCE(ended_message, 0)");

OptOut optOutOf(const SqlRow& r) {
    return OptOut{r.value(0).toLongLong(), r.value(1).toString(),   r.value(2).toLongLong(),
                  r.value(3).toString(),   r.value(4).toLongLong(), r.value(5).toLongLong() == 1,
                  r.value(6).toLongLong(), r.value(7).toString(),   r.value(8).toLongLong()};
}

QVariant messageValue(qint64 message) { return message ? QVariant(message) : QVariant(); }

} // namespace

QString optOutNumber(const QString& written) {
    const QString cleaned = normaliseNumberText(written);
    if (!isPhoneNumber(cleaned))
        return {};
    const QString e164 = CampaignNumbers({}).e164(cleaned);
    return e164.isEmpty() ? cleaned : e164;
}

bool optOutWithin(SqlDatabase& db, const QString& number, const QString& how, qint64 message, qint64 now,
                  bool* changed) {
    QList<SqlRow> rows;
    // Two senders storing a STOP of one number at once: the second finds it opted out.
    const bool kept =
        db.exec(QStringLiteral("INSERT INTO opt_outs (number, since, how, message, active)"
                               " VALUES (?, ?, ?, ?, 1)"
                               " ON CONFLICT (number) WHERE active = 1 DO NOTHING RETURNING id"),
                {number, now, how, messageValue(message)}, &rows);
    if (changed)
        *changed = kept && !rows.isEmpty();
    return kept && (rows.isEmpty() || addOptOutEvent(db, number, how, now));
}

bool optInWithin(SqlDatabase& db, const QString& number, const QString& how, qint64 message, qint64 now,
                 bool* changed) {
    QList<SqlRow> rows;
    const bool kept =
        db.exec(QStringLiteral("UPDATE opt_outs SET active = 0, ended_at = ?, ended_how = ?,"
                               " ended_message = ? WHERE number = ? AND active = 1 RETURNING id"),
                {now, how, messageValue(message), number}, &rows);
    if (changed)
        *changed = kept && !rows.isEmpty();
    return kept;
}

bool activeOptOutWithin(SqlDatabase& db, const QString& number, std::optional<OptOut>* active) {
    QList<SqlRow> rows;
    if (!db.exec(
            QStringLiteral("SELECT %1 FROM opt_outs WHERE number = ? AND active = 1").arg(kOptOutColumns),
            {number}, &rows))
        return false;
    *active = rows.isEmpty() ? std::nullopt : std::optional(optOutOf(rows.first()));
    return true;
}

bool optedOutWithin(SqlDatabase& db, const QStringList& numbers, bool* optedOut) {
    *optedOut = false;
    for (const QString& number : numbers) {
        if (number.isEmpty())
            continue;
        QList<SqlRow> rows;
        if (!db.exec(QStringLiteral("SELECT 1 FROM opt_outs WHERE number = ? AND active = 1"), {number},
                     &rows))
            return false;
        if (!rows.isEmpty()) {
            *optedOut = true;
            return true;
        }
    }
    return true;
}

bool addOptOut(CampaignStore& store, const QString& number, const QString& how, QString* error) {
    const QString key = optOutNumber(number);
    if (key.isEmpty()) {
        if (error)
            *error = QStringLiteral("Not a phone number: %1").arg(number.trimmed());
        return false;
    }
    const qint64 now = CampaignStore::now();
    return store.write([&](SqlDatabase& db) { return optOutWithin(db, key, how, 0, now); }, error);
}

bool removeOptOut(CampaignStore& store, const QString& number, const QString& how, QString* error) {
    const QString key = optOutNumber(number);
    if (key.isEmpty()) {
        if (error)
            *error = QStringLiteral("Not a phone number: %1").arg(number.trimmed());
        return false;
    }
    const qint64 now = CampaignStore::now();
    return store.write([&](SqlDatabase& db) { return optInWithin(db, key, how, 0, now); }, error);
}

std::optional<QList<OptOut>> listOptOuts(CampaignStore& store, bool activeOnly, QString* error) {
    QList<SqlRow> rows;
    if (!store.read(
            [&](SqlDatabase& db) {
                return db.exec(QStringLiteral("SELECT %1 FROM opt_outs WHERE (? = 0 OR active = 1)"
                                              " ORDER BY since DESC, id DESC")
                                   .arg(kOptOutColumns),
                               {activeOnly ? 1 : 0}, &rows);
            },
            error))
        return std::nullopt;
    QList<OptOut> optOuts;
    for (const SqlRow& row : rows)
        optOuts << optOutOf(row);
    return optOuts;
}

std::optional<bool> isOptedOut(CampaignStore& store, const QString& number, QString* error) {
    bool optedOut = false;
    if (!store.read([&](SqlDatabase& db) { return optedOutWithin(db, {optOutNumber(number)}, &optedOut); },
                    error))
        return std::nullopt;
    return optedOut;
}
