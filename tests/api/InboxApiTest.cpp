// The inbox and the devices through the HTTP API with a real client: replies read oldest first
// a page at a time to the end, each once, without being marked read; filtered by time and by
// campaign; and the devices every sender wrote, as written.
#include "ApiFixture.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/Replies.h"
#include "campaigns/StoredDevices.h"

namespace {

constexpr qint64 kHour = qint64(3600) * 1000;

class InboxApiTest : public ApiFixture {
protected:
    // A campaign whose items all went out through device "A"; its id.
    qint64 sentTo(const QStringList& numbers) {
        StoredRun run(store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), "{}", 0});
        QList<SendingItem> items;
        for (const QString& n : numbers) {
            SendingItem item;
            item.number = n;
            item.message = QStringLiteral("Spring sale");
            items << item;
        }
        run.begin(items, kGsmRoad);
        while (const auto claim = run.claimNext("A", false, {}, {}, true)) {
            run.handing(claim->index, "A");
            SendOutcome answer = SendOutcome::of(Outcome::Sent);
            answer.device = "A";
            run.finish(claim->index, answer, "Done (A)", false);
        }
        run.end();
        return run.campaignId();
    }
    // Kept as a modem's SIM hands it over; its id.
    qint64 received(const QString& sender, const QString& text, qint64 sentAt = 0) {
        ReceivedMessage m;
        m.device = QStringLiteral("8944100000000000001");
        m.road = kGsmRoad;
        m.sender = sender;
        m.text = text;
        m.sentAt = sentAt;
        QString why;
        const std::optional<StoredReply> kept = storeReceived(*store, m, {}, &why);
        EXPECT_TRUE(kept) << why.toStdString();
        return kept ? kept->id : 0;
    }
    // Every message of the inbox for the query, read a page at a time to the end.
    QJsonArray everyPage(const QString& query, int limit, int* pages) {
        QJsonArray all;
        QString after;
        *pages = 0;
        for (;;) {
            const HttpAnswer page =
                get(QStringLiteral("/v1/inbox?limit=%1%2%3").arg(limit).arg(query, after), token);
            EXPECT_EQ(page.status, 200) << page.body.toStdString();
            if (page.status != 200 || ++*pages > 20)
                return all;
            for (const QJsonValue m : page.json().object().value("messages").toArray())
                all.append(m);
            const QJsonValue next = page.json().object().value("next");
            if (next.isNull())
                return all;
            after = QStringLiteral("&after=%1").arg(next.toInteger());
        }
    }
};

