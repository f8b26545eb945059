// The webhooks' outbox on either engine: the notices a change adds, only for the webhooks that
// asked for them, in the transaction of the change itself (a refused notice refuses the change).
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/OptOuts.h"
#include "campaigns/Replies.h"
#include "campaigns/Webhooks.h"
#include "device/SendingDevice.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

struct Notice {
    qint64 webhook;
    QString event;
    QJsonObject body;
};

class WebhookOutboxTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        if (QString why; !useStoreEngine(GetParam(), &why))
            GTEST_SKIP() << "no PostgreSQL server: " << why.toStdString();
        QString why;
        store = CampaignStore::forFolder(home.folder, &why);
        ASSERT_TRUE(store) << why.toStdString();
        // Token 1 in use, token 2 revoked.
        ASSERT_TRUE(store->write([](SqlDatabase& db) {
            return db.exec("INSERT INTO api_tokens (name, hash, created_at) VALUES ('shop', 'a', 1)") &&
                   db.exec("INSERT INTO api_tokens (name, hash, created_at, revoked_at) VALUES ('old', 'b', "
                           "1, 2)");
        }));
    }
    void TearDown() override { CampaignStore::useDatabase({}); }

    qint64 hook(const QStringList& events, qint64 token = 1) {
        QString why;
        const std::optional<Webhook> made =
            createWebhook(*store, token, "http://127.0.0.1:9/h", events, "0123456789abcdef", &why);
        EXPECT_TRUE(made) << why.toStdString();
        return made ? made->id : 0;
    }

    // A run of one item per outcome, each sent through "A" with reference 10 + its position and
    // a delivery report asked; reports then arrive with the statuses given (in order).
    std::unique_ptr<StoredRun> run(const QList<Outcome>& outcomes, const QList<int>& reports = {}) {
        auto r = std::make_unique<StoredRun>(
            store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), optionsOf(RunSettings{}), 0});
        QList<SendingItem> items;
        for (int i = 0; i < outcomes.size(); ++i) {
            items << SendingItem{};
            items.last().number = QStringLiteral("+4479111231%1").arg(i, 2, 10, QLatin1Char('0'));
            items.last().message = "Sale";
        }
        r->begin(items, kGsmRoad);
        while (const auto claim = r->claimNext("A", false, {}, {}, true)) {
            r->handing(claim->index, "A");
            const Outcome outcome = outcomes.at(claim->index);
            SendOutcome answer =
                SendOutcome::of(outcome, outcome == Outcome::NotSent ? "+CMS ERROR: 21" : "");
            answer.device = "A";
            if (outcome == Outcome::Sent)
                answer.references = {10 + claim->index};
            r->finish(claim->index, answer, "Done (A)", true);
        }
        for (int i = 0; i < reports.size(); ++i)
            r->report("A", DeliveryReport{10 + i, reports.at(i)});
        return r;
    }
    qint64 reply(const QString& sender, const QString& text) {
        ReceivedMessage m;
        m.device = "8944100000000000001";
        m.road = kGsmRoad;
        m.sender = sender;
        m.text = text;
        QString why;
        const std::optional<StoredReply> kept = storeReceived(*store, m, {}, &why);
        return kept ? kept->id : 0;
    }
    QList<Notice> notices() {
        QList<Notice> all;
        store->read([&](SqlDatabase& db) {
            QList<SqlRow> rows;
            const bool read = db.exec("SELECT webhook, event, body FROM outbox ORDER BY id", {}, &rows);
            for (const SqlRow& r : rows)
                all << Notice{r.value(0).toLongLong(), r.value(1).toString(),
                              QJsonDocument::fromJson(r.value(2).toString().toUtf8()).object()};
            return read;
        });
        return all;
    }
    QStringList eventsOf(qint64 webhook) {
        QStringList events;
        for (const Notice& n : notices())
            if (n.webhook == webhook)
                events << QStringLiteral("%1 %2").arg(n.event,
                                                      n.body.value("data").toObject().value("to").toString());
        return events;
    }
    qint64 count(const QString& sql) {
        qint64 n = -1;
        store->read([&](SqlDatabase& db) {
            n = db.value(sql).toLongLong();
            return true;
        });
        return n;
    }

    TestDataHome home;
    std::shared_ptr<CampaignStore> store;
};

