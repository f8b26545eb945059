#include "UnfinishedCampaign.h"

#include "CampaignQueries.h"
#include "CampaignSenders.h"
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
            // Newest first; a campaign a living sender holds is no run that broke off (asked for
            // by its id, it is as it stands: its continuation refuses it while it is held), and
            // one resumed already goes on elsewhere.
            QList<SqlRow> candidates;
            if (!db.exec(
                    wanted ? QStringLiteral("SELECT id FROM campaigns WHERE id = ? AND road = ?"
                                            " AND state = 'sending' AND resumed_by IS NULL")
                           : QStringLiteral("SELECT id FROM campaigns WHERE data_folder = ? AND road = ?"
                                            " AND state = 'sending' AND resumed_by IS NULL ORDER BY id DESC"),
                    {wanted ? QVariant(wanted) : QVariant(dataFolder), road}, &candidates))
                return false;
            QVariant id;
            for (const SqlRow& candidate : candidates)
                if (wanted || !campaignHeld(db, candidate.value(0).toLongLong())) {
                    id = candidate.value(0);
                    break;
                }
            if (!id.isValid())
                return true;
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
                QStringLiteral("UPDATE campaigns SET state = ?, finished_at = ?, reason = ? WHERE id = ?"
                               " AND resumed_by IS NULL"),
                {state, CampaignStore::now(), reason, id});
        },
        error);
}
