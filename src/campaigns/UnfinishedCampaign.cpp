#include "UnfinishedCampaign.h"

#include "CampaignQueries.h"
#include "CampaignStore.h"
#include "device/SendOutcome.h"
#include "sending/SendingItems.h"

int UnfinishedCampaign::sent() const {
    int sent = 0;
    for (const Entry& entry : entries)
        sent += entry.sent;
    return sent;
}

namespace {

// An item as a resume sees it (number, text, state, status, delivery, outcome, use status).
UnfinishedCampaign::Entry entryOf(const SqlRow& row) {
    UnfinishedCampaign::Entry entry;
    entry.number = row.value(0).toString();
    entry.message = row.value(1).toString();
    const QString state = row.value(2).toString();
    const bool inHand = state == QLatin1String("sending");
    entry.unknown = inHand || state == QLatin1String("unknown") ||
                    row.value(5).toString() == outcomeKey(Outcome::Unknown);
    // Stopped when the run broke off for its data, or only claimed: it never left, and waits again.
    const bool waiting = state == QLatin1String("queued") || state == QLatin1String("claimed") ||
                         row.value(6).toString() == QLatin1String("stopped");
    entry.status = inHand ? kStatusUnknown : waiting ? QString() : row.value(3).toString();
    entry.delivery = row.value(4).toString();
    Outcome outcome{};
    entry.sent = outcomeFromKey(row.value(5).toString(), &outcome) && SendOutcome::of(outcome).delivered();
    return entry;
}

} // namespace

std::optional<UnfinishedCampaign> unfinishedCampaign(CampaignStore& store, const QString& dataFolder,
                                                     const QString& road, QString* error, qint64 wanted) {
    std::optional<UnfinishedCampaign> found;
    const bool read = store.write(
        [&](SqlDatabase& db) {
            // A stopped campaign is asked for by its id; once another goes on with it, its
            // recipients still to be sent are that one's.
            const QVariant id =
                wanted
                    ? db.value(QStringLiteral("SELECT id FROM campaigns c WHERE id = ? AND road = ?"
                                              " AND (state = 'sending' OR (state = 'stopped' AND NOT EXISTS"
                                              " (SELECT 1 FROM campaigns r WHERE r.resumes = c.id)))"),
                               {wanted, road})
                    : db.value(QStringLiteral("SELECT id FROM campaigns WHERE data_folder = ? AND road = ?"
                                              " AND state = 'sending' ORDER BY id DESC LIMIT 1"),
                               {dataFolder, road});
            if (!id.isValid())
                return db.error().isEmpty();
            // The claims of senders that are gone: what they were handing over may have gone,
            // what they had only claimed did not. What a living sender holds reads the same way.
            QList<SqlRow> rows;
            if (!releaseAbandonedClaims(db, id.toLongLong()) ||
                !db.exec(QStringLiteral(
                             "SELECT number, text, state, status, delivery, outcome, use_status FROM items"
                             " WHERE campaign = ? ORDER BY position"),
                         {id}, &rows))
                return false;
            UnfinishedCampaign campaign;
            campaign.id = id.toLongLong();
            campaign.road = road;
            for (const SqlRow& row : rows)
                campaign.entries << entryOf(row);
            found = campaign;
            return true;
        },
        error);
    return read ? found : std::nullopt;
}

bool closeCampaign(CampaignStore& store, qint64 id, const QString& state, const QString& reason,
                   QString* error) {
    return store.write(
        [&](SqlDatabase& db) {
            return db.exec(
                QStringLiteral("UPDATE campaigns SET state = ?, finished_at = ?, reason = ? WHERE id = ?"),
                {state, CampaignStore::now(), reason, id});
        },
        error);
}