TEST_P(WebhookOutboxTest, WithoutWebhooksNothingIsQueued) {
    run({Outcome::Sent, Outcome::NotSent}, {0})->end();
    reply("+447911123100", "STOP");
    ASSERT_TRUE(addOptOut(*store, "+447911123199", kOptOutByOperator));
    EXPECT_EQ(count("SELECT COUNT(*) FROM outbox"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM opt_outs"), 2);
}

TEST_P(WebhookOutboxTest, EachChangeTellsItsEventToTheWebhooksThatAskedForIt) {
    const qint64 all = hook(webhookEventNames());
    const qint64 replies = hook({kEventReceived});
    const qint64 disabled = hook(webhookEventNames());
    const qint64 deleted = hook(webhookEventNames());
    const qint64 revoked = hook(webhookEventNames(), 2);
    ASSERT_TRUE(store->write([&](SqlDatabase& db) {
        return db.exec("UPDATE webhooks SET disabled_at = 1 WHERE id = ?", {disabled}) &&
               db.exec("UPDATE webhooks SET deleted_at = 1 WHERE id = ?", {deleted});
    }));

    // Item 0 delivered, 1 refused by the modem, 2 sent and not delivered, 3 sent and its report
    // only "Pending" (nothing to tell yet).
    run({Outcome::Sent, Outcome::NotSent, Outcome::Sent, Outcome::Sent}, {0, 0x41, 0x41, 0x20})->end();
    reply("+447911999000", "Hello");
    reply("+447911999001", "STOP"); // a reply and an opt-out
    ASSERT_TRUE(addOptOut(*store, "+447911999002", kOptOutByApi));
    ASSERT_TRUE(addOptOut(*store, "+447911999002", kOptOutByApi)); // already: nothing new

    EXPECT_EQ(
        eventsOf(all),
        QStringList({"sms:sent +447911123100", "sms:failed +447911123101", "sms:sent +447911123102",
                     "sms:sent +447911123103", "sms:delivered +447911123100", "sms:failed +447911123102",
                     "sms:received ", "sms:received ", "sms:opted-out ", "sms:opted-out "}));
    EXPECT_EQ(eventsOf(replies), QStringList({"sms:received ", "sms:received "}));
    EXPECT_TRUE(eventsOf(disabled).isEmpty());
    EXPECT_TRUE(eventsOf(deleted).isEmpty());
    EXPECT_TRUE(eventsOf(revoked).isEmpty()) << "a revoked token's webhook hears nothing";

    // What the receivers read.
    QSet<QString> ids;
    for (const Notice& n : notices()) {
        EXPECT_EQ(n.body.value("event").toString(), n.event);
        EXPECT_FALSE(n.body.value("created").toString().isEmpty());
        ids.insert(n.body.value("id").toString());
    }
    EXPECT_EQ(ids.size(), notices().size()) << "every notice has an event id of its own";
    QList<Notice> list;
    for (const Notice& n : notices())
        if (n.webhook == all)
            list << n;
    const QJsonObject delivered = list.at(4).body.value("data").toObject();
    EXPECT_EQ(delivered.value("position").toInt(), 0);
    EXPECT_EQ(delivered.value("e164").toString(), "+447911123100");
    EXPECT_EQ(delivered.value("state").toString(), "sent");
    EXPECT_EQ(delivered.value("device").toString(), "A");
    EXPECT_EQ(delivered.value("delivery").toString(), "Delivered");
    EXPECT_EQ(delivered.value("refs").toArray(), QJsonArray({10}));
    EXPECT_EQ(list.at(1).body.value("data").toObject().value("state").toString(), "failed");
    EXPECT_EQ(list.at(5).body.value("data").toObject().value("delivery").toString(),
              "Not delivered (incompatible destination)");
    const QJsonObject received = list.at(7).body.value("data").toObject();
    EXPECT_EQ(received.value("from").toString(), "+447911999001");
    EXPECT_EQ(received.value("text").toString(), "STOP");
    EXPECT_TRUE(received.value("campaign").isNull());
    const QJsonObject stop = list.at(8).body.value("data").toObject();
    EXPECT_EQ(stop.value("number").toString(), "+447911999001");
    EXPECT_EQ(stop.value("how").toString(), kOptOutByKeyword);
    EXPECT_EQ(list.at(9).body.value("data").toObject().value("how").toString(), kOptOutByApi);
}

// The change and its notice are one write: when the notice cannot be kept, neither is the change.
TEST_P(WebhookOutboxTest, ARefusedNoticeRefusesItsChange) {
    hook(webhookEventNames());
    ASSERT_TRUE(store->write(
        [](SqlDatabase& db) { return db.exec("ALTER TABLE outbox RENAME COLUMN body TO body_gone"); }));

    EXPECT_EQ(reply("+447911999000", "STOP"), 0);
    EXPECT_FALSE(addOptOut(*store, "+447911999002", kOptOutByOperator));
    EXPECT_EQ(count("SELECT COUNT(*) FROM received"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM opt_outs"), 0);

    const std::unique_ptr<StoredRun> r = run({Outcome::Sent});
    EXPECT_NE(r->failure(), "") << "the run is told its record failed";
    EXPECT_EQ(count("SELECT COUNT(*) FROM items WHERE state = 'done'"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM events WHERE state = 'done'"), 0);
}

TEST(WebhookEvents, ItemChangesAreToldByWhatTheyMean) {
    struct Case {
        const char *change, *state, *outcome, *detail, *event;
    };
    for (const Case& c : {Case{"done", "done", "sent", "Sent", "sms:sent"},
                          Case{"done", "done", "not-sent", "+CMS ERROR: 21", "sms:failed"},
                          Case{"done", "done", "", "Excluded", ""}, Case{"done", "unknown", "", "", ""},
                          Case{"sending", "sending", "", "A", ""}, Case{"queued", "queued", "", "", ""},
                          Case{"report", "done", "sent", "Delivered", "sms:delivered"},
                          Case{"report", "done", "sent", "Not delivered (congestion)", "sms:failed"},
                          Case{"report", "done", "sent", "Pending", ""},
                          Case{"report", "done", "sent", "No report received", ""}})
        EXPECT_EQ(itemEventOf(c.change, c.state, c.outcome, c.detail), c.event)
            << c.change << " " << c.state << " " << c.detail;
}

INSTANTIATE_TEST_SUITE_P(Engines, WebhookOutboxTest, ::testing::Values("sqlite", "postgresql"));

} // namespace
