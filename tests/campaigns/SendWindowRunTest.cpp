// Claims under a send window by the recipient's clock, on the embedded file and on a shared
// server, with the time of day set by the test: exactly the recipients inside their window go,
// the others wait (and the run says for whom and until when), each as their morning comes; and
// a campaign past its end time leaves the rest unsent.
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "campaigns/StoredRun.h"
#include "core/Clock.h"
#include "core/FileUtils.h"
#include "core/WallClock.h"

#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace {

const QString kLondon = QStringLiteral("+447400123456");
const QString kNewYork = QStringLiteral("+12125550123");
const QString kSydney = QStringLiteral("+61293744000");

class SendWindowRunTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        if (QString why; !useStoreEngine(GetParam(), &why))
            GTEST_SKIP() << "no PostgreSQL server: " << why.toStdString();
        // The set time runs at the real pace here: a busy machine cannot carry a claim past an
        // opening the test did not ask for.
        savedScale = Clock::scale();
        Clock::setScale(1);
        qputenv("BULKSMS_FAKE_NOW_FILE", clockDir.filePath("now").toLocal8Bit());
        setNow("2026-06-15T10:00:00Z");
        Clock::readNowFromEnvironment();
        QString why;
        store = CampaignStore::forFolder(home.folder, &why);
        ASSERT_TRUE(store) << why.toStdString();
    }
    void TearDown() override {
        CampaignStore::useDatabase({});
        qunsetenv("BULKSMS_FAKE_NOW_FILE");
        Clock::readNowFromEnvironment();
        Clock::setScale(savedScale);
    }
    void setNow(const char* time) {
        ASSERT_TRUE(writeFileAtomically(clockDir.filePath("now"), time));
        QThread::msleep(10); // the clock looks at its file every few milliseconds
    }
    std::unique_ptr<StoredRun> begun(const RunSettings& settings) {
        auto run = std::make_unique<StoredRun>(
            store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), optionsOf(settings), 0});
        QList<SendingItem> items;
        for (const QString& n : {kSydney, kNewYork, kLondon}) {
            SendingItem item;
            item.number = n;
            item.message = QStringLiteral("Good morning");
            items << item;
        }
        run->begin(items, kGsmRoad);
        EXPECT_EQ(run->failure(), "");
        return run;
    }
    // The numbers the run hands out now, each sent at once.
    QStringList claimed(StoredRun& run) {
        QStringList numbers;
        while (const auto claim = run.claimNext("A", false, {}, {}, true)) {
            numbers << claim->item.number;
            SendOutcome answer = SendOutcome::of(Outcome::Sent, "");
            answer.device = "A";
            run.finish(claim->index, answer, "Done (A)", false);
        }
        EXPECT_EQ(run.failure(), "");
        return numbers;
    }

    TestDataHome home;
    QTemporaryDir clockDir;
    std::shared_ptr<CampaignStore> store;
    double savedScale = 1;
};

TEST_P(SendWindowRunTest, EachRecipientGoesInTheirOwnMorning) {
    RunSettings settings;
    settings.sendWindow = QStringLiteral("09:00-20:00");
    std::unique_ptr<StoredRun> run = begun(settings);
    // 10:00 UTC in June: 11:00 in London, 06:00 in New York, 20:00 in Sydney (closed).
    EXPECT_EQ(claimed(*run), QStringList{kLondon});
    EXPECT_EQ(run->waitNote(), "waiting for 09:00 in America/New_York (1 recipient)");
    EXPECT_TRUE(run->anyWaiting());
    setNow("2026-06-15T13:00:30Z");
    EXPECT_EQ(claimed(*run), QStringList{kNewYork});
    setNow("2026-06-15T22:45:00Z"); // 08:45 in Sydney
    EXPECT_EQ(claimed(*run), QStringList());
    setNow("2026-06-15T23:00:30Z");
    EXPECT_EQ(claimed(*run), QStringList{kSydney});
    EXPECT_FALSE(run->anyWaiting());
    run->end();
}

TEST_P(SendWindowRunTest, OneZoneForEveryoneAndAnEndTimeThatPasses) {
    RunSettings settings;
    settings.sendWindow = QStringLiteral("12:00-13:00");
    settings.windowZone = QStringLiteral("Europe/London");
    settings.until = QDateTime::fromString("2026-06-15T11:30:00Z", Qt::ISODate).toMSecsSinceEpoch();
    std::unique_ptr<StoredRun> run = begun(settings);
    // 11:00 in London (BST): the window opens at noon, after the end time.
    EXPECT_EQ(claimed(*run), QStringList());
    EXPECT_EQ(run->waitNote(), "waiting for 12:00 in Europe/London (3 recipients)");
    setNow("2026-06-15T11:30:00Z");
    EXPECT_EQ(claimed(*run), QStringList());
    EXPECT_FALSE(run->anyWaiting());
    for (const SendingItem& item : run->all())
        EXPECT_EQ(item.status, kEndTimePassed) << item.number.toStdString();
    run->end();
}

TEST_P(SendWindowRunTest, ALargeNewCampaignIsClaimedThroughItsZoneIndex) {
    // The store knows a small campaign, and its engine analysed it, before a large one comes: a
    // claim of the large one goes straight to a key's first waiting item, not through all of
    // them (a server's statistics, left as they were, would have it read every one).
    RunSettings settings;
    settings.sendWindow = QStringLiteral("09:00-20:00");
    begun(settings)->end();
    ASSERT_TRUE(store->write([](SqlDatabase& db) {
        return db.exec(db.engine() == SqlDatabase::Engine::Postgres ? "ANALYZE items" : "ANALYZE");
    }));
    QList<SendingItem> items(3000);
    for (int i = 0; i < items.size(); ++i) {
        items[i].number = (i % 2 ? QStringLiteral("+447400%1") : QStringLiteral("+1312%1")).arg(2000000 + i);
        items[i].message = QStringLiteral("Good morning");
    }
    QString why;
    const qint64 id = createCampaign(
        *store, {CampaignStore::folderKey(home.folder), kGsmRoad, optionsOf(settings), "queued"}, items,
        &why);
    ASSERT_NE(id, 0) << why.toStdString();
    QStringList plan;
    ASSERT_TRUE(store->read([&](SqlDatabase& db) {
        const bool sqlite = db.engine() == SqlDatabase::Engine::Sqlite;
        QList<SqlRow> rows;
        const bool read =
            db.exec(QString(sqlite ? "EXPLAIN QUERY PLAN" : "EXPLAIN") +
                        " SELECT position, number, text, number_e164 FROM items WHERE campaign = ?"
                        " AND state = 'queued' AND requeued_at IS NULL AND position >= ?"
                        " AND zone_key = ? ORDER BY position LIMIT 1",
                    {id, 0, "Europe/London"}, &rows);
        for (const SqlRow& row : rows)
            plan << row.value(sqlite ? 3 : 0).toString();
        return read;
    }));
    EXPECT_TRUE(plan.join('\n').contains("items_zone_fresh")) << plan.join('\n').toStdString();
    EXPECT_FALSE(plan.join('\n').contains("Sort")) << plan.join('\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(Engines, SendWindowRunTest, ::testing::Values("sqlite", "postgresql"),
                         [](const ::testing::TestParamInfo<const char*>& info) { return info.param; });

} // namespace
