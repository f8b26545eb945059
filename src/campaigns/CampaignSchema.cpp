#include "CampaignSchema.h"

#include "SqlDatabase.h"

#include <QStringList>

namespace {

// Each migration is a list of statements; "%ID%" stands for the engine's own numbered key.
// Times are milliseconds since the epoch from the program's clock, never the database's.
// 1: campaigns, their items and every change of an item; the senders that claim them.
QStringList tables() {
    return {
        QStringLiteral("CREATE TABLE campaigns ("
                       " id %ID%,"
                       " created_at BIGINT NOT NULL,"
                       " created_by TEXT NOT NULL,"  // user@host
                       " data_folder TEXT NOT NULL," // the data folder it was created from
                       " road TEXT NOT NULL,"        // the kind of device: gsm, android
                       " message TEXT,"              // the one text, when every item has it
                       " options TEXT NOT NULL,"     // JSON: mode, flash, Unicode, pauses, reports
                       " state TEXT NOT NULL,"       // scheduled queued sending stopped finished cancelled
                       " total BIGINT NOT NULL DEFAULT 0,"
                       " resumes BIGINT REFERENCES campaigns(id)," // the campaign it goes on with
                       " start_at BIGINT, send_window TEXT, window_zone TEXT, end_at BIGINT,"
                       " started_at BIGINT, finished_at BIGINT,"
                       " reason TEXT NOT NULL DEFAULT '')"),
        QStringLiteral("CREATE INDEX campaigns_unfinished ON campaigns (data_folder, road, state, id)"),
        QStringLiteral("CREATE TABLE items ("
                       " id %ID%,"
                       " campaign BIGINT NOT NULL REFERENCES campaigns(id),"
                       " position BIGINT NOT NULL," // the list's order
                       " number TEXT NOT NULL,"     // as written
                       " number_e164 TEXT,"
                       " text TEXT NOT NULL,"
                       " state TEXT NOT NULL,"             // queued claimed sending done unknown
                       " status TEXT NOT NULL DEFAULT ''," // the final words
                       " current_status TEXT NOT NULL DEFAULT '',"
                       " use_status TEXT NOT NULL DEFAULT '',"
                       " device TEXT NOT NULL DEFAULT '',"
                       " attempts INTEGER NOT NULL DEFAULT 0,"
                       " outcome TEXT NOT NULL DEFAULT '',"        // what the device did (outcomeKey)
                       " outcome_detail TEXT NOT NULL DEFAULT ''," // the whole of it, as JSON
                       " refs TEXT NOT NULL DEFAULT '',"           // the network's references, one per part
                       " delivery TEXT NOT NULL DEFAULT '',"
                       " reports TEXT NOT NULL DEFAULT ''," // reference:status of each report
                       " last_failure TEXT NOT NULL DEFAULT '',"
                       " last_outcome TEXT NOT NULL DEFAULT ''," // JSON, while it waits to retry
                       " avoid_device TEXT NOT NULL DEFAULT '',"
                       " requeued_at BIGINT," // set while it waits for another attempt
                       " not_before BIGINT NOT NULL DEFAULT 0,"
                       " claimer TEXT, lease_until BIGINT,"
                       " changed_at BIGINT NOT NULL,"
                       " UNIQUE (campaign, position))"),
        // The claim's order: retries by when they came back, then the list's order.
        QStringLiteral("CREATE INDEX items_next ON items (campaign, state, requeued_at, position)"),
        QStringLiteral("CREATE INDEX items_number ON items (campaign, number, position)"),
        QStringLiteral("CREATE INDEX items_claimer ON items (claimer, state)"),
        QStringLiteral("CREATE TABLE events ("
                       " id %ID%,"
                       " campaign BIGINT NOT NULL,"
                       " position BIGINT NOT NULL,"
                       " at BIGINT NOT NULL,"
                       " state TEXT NOT NULL,"
                       " detail TEXT NOT NULL DEFAULT '',"
                       " claimer TEXT)"),
        QStringLiteral("CREATE INDEX events_campaign ON events (campaign, id)"),
        QStringLiteral("CREATE TABLE senders ("
                       " id TEXT PRIMARY KEY,"
                       " host TEXT NOT NULL,"
                       " pid BIGINT NOT NULL,"
                       " started_at BIGINT NOT NULL,"
                       " seen_at BIGINT NOT NULL)"),
    };
}

// 2: indexes that match the claim's two picks exactly, so that a pick costs the same at a
// thousand items and at a million on either engine (a server would otherwise read and sort
// every waiting item); the claimer index holds claimed items only.
QStringList claimIndexes() {
    return {
        QStringLiteral("DROP INDEX items_next"),
        QStringLiteral("DROP INDEX items_claimer"),
        QStringLiteral("CREATE INDEX items_state ON items (campaign, state)"),
        QStringLiteral("CREATE INDEX items_fresh ON items (campaign, position)"
                       " WHERE state = 'queued' AND requeued_at IS NULL"),
        QStringLiteral("CREATE INDEX items_retry ON items (campaign, requeued_at, position)"
                       " WHERE state = 'queued' AND requeued_at IS NOT NULL"),
        QStringLiteral("CREATE INDEX items_claimer ON items (claimer) WHERE claimer IS NOT NULL"),
    };
}

// 3: senders sharing a data folder or a server. A sender names the campaign it works on (a
// campaign a living sender holds is no run that broke off); a campaign names the one that
// resumed it (so that it is resumed once); and every sender's devices, as last seen.
QStringList sharing() {
    return {
        QStringLiteral("ALTER TABLE senders ADD COLUMN campaign BIGINT"),
        QStringLiteral("ALTER TABLE campaigns ADD COLUMN resumed_by BIGINT"),
        QStringLiteral("CREATE TABLE devices ("
                       " host TEXT NOT NULL,"
                       " road TEXT NOT NULL,"
                       " device TEXT NOT NULL,"             // the port, or the phone's serial
                       " sender TEXT NOT NULL,"             // user@host/pid of the process that uses it
                       " details TEXT NOT NULL DEFAULT ''," // maker, model, network
                       " signal TEXT NOT NULL DEFAULT '',"
                       " state TEXT NOT NULL,"
                       " limits TEXT NOT NULL DEFAULT '',"
                       " sent BIGINT NOT NULL DEFAULT 0,"
                       " failed BIGINT NOT NULL DEFAULT 0,"
                       " seen_at BIGINT NOT NULL,"
                       " PRIMARY KEY (host, road, device))"),
    };
}

// 4: the messages recipients send back, and the numbers that asked for no more. A campaign
// keeps the country its numbers were read in, and an item its number's E.164 form in it and
// when it last went to a device: a reply is matched to the latest campaign that texted its
// sender, whichever way the list wrote the number.
QStringList replies() {
    return {
        QStringLiteral("ALTER TABLE campaigns ADD COLUMN country TEXT NOT NULL DEFAULT ''"),
        QStringLiteral("ALTER TABLE items ADD COLUMN sent_at BIGINT"),
        QStringLiteral("CREATE INDEX items_e164 ON items (number_e164) WHERE number_e164 IS NOT NULL"),
        QStringLiteral("CREATE INDEX items_written ON items (number)"),
        QStringLiteral("CREATE TABLE received ("
                       " id %ID%,"
                       " device TEXT NOT NULL," // ICCID, IMEI or the phone's serial
                       " road TEXT NOT NULL,"
                       " sender TEXT NOT NULL,"                 // as received
                       " sender_e164 TEXT NOT NULL DEFAULT ''," // '' when it has none (a name)
                       " number TEXT NOT NULL,"                 // the sender as opt-outs name it
                       " text TEXT NOT NULL,"
                       " part_ref INTEGER NOT NULL DEFAULT 0,"   // a long message's reference
                       " part_total INTEGER NOT NULL DEFAULT 1," // and its number of parts
                       " parts TEXT NOT NULL DEFAULT '',"        // those that arrived: "1 2 3"
                       " complete INTEGER NOT NULL DEFAULT 1,"
                       " sent_at BIGINT NOT NULL DEFAULT 0,"        // the network's time stamp; 0 unknown
                       " received_at BIGINT NOT NULL,"              // when it was stored
                       " campaign BIGINT REFERENCES campaigns(id)," // the one it answers
                       " read_at BIGINT,"
                       " dedup TEXT NOT NULL UNIQUE)"), // the same message read twice is kept once
        QStringLiteral("CREATE INDEX received_campaign ON received (campaign, id)"),
        QStringLiteral("CREATE INDEX received_unread ON received (id) WHERE read_at IS NULL"),
        QStringLiteral("CREATE INDEX received_number ON received (number)"),
        // Every opt-out is kept, the ended ones too: when and how a person asked for no more
        // messages, and when and how they asked again, is what the operator may be asked for.
        QStringLiteral("CREATE TABLE opt_outs ("
                       " id %ID%,"
                       " number TEXT NOT NULL," // E.164, or as written when no country applies
                       " since BIGINT NOT NULL,"
                       " how TEXT NOT NULL," // keyword, operator, api
                       " message BIGINT REFERENCES received(id),"
                       " active INTEGER NOT NULL DEFAULT 1,"
                       " ended_at BIGINT, ended_how TEXT,"
                       " ended_message BIGINT REFERENCES received(id))"),
        QStringLiteral("CREATE UNIQUE INDEX opt_outs_active ON opt_outs (number) WHERE active = 1"),
        QStringLiteral("CREATE INDEX opt_outs_number ON opt_outs (number, id)"),
        QStringLiteral("CREATE INDEX opt_outs_message ON opt_outs (message)"),
        QStringLiteral("CREATE INDEX opt_outs_ended_message ON opt_outs (ended_message)"),
    };
}

// 5: send windows by the recipient's clock, and limits per SIM. Each item of a campaign with a
// window names the time zones its recipient may be in (one key per set of zones), so a claim
// looks only at the items whose window is open now, each key through its own index. Each item
// names the SIM (or phone) it went through, so what a SIM sent in the last minute, hour or day
// is counted over every campaign and every sender.
QStringList sendWindows() {
    return {
        QStringLiteral("ALTER TABLE items ADD COLUMN zone_key TEXT"),
        QStringLiteral("CREATE INDEX items_zone_fresh ON items (campaign, zone_key, position)"
                       " WHERE state = 'queued' AND requeued_at IS NULL"),
        QStringLiteral("ALTER TABLE items ADD COLUMN device_key TEXT"),
        QStringLiteral(
            "CREATE INDEX items_device_sent ON items (device_key, sent_at) WHERE device_key IS NOT NULL"),
    };
}

// 6: other programs sending through the HTTP API. Tokens are kept as hashes only; a request's
// idempotency key names the campaign it made, so a retry finds it instead of making another;
// webhooks and their outbox: one row per event and hook, written in the transaction of the
// change it reports, kept until delivered or given up.
QStringList api() {
    return {
        QStringLiteral("CREATE TABLE api_tokens ("
                       " id %ID%,"
                       " name TEXT NOT NULL UNIQUE,"
                       " hash TEXT NOT NULL UNIQUE," // SHA-256 of the token, hex
                       " created_at BIGINT NOT NULL,"
                       " revoked_at BIGINT)"),
        QStringLiteral("CREATE TABLE idempotency_keys ("
                       " token BIGINT NOT NULL,"
                       " key TEXT NOT NULL,"
                       " request_hash TEXT NOT NULL,"
                       " campaign BIGINT NOT NULL,"
                       " expires_at BIGINT NOT NULL,"
                       " PRIMARY KEY (token, key))"),
        QStringLiteral("CREATE TABLE webhooks ("
                       " id %ID%,"
                       " token BIGINT NOT NULL,"
                       " url TEXT NOT NULL,"
                       " events TEXT NOT NULL," // space-separated names
                       " secret TEXT NOT NULL,"
                       " created_at BIGINT NOT NULL,"
                       " failures INTEGER NOT NULL DEFAULT 0," // deliveries failed in a row
                       " disabled_at BIGINT,"
                       " disabled_reason TEXT NOT NULL DEFAULT '',"
                       " deleted_at BIGINT)"),
        QStringLiteral("CREATE TABLE outbox ("
                       " id %ID%,"
                       " webhook BIGINT NOT NULL,"
                       " event_id TEXT NOT NULL UNIQUE,"
                       " event TEXT NOT NULL,"
                       " body TEXT NOT NULL,"
                       " created_at BIGINT NOT NULL,"
                       " next_at BIGINT NOT NULL,"
                       " attempts INTEGER NOT NULL DEFAULT 0,"
                       " last_error TEXT NOT NULL DEFAULT '',"
                       " delivered_at BIGINT,"
                       " given_up_at BIGINT)"),
        QStringLiteral("CREATE INDEX outbox_pending ON outbox (webhook, id)"
                       " WHERE delivered_at IS NULL AND given_up_at IS NULL"),
    };
}

// In order; a migration once released is never changed, only followed by another.
const QList<QStringList>& migrations() {
    static const QList<QStringList> all{tables(), claimIndexes(), sharing(), replies(), sendWindows(), api()};
    return all;
}

QString forEngine(QString statement, SqlDatabase::Engine engine) {
    return statement.replace(QLatin1String("%ID%"), engine == SqlDatabase::Engine::Postgres
                                                        ? QLatin1String("BIGINT GENERATED BY DEFAULT AS "
                                                                        "IDENTITY PRIMARY KEY")
                                                        : QLatin1String("INTEGER PRIMARY KEY"));
}

// The server-wide lock the migrations of a shared database are applied under.
constexpr int kMigrationLock = 0x5315;

bool migrateLocked(SqlDatabase& db, QString* error);

} // namespace