TEST_P(InboxApiTest, RepliesArePagedOldestFirstToTheEndWithoutBeingMarkedRead) {
    const qint64 campaign = sentTo({"+447400123456"});
    // The network's stamp: a whole second after the campaign went (a reply never answers a later text).
    const qint64 networkTime = (CampaignStore::now() / 1000 + 1) * 1000;
    QList<qint64> ids;
    for (int i = 0; i < 3; ++i)
        ids << received("+447400123456", QStringLiteral("Answer %1").arg(i), networkTime);
    ids << received("+447400999999", "Who is this?") << received("MyBank", "Your code is 1234");
    ids << received("+447400123456", "Answer 3");

    int pages = 0;
    const QJsonArray all = everyPage({}, 2, &pages);
    EXPECT_EQ(pages, 3);
    ASSERT_EQ(all.size(), 6);
    for (int i = 0; i < all.size(); ++i)
        EXPECT_EQ(all.at(i).toObject().value("id").toInteger(), ids.at(i)) << i;

    const QJsonObject first = all.at(0).toObject();
    EXPECT_EQ(first.value("from").toString(), "+447400123456");
    EXPECT_EQ(first.value("from_e164").toString(), "+447400123456");
    EXPECT_EQ(first.value("text").toString(), "Answer 0");
    EXPECT_EQ(QDateTime::fromString(first.value("sent").toString(), Qt::ISODateWithMs).toMSecsSinceEpoch(),
              networkTime);
    EXPECT_TRUE(first.value("sent").toString().endsWith(".000Z"));
    EXPECT_EQ(first.value("campaign").toInteger(), campaign);
    EXPECT_EQ(first.value("device").toString(), "8944100000000000001");
    EXPECT_EQ(first.value("road").toString(), "gsm");
    EXPECT_TRUE(first.value("complete").toBool());
    EXPECT_FALSE(first.value("read").toBool());
    const qint64 kept =
        QDateTime::fromString(first.value("received").toString(), Qt::ISODateWithMs).toMSecsSinceEpoch();
    EXPECT_LE(qAbs(kept - CampaignStore::now()), 60000) << first.value("received").toString().toStdString();
    // A name: no number, no campaign, no network time.
    const QJsonObject bank = all.at(4).toObject();
    EXPECT_TRUE(bank.value("from_e164").isNull());
    EXPECT_TRUE(bank.value("campaign").isNull());
    EXPECT_TRUE(all.at(3).toObject().value("campaign").isNull());
    EXPECT_TRUE(all.at(3).toObject().value("sent").isNull());

    // Reading through the API left every message unread; the operator's reading shows.
    const std::optional<QList<ReceivedRow>> unread = listReceived(*store, {.unreadOnly = true});
    ASSERT_TRUE(unread);
    EXPECT_EQ(unread->size(), 6);
    ASSERT_TRUE(markRead(*store, {ids.at(1)}));
    const QJsonArray again = get("/v1/inbox", token).json().object().value("messages").toArray();
    ASSERT_EQ(again.size(), 6);
    EXPECT_TRUE(again.at(1).toObject().value("read").toBool());
    EXPECT_FALSE(again.at(2).toObject().value("read").toBool());
    // Newest first, a page at a time before its cursor: the latest replies, as a dashboard shows them.
    const QJsonObject latest = get("/v1/inbox?order=newest&limit=4", token).json().object();
    const QJsonArray newest = latest.value("messages").toArray();
    ASSERT_EQ(newest.size(), 4);
    EXPECT_EQ(newest.at(0).toObject().value("id").toInteger(), ids.at(5));
    EXPECT_EQ(newest.at(3).toObject().value("id").toInteger(), ids.at(2));
    const QJsonArray older =
        get(QStringLiteral("/v1/inbox?order=newest&before=%1").arg(latest.value("next").toInteger()), token)
            .json()
            .object()
            .value("messages")
            .toArray();
    ASSERT_EQ(older.size(), 2);
    EXPECT_EQ(older.at(0).toObject().value("id").toInteger(), ids.at(1));
    // After the last cursor there is nothing new, until a reply comes.
    const QString afterLast = QStringLiteral("/v1/inbox?after=%1").arg(ids.last());
    EXPECT_TRUE(get(afterLast, token).json().object().value("messages").toArray().isEmpty());
    const qint64 later = received("+447400123456", "One more");
    const QJsonArray fresh = get(afterLast, token).json().object().value("messages").toArray();
    ASSERT_EQ(fresh.size(), 1);
    EXPECT_EQ(fresh.at(0).toObject().value("id").toInteger(), later);
}

TEST_P(InboxApiTest, CampaignAndSinceFilterWhatIsRead) {
    const qint64 campaign = sentTo({"+447400123456", "+447400123457"});
    const qint64 other = sentTo({"+447400555000"});
    const qint64 a = received("+447400123456", "Yes");
    const qint64 b = received("+447400999999", "Wrong number");
    const qint64 c = received("+447400123457", "No");
    const qint64 d = received("+447400555000", "Maybe");
    // The first two were kept a day ago.
    const qint64 dayAgo = CampaignStore::now() - 24 * kHour;
    ASSERT_TRUE(store->write([&](SqlDatabase& db) {
        return db.exec("UPDATE received SET received_at = ? WHERE id IN (?, ?)", {dayAgo, a, b});
    }));
    const auto idsOf = [&](const QString& query) {
        QList<qint64> ids;
        int pages = 0;
        for (const QJsonValue m : everyPage(query, 1, &pages))
            ids << m.toObject().value("id").toInteger();
        return ids;
    };
    EXPECT_EQ(idsOf(QStringLiteral("&campaign=%1").arg(campaign)), (QList<qint64>{a, c}));
    EXPECT_EQ(idsOf(QStringLiteral("&campaign=%1").arg(other)), (QList<qint64>{d}));
    EXPECT_EQ(idsOf("&campaign=0"), (QList<qint64>{b}));
    EXPECT_EQ(idsOf("&campaign=999"), (QList<qint64>{}));
    const QString hourAgo =
        QDateTime::fromMSecsSinceEpoch(CampaignStore::now() - kHour, Qt::UTC).toString(Qt::ISODate);
    EXPECT_EQ(idsOf("&since=" + hourAgo), (QList<qint64>{c, d}));
    EXPECT_EQ(idsOf(QStringLiteral("&since=%1&campaign=%2").arg(hourAgo).arg(campaign)), (QList<qint64>{c}));
    // An offset other than Z is the same moment; "+" comes encoded in a query.
    const QString inParis = QDateTime::fromMSecsSinceEpoch(CampaignStore::now() - kHour, Qt::UTC)
                                .toOffsetFromUtc(3600)
                                .toString(Qt::ISODate)
                                .replace("+", "%2B");
    EXPECT_EQ(idsOf("&since=" + inParis), (QList<qint64>{c, d}));
    // Left unencoded, the "+" arrives as a space, and still means the offset.
    EXPECT_EQ(idsOf("&since=" + QString(inParis).replace("%2B", "+")), (QList<qint64>{c, d}));
}

