// Claims under a send window by the recipient's clock: campaigns of 1,000, 10,000 and 100,000
// recipients spread over many zones (mobiles and landlines of London, New York, Chicago,
// Sydney, Moscow and more, and numbers of no known country), with a 09:00-20:00 window, at an
// instant when about half the zones are closed. For each size: what creating the campaign
// costs, what a claim and its finish cost from the start and from the middle of the list, and
// what a claim that finds nothing costs once every open zone is exhausted (the first of those
// also says whom the run waits for, which it does once a minute at most). On SQLite and on a
// throwaway PostgreSQL server. The sizes are measured in turns of a hundred claims, so that a
// machine busy with other work weighs on each alike. Prints figures beside their targets, never
// asserts on time. --quick: a tenth of every count.
#include "PostgresCluster.h"

#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/RecipientWindow.h"
#include "campaigns/StoredRun.h"
#include "core/DataFolder.h"
#include "core/Log.h"
#include "core/WallClock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <vector>

namespace {

// 15:10 UTC on a June Monday: open in London, Berlin, Moscow, New York, Chicago, Denver and
// UTC (this computer's zone, which numbers of no known country are taken to be in); closed in
// Los Angeles, Phoenix, Honolulu, Sydney and Tokyo, and for numbers whose area spans zones
// (Alaska: every US zone; Australian and Russian mobiles). No window opens or closes for the
// next 50 minutes.
constexpr const char* kInstant = "2026-06-15T15:10:00Z";
const QString kWindow = QStringLiteral("09:00-20:00");

// Where the recipients are: a number is the prefix followed by a serial of `digits` digits.
struct Place {
    const char* name;
    const char* prefix;
    int digits;
};
constexpr Place kPlaces[] = {
    {"London mobile", "+447400", 6}, {"London", "+44207946", 4},    {"Berlin", "+49302", 7},
    {"Moscow", "+7495", 7},          {"Moscow mobile", "+7916", 7}, {"New York", "+1212", 7},
    {"New York mobile", "+1917", 7}, {"Chicago", "+1312", 7},       {"Chicago mobile", "+1773", 7},
    {"Denver", "+1303", 7},          {"Los Angeles", "+1213", 7},   {"Phoenix", "+1602", 7},
    {"Alaska", "+1907", 7},          {"Honolulu", "+1808", 7},      {"Sydney", "+61293", 6},
    {"Sydney mobile", "+61412", 6},  {"Tokyo", "+81352", 6},        {"no country", "0612", 6},
    {"no country, short", "555", 5},
};
constexpr int kPlaceCount = int(std::size(kPlaces));

QString numberAt(int i) {
    const Place& place = kPlaces[i % kPlaceCount];
    // Away from the all-zeros and test ranges: the serial starts at 2 followed by zeros.
    const qint64 serial = 2 * qint64(std::pow(10, place.digits - 1)) + i / kPlaceCount;
    return QString::fromLatin1(place.prefix) + QString::number(serial);
}

QList<SendingItem> itemsOf(int count) {
    QList<SendingItem> items(count);
    for (int i = 0; i < count; ++i) {
        items[i].number = numberAt(i);
        items[i].message = QStringLiteral("Good afternoon");
    }
    return items;
}

RunSettings windowed() {
    RunSettings settings;
    settings.sendWindow = kWindow;
    return settings;
}

double msSince(const QElapsedTimer& timer) { return double(timer.nsecsElapsed()) / 1e6; }

void flush() { std::fflush(stdout); }

// The zone keys of a campaign's waiting items, each with how many wait and whether its window
// is open now.
struct Key {
    int waiting = 0;
    bool open = false;
};
QMap<QString, Key> keysOf(CampaignStore& store, qint64 campaign) {
    QMap<QString, Key> keys;
    std::optional<RecipientWindow> window = RecipientWindow::of(windowed());
    store.read([&](SqlDatabase& db) {
        QList<SqlRow> rows;
        db.exec(QStringLiteral("SELECT zone_key, COUNT(*) FROM items WHERE campaign = ? AND state = 'queued'"
                               " GROUP BY zone_key"),
                {campaign}, &rows);
        for (const SqlRow& row : rows)
            keys.insert(row.value(0).toString(), {int(row.value(1).toLongLong()),
                                                  window->isOpen(row.value(0).toString(), Clock::nowMs())});
        return true;
    });
    return keys;
}

void printKeys(const QMap<QString, Key>& keys) {
    int open = 0, waitingOpen = 0, waiting = 0;
    for (auto it = keys.cbegin(); it != keys.cend(); ++it) {
        std::printf("    %-6s %6d  %s\n", it->open ? "open" : "closed", it->waiting,
                    qPrintable(it.key().size() > 70 ? it.key().left(67) + QStringLiteral("...") : it.key()));
        open += it->open ? 1 : 0;
        waitingOpen += it->open ? it->waiting : 0;
        waiting += it->waiting;
    }
    std::printf("  %d of %d zone keys open at %s, %d of %d recipients inside their window\n", open,
                int(keys.size()), kInstant, waitingOpen, waiting);
}

// How the claim reaches a key's first waiting item, as the engine plans it.
void printPlan(CampaignStore& store, qint64 campaign, const QString& key) {
    store.read([&](SqlDatabase& db) {
        const bool sqlite = db.engine() == SqlDatabase::Engine::Sqlite;
        QList<SqlRow> rows;
        db.exec((sqlite ? QStringLiteral("EXPLAIN QUERY PLAN ") : QStringLiteral("EXPLAIN ")) +
                    QStringLiteral("SELECT position, number, text, number_e164 FROM items WHERE campaign = ?"
                                   " AND state = 'queued' AND requeued_at IS NULL AND position >= ?"
                                   " AND zone_key = ? ORDER BY position LIMIT 1"),
                {campaign, 0, key}, &rows);
        for (const SqlRow& row : rows)
            std::printf("    plan: %s\n", qPrintable(row.value(sqlite ? 3 : 0).toString()));
        return true;
    });
}

bool sqlWrite(CampaignStore& store, const QString& statement, const QVariantList& values) {
    QString why;
    if (store.write([&](SqlDatabase& db) { return db.exec(statement, values); }, &why))
        return true;
    std::printf("  refused: %s\n", qPrintable(why));
    return false;
}

// A campaign being measured: its run, and the time its claims took so far.
struct Measured {
    int recipients = 0;
    int claims = 0; // how many each phase measures
    qint64 id = 0;
    QStringList open;
    std::unique_ptr<StoredRun> run;
    double createSeconds = 0, firstEmptyMs = 0;
    double ms = 0; // of the phase under way
    int got = 0;
    double startMs = 0, middleMs = 0, emptyMs = 0; // means
};

// Up to `count` claims of the campaign, each finished at once (or, `empty`, claims expected to
// find nothing), added to its phase's time.
void claimSome(Measured& m, int count, bool empty) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i) {
        const std::optional<RunRecord::Claim> claim =
            m.run->claimNext(QStringLiteral("A"), false, {}, {}, true);
        if (!claim) {
            if (!empty)
                break;
            ++m.got;
            continue;
        }
        if (empty)
            std::printf("  unexpected: a claim found an item\n");
        SendOutcome sent = SendOutcome::of(Outcome::Sent, QString());
        sent.device = QStringLiteral("A");
        m.run->finish(claim->index, sent, QStringLiteral("Done (A)"), false);
        ++m.got;
    }
    m.ms += msSince(timer);
}