int CampaignSchema::latest() { return int(migrations().size()); }

bool CampaignSchema::migrate(SqlDatabase& db, QString* error) {
    // Several senders may start at once on a shared server: one migrates, the others wait.
    const bool shared = db.engine() == SqlDatabase::Engine::Postgres;
    if (shared && !db.exec(QStringLiteral("SELECT pg_advisory_lock(%1)").arg(kMigrationLock))) {
        *error = db.error();
        return false;
    }
    const bool migrated = migrateLocked(db, error);
    if (shared)
        db.exec(QStringLiteral("SELECT pg_advisory_unlock(%1)").arg(kMigrationLock));
    return migrated;
}

namespace {

bool migrateLocked(SqlDatabase& db, QString* error) {
    const auto failed = [&] {
        *error = db.error();
        db.rollback();
        return false;
    };
    if (!db.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS schema_version (version INTEGER NOT NULL)")))
        return failed();
    for (;;) {
        if (!db.beginWrite())
            return failed();
        // Read inside the write transaction: two processes starting at once apply each step once.
        QList<SqlRow> rows;
        if (!db.exec(QStringLiteral("SELECT version FROM schema_version"), {}, &rows))
            return failed();
        const int version = rows.isEmpty() ? 0 : int(rows.first().value(0).toLongLong());
        if (version > CampaignSchema::latest()) {
            db.rollback();
            *error =
                QStringLiteral("%1: made by a newer version of this program (schema %2, this one knows %3)")
                    .arg(db.where())
                    .arg(version)
                    .arg(CampaignSchema::latest());
            return false;
        }
        if (version == CampaignSchema::latest()) {
            db.rollback();
            return true;
        }
        for (const QString& statement : migrations().at(version))
            if (!db.exec(forEngine(statement, db.engine())))
                return failed();
        const bool kept =
            rows.isEmpty() ? db.exec(QStringLiteral("INSERT INTO schema_version VALUES (?)"), {version + 1})
                           : db.exec(QStringLiteral("UPDATE schema_version SET version = ?"), {version + 1});
        if (!kept || !db.commit())
            return failed();
    }
}

} // namespace