TEST_P(InboxApiTest, MalformedQueriesAreRefusedNamingTheParameter) {
    struct Case {
        const char* query;
        const char* field;
    };
    for (const Case& c :
         {Case{"since=2030-01-02T09:00:00", "since"}, Case{"since=yesterday", "since"},
          Case{"campaign=-1", "campaign"}, Case{"campaign=x", "campaign"}, Case{"after=-3", "after"},
          Case{"after=1.5", "after"}, Case{"limit=0", "limit"}, Case{"limit=1001", "limit"},
          Case{"limit=ten", "limit"}, Case{"order=random", "order"}, Case{"order=newest&after=3", "after"},
          Case{"before=3", "before"}}) {
        const HttpAnswer answer = get(QStringLiteral("/v1/inbox?") + c.query, token);
        EXPECT_EQ(answer.status, 400) << c.query;
        EXPECT_EQ(answer.json().object().value("error").toObject().value("field").toString(), c.field)
            << c.query;
    }
    EXPECT_EQ(get("/v1/inbox?limit=1000", token).status, 200);
    EXPECT_EQ(get("/v1/inbox", QString()).status, 401);
    EXPECT_EQ(get("/v1/devices", QString()).status, 401);
}

TEST_P(InboxApiTest, DevicesAreListedAsTheirSendersWroteThem) {
    const QJsonObject empty = get("/v1/devices", token).json().object();
    EXPECT_EQ(empty, (QJsonObject{{"devices", QJsonArray()}}));
    const qint64 seen = QDateTime::fromString("2030-01-02T09:00:30Z", Qt::ISODate).toMSecsSinceEpoch();
    const QList<StoredDevice> written{
        {"shop", "gsm", "/dev/ttyUSB0", "ann@shop/41", "Modem M1, Network One", "-71 dBm",
         "sending campaign 3", "60/hour", 12, 1, seen},
        {"back-office", "android", "R58M123", "bob@back-office/7", "Phone P6", "4/5", "idle", "", 0, 0,
         seen + 5},
    };
    ASSERT_TRUE(writeDevices(*store, written));
    // A later word of the same device replaces the first.
    StoredDevice moved = written.at(0);
    moved.state = "stopped";
    moved.sent = 13;
    ASSERT_TRUE(writeDevices(*store, {moved}));

    const HttpAnswer answer = get("/v1/devices", token);
    ASSERT_EQ(answer.status, 200);
    const QJsonArray devices = answer.json().object().value("devices").toArray();
    ASSERT_EQ(devices.size(), 2);
    EXPECT_EQ(devices.at(0).toObject(), (QJsonObject{{"host", "back-office"},
                                                     {"road", "android"},
                                                     {"device", "R58M123"},
                                                     {"sender", "bob@back-office/7"},
                                                     {"details", "Phone P6"},
                                                     {"signal", "4/5"},
                                                     {"state", "idle"},
                                                     {"limits", ""},
                                                     {"sent", 0},
                                                     {"failed", 0},
                                                     {"seen", "2030-01-02T09:00:30.005Z"}}));
    const QJsonObject shop = devices.at(1).toObject();
    EXPECT_EQ(shop.value("device").toString(), "/dev/ttyUSB0");
    EXPECT_EQ(shop.value("state").toString(), "stopped");
    EXPECT_EQ(shop.value("sent").toInteger(), 13);
    EXPECT_EQ(shop.value("failed").toInteger(), 1);
    EXPECT_EQ(shop.value("limits").toString(), "60/hour");
    EXPECT_EQ(shop.value("seen").toString(), "2030-01-02T09:00:30.000Z");
}

INSTANTIATE_TEST_SUITE_P(Engines, InboxApiTest, ::testing::Values("sqlite", "postgresql"));

} // namespace