// One phase over every campaign, in rounds of a hundred claims each: a machine busy with
// other work slows every size alike. The mean of each campaign's claims.
void phase(std::vector<Measured>& all, bool empty, double Measured::*mean) {
    for (Measured& m : all)
        m.ms = 0, m.got = 0;
    for (bool more = true; more;) {
        more = false;
        for (Measured& m : all) {
            const int before = m.got;
            if (m.got < m.claims)
                claimSome(m, std::min(100, m.claims - m.got), empty);
            more = more || (m.got > before && m.got < m.claims);
        }
    }
    for (Measured& m : all) {
        m.*mean = m.got ? m.ms / m.got : 0;
        if (m.got < m.claims)
            std::printf("  (%d recipients: only %d of %d claims found an item)\n", m.recipients, m.got,
                        m.claims);
    }
}

// The campaign created, its keys read and its run begun; false when the store refused.
bool prepare(const char* engine, CampaignStore& store, Measured& m, bool showKeys) {
    QString why;
    const DataFolder folder = DataFolder::fromEnvironment();
    const QString options = optionsOf(windowed());
    const QList<SendingItem> items = itemsOf(m.recipients);
    QElapsedTimer timer;
    timer.start();
    m.id = createCampaign(
        store, {CampaignStore::folderKey(folder), kGsmRoad, options, QStringLiteral("queued")}, items, &why);
    m.createSeconds = msSince(timer) / 1000;
    if (m.id == 0) {
        std::printf("  %-10s %6d recipients: refused: %s\n", engine, m.recipients, qPrintable(why));
        return false;
    }
    const QMap<QString, Key> keys = keysOf(store, m.id);
    if (showKeys)
        printKeys(keys);
    for (auto it = keys.cbegin(); it != keys.cend(); ++it)
        if (it->open)
            m.open << it.key();
    // As the server plans a claim of the new campaign.
    if (showKeys && !m.open.isEmpty())
        printPlan(store, m.id, m.open.first());
    m.run =
        std::make_unique<StoredRun>(CampaignStore::forFolder(folder, &why),
                                    StoredRun::Campaign{CampaignStore::folderKey(folder), options, 0, m.id});
    m.run->begin({}, kGsmRoad);
    if (!m.run->failure().isEmpty()) {
        std::printf("  %-10s the run did not begin: %s\n", engine, qPrintable(m.run->failure()));
        return false;
    }
    // The first claim also reads the campaign's keys: left out of the figures.
    claimSome(m, 1, false);
    return true;
}

void onEngine(const char* engine, const QList<int>& sizes, int claims) {
    QString why;
    const std::shared_ptr<CampaignStore> store =
        CampaignStore::forFolder(DataFolder::fromEnvironment(), &why);
    if (!store) {
        std::printf("  %-10s not measured: %s\n", engine, qPrintable(why));
        return;
    }
    std::vector<Measured> all(sizes.size());
    for (int i = 0; i < sizes.size(); ++i) {
        all[i].recipients = sizes[i];
        // A thousand recipients hold fewer than 2,000 inside their window.
        all[i].claims = std::min(claims, sizes[i] / 5);
        if (!prepare(engine, *store, all[i], sizes[i] == sizes.last()))
            return;
    }
    phase(all, false, &Measured::startMs);
    // The first half of each list sent by other senders: the run picks up where they are.
    for (Measured& m : all)
        if (!sqlWrite(*store,
                      QStringLiteral("UPDATE items SET state = 'done', status = 'Sent', use_status = 'done'"
                                     " WHERE campaign = ? AND state = 'queued' AND position < ?"),
                      {m.id, m.recipients / 2}))
            return;
    phase(all, false, &Measured::middleMs);
    // Every open key exhausted: only the closed ones wait. The first claim then also says whom
    // the run waits for.
    for (Measured& m : all) {
        if (!sqlWrite(*store,
                      QStringLiteral("UPDATE items SET state = 'done', status = 'Sent', use_status = 'done'"
                                     " WHERE campaign = ? AND state = 'queued' AND zone_key IN (%1)")
                          .arg(QStringList(int(m.open.size()), QStringLiteral("?")).join(QLatin1Char(','))),
                      QVariantList{m.id} + QVariant(m.open).toList()))
            return;
        m.ms = 0, m.got = 0;
        claimSome(m, 1, true);
        m.firstEmptyMs = m.ms;
    }
    phase(all, true, &Measured::emptyMs);
    for (Measured& m : all) {
        if (m.run->waitNote().isEmpty())
            std::printf("  unexpected: the run does not say whom it waits for\n");
        std::printf("  %-10s %6d recipients: created in %6.2f s; a claim and its finish %6.3f ms from the"
                    " start, %6.3f ms from the middle; nothing open: %6.3f ms, the first %7.2f ms (%s)\n",
                    engine, m.recipients, m.createSeconds, m.startMs, m.middleMs, m.emptyMs, m.firstEmptyMs,
                    qPrintable(m.run->waitNote()));
        m.run->abandon();
    }
    const Measured& small = all.front();
    const Measured& large = all.back();
    const auto ratio = [](double l, double s) { return s > 0 ? l / s : 0.0; };
    std::printf("  %-10s %d vs %d recipients: a claim costs x%.2f from the start, x%.2f from the middle,"
                " x%.2f with nothing open (target <= 2)\n",
                engine, large.recipients, small.recipients, ratio(large.startMs, small.startMs),
                ratio(large.middleMs, small.middleMs), ratio(large.emptyMs, small.emptyMs));
    flush();
}

} // namespace

int main(int argc, char** argv) {
    // The time of day is set, then runs at the real pace: every window stays as it is while
    // the benchmark runs.
    qputenv("BULKSMS_FAKE_NOW", kInstant);
    qunsetenv("BULKSMS_FAKE_NOW_FILE");
    QCoreApplication app(argc, argv);
    Clock::readNowFromEnvironment();
    setLogToStandardError(qEnvironmentVariableIsSet("BENCH_VERBOSE"));
    const int divisor = QCoreApplication::arguments().contains(QLatin1String("--quick")) ? 10 : 1;

    QTemporaryDir home;
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(home.path()));
    const DataFolder folder = DataFolder::fromEnvironment();
    folder.adoptForProcess();
    if (!folder.Check_Path_And_Create_Files())
        return 1;

    const QList<int> sizes{1000 / divisor, 10000 / divisor, 100000 / divisor};
    const int claims = 2000 / divisor;
    std::printf("Quiet hours, window %s by the recipient's clock, at %s; %d places; up to %d claims from"
                " the start and from the middle of each campaign\n",
                qPrintable(kWindow), kInstant, kPlaceCount, claims);
    CampaignStore::useDatabase({});
    onEngine("SQLite", sizes, claims);
    QString why;
    if (PostgresCluster* cluster = PostgresCluster::shared(&why)) {
        CampaignStore::useDatabase(cluster->newDatabase());
        onEngine("PostgreSQL", sizes, claims);
        CampaignStore::useDatabase({});
    } else {
        std::printf("  %-10s not measured: %s\n", "PostgreSQL", qPrintable(why));
    }
    return 0;
}
