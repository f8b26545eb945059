// Webhooks through the HTTP API with a real receiver (an HTTP server in the test): registered,
// seen and deleted only by their token; each event delivered once, signed, in order, after the
// receiver's failures; and a receiver that never accepts gets its webhook disabled after a day.
#include "ApiFixture.h"
#include "WebhookReceiver.h"
#include "api/ApiTokens.h"
#include "api/WebhookDelivery.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/Replies.h"
#include "campaigns/Webhooks.h"
#include "core/WallClock.h"
#include "device/SendingDevice.h"

#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QProcess>
#include <QTemporaryDir>

#include <httplib.h>

#include <mutex>
#include <thread>

namespace {

const QString kSecret = QStringLiteral("a-secret-of-the-receiver");

bool waitFor(const std::function<bool()>& done, std::chrono::seconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

class WebhookApiTest : public ApiFixture {
protected:
    void SetUp() override {
        // The program's clock runs at the pace of the shrunk one: the back-off's minutes pass
        // in milliseconds.
        qputenv("BULKSMS_FAKE_NOW", "2026-11-26T09:00:00Z");
        Clock::readNowFromEnvironment();
        ApiFixture::SetUp();
    }
    void TearDown() override {
        ApiFixture::TearDown();
        qunsetenv("BULKSMS_FAKE_NOW");
        Clock::readNowFromEnvironment();
    }

    QJsonObject registered(const QString& url, const QStringList& events, const QString& bearer) {
        const HttpAnswer made = post(
            "/v1/webhooks",
            QJsonObject{{"url", url}, {"events", QJsonArray::fromStringList(events)}, {"secret", kSecret}},
            bearer);
        EXPECT_EQ(made.status, 201) << made.body.toStdString();
        return made.json().object();
    }

    // Two items sent and delivered, one after the other.
    void sendAndDeliver() {
        StoredRun run(
            store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), optionsOf(RunSettings{}), 0});
        QList<SendingItem> items;
        for (const QString n : {"+447911123100", "+447911123101"}) {
            items << SendingItem{};
            items.last().number = n;
            items.last().message = "Sale";
        }
        run.begin(items, kGsmRoad);
        while (const auto claim = run.claimNext("A", false, {}, {}, true)) {
            SendOutcome answer = SendOutcome::of(Outcome::Sent);
            answer.device = "A";
            answer.references = {7 + claim->index};
            run.finish(claim->index, answer, "Done (A)", true);
        }
        run.report("A", DeliveryReport{7, 0});
        run.report("A", DeliveryReport{8, 0});
        run.end();
        ASSERT_EQ(run.failure(), "");
    }
    void replyFrom(const QString& sender, const QString& text) {
        ReceivedMessage m;
        m.device = "8944100000000000001";
        m.road = kGsmRoad;
        m.sender = sender;
        m.text = text;
        QString why;
        ASSERT_TRUE(storeReceived(*store, m, {}, &why)) << why.toStdString();
    }
    QJsonArray hooks(const QString& bearer) {
        return get("/v1/webhooks", bearer).json().object().value("webhooks").toArray();
    }
};

TEST_P(WebhookApiTest, EachEventArrivesOnceSignedAndInOrderAfterTheReceiversFailures) {
    Receiver receiver(2);
    // A second deliverer on the same store, as another server process would be: still once each.
    WebhookDelivery second(store);
    second.start();
    const QJsonObject hook = registered(receiver.url(), {"sms:sent", "sms:delivered", "sms:received"}, token);
    EXPECT_EQ(hook.value("secret").toString(), kSecret);
    EXPECT_EQ(hook.value("state").toString(), "active");

    sendAndDeliver();
    replyFrom("+447911123100", "Thanks");
    constexpr int kEvents = 5; // two sent, two delivered, one reply
    ASSERT_TRUE(waitFor([&] { return receiver.accepted().size() >= kEvents; }))
        << receiver.arrivals().size() << " requests";
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // nothing more comes
    EXPECT_EQ(receiver.arrivals().size(), kEvents + 2);
    EXPECT_FALSE(receiver.badType());

    const QList<Arrival> accepted = receiver.accepted();
    ASSERT_EQ(accepted.size(), kEvents);
    // The two failures were the first event's tries: it was not passed by a later one.
    EXPECT_EQ(receiver.arrivals().at(0).eventId, accepted.at(0).eventId);
    EXPECT_EQ(receiver.arrivals().at(1).eventId, accepted.at(0).eventId);
    QStringList order;
    QSet<QString> ids;
    for (const Arrival& a : accepted) {
        const QJsonObject body = QJsonDocument::fromJson(a.body).object();
        EXPECT_EQ(body.value("id").toString(), a.eventId);
        EXPECT_EQ(body.value("event").toString(), a.event);
        ids.insert(a.eventId);
        QMessageAuthenticationCode mac(QCryptographicHash::Sha256, kSecret.toUtf8());
        mac.addData(a.timestamp.toUtf8() + "." + a.body);
        EXPECT_EQ(a.signature, "sha256=" + QString::fromLatin1(mac.result().toHex()))
            << a.event.toStdString();
        order << a.event + " " + body.value("data").toObject().value("to").toString();
    }
    EXPECT_EQ(ids.size(), kEvents);
    EXPECT_EQ(order,
              QStringList({"sms:sent +447911123100", "sms:sent +447911123101", "sms:delivered +447911123100",
                           "sms:delivered +447911123101", "sms:received "}));
    // The timestamp is the program's time of the try.
    EXPECT_NEAR(double(accepted.at(0).timestamp.toLongLong()), double(CampaignStore::now()) / 1000.0, 3600);

    const QJsonObject shown = hooks(token).at(0).toObject();
    EXPECT_EQ(shown.value("state").toString(), "active");
    EXPECT_EQ(shown.value("failures").toInt(), 0);
    EXPECT_FALSE(shown.contains("secret"));
    qint64 undelivered = -1;
    store->read([&](SqlDatabase& db) {
        undelivered = db.value("SELECT COUNT(*) FROM outbox WHERE delivered_at IS NULL").toLongLong();
        return true;
    });
    EXPECT_EQ(undelivered, 0);
}

TEST_P(WebhookApiTest, AReceiverThatNeverAcceptsHasItsWebhookDisabledAfterADay) {
    Receiver receiver(-1);
    const QJsonObject hook = registered(receiver.url(), {"sms:received"}, token);
    replyFrom("+447911123100", "Hello");
    replyFrom("+447911123101", "Hello too");
    ASSERT_TRUE(waitFor([&] { return receiver.arrivals().size() >= 2; }));
    const QJsonObject failing = hooks(token).at(0).toObject();
    EXPECT_EQ(failing.value("state").toString(), "active");
    EXPECT_GE(failing.value("failures").toInt(), 2);
    for (const Arrival& a : receiver.arrivals()) // the second waits behind the first
        EXPECT_EQ(a.eventId, receiver.arrivals().at(0).eventId);

    // A day and an hour later the next try fails too: the row is given up, the webhook disabled.
    qputenv("BULKSMS_FAKE_NOW", "2026-11-27T10:00:00Z");
    Clock::readNowFromEnvironment();
    ASSERT_TRUE(waitFor([&] { return hooks(token).at(0).toObject().value("state") == "disabled"; }));
    const QJsonObject disabled =
        get("/v1/webhooks/" + QString::number(hook.value("id").toInteger()), token).json().object();
    EXPECT_EQ(disabled.value("state").toString(), "disabled");
    EXPECT_EQ(disabled.value("disabled_reason").toString(), "deliveries failed for 24 hours: HTTP 500");
    const qsizetype tries = receiver.arrivals().size();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(receiver.arrivals().size(), tries) << "a disabled webhook is not tried";
    qint64 givenUp = 0, pending = 0;
    store->read([&](SqlDatabase& db) {
        givenUp = db.value("SELECT COUNT(*) FROM outbox WHERE given_up_at IS NOT NULL").toLongLong();
        pending = db.value("SELECT COUNT(*) FROM outbox WHERE given_up_at IS NULL AND delivered_at IS NULL")
                      .toLongLong();
        return true;
    });
    EXPECT_EQ(givenUp, 1);
    EXPECT_EQ(pending, 1) << "the later event waits for the webhook to be enabled again";
    // A month on, what was given up is forgotten; what still waits is kept.
    qputenv("BULKSMS_FAKE_NOW", "2026-12-28T10:00:00Z");
    Clock::readNowFromEnvironment();
    ASSERT_TRUE(WebhookDelivery(store).prune());
    EXPECT_EQ(rowsIn("outbox"), 1);

    bool found = false;
    ASSERT_TRUE(enableWebhook(*store, hook.value("id").toInteger(), &found, nullptr));
    EXPECT_TRUE(found);
    ASSERT_TRUE(waitFor([&] {
        const QList<Arrival> all = receiver.arrivals();
        return all.size() > tries && all.last().eventId != all.first().eventId;
    })) << "the waiting event is tried once the webhook is on again";
    EXPECT_EQ(hooks(token).at(0).toObject().value("state").toString(), "active");
}

// HTTPS receivers are trusted through the system's certificates only: one the system does not
// trust gets nothing, and once its certificate is trusted the waiting event arrives.
TEST_P(WebhookApiTest, AnHttpsReceiverGetsEventsOnlyWithACertificateTheSystemTrusts) {
    QTemporaryDir keys;
    const QString cert = keys.filePath("cert.pem"), key = keys.filePath("key.pem");
    QProcess openssl;
    openssl.start("openssl",
                  {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1", "-subj", "/CN=receiver",
                   "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", cert});
    ASSERT_TRUE(openssl.waitForFinished(60000));
    ASSERT_EQ(openssl.exitCode(), 0) << openssl.readAllStandardError().toStdString();
    Receiver receiver(0, cert, key);
    ASSERT_TRUE(receiver.url().startsWith("https://"));
    registered(receiver.url(), {"sms:received"}, token);

    qputenv("SSL_CERT_FILE", keys.filePath("none.pem").toUtf8()); // trusts nothing
    replyFrom("+447911123100", "Hello");
    ASSERT_TRUE(waitFor([&] { return hooks(token).at(0).toObject().value("failures").toInt() >= 1; }));
    EXPECT_TRUE(receiver.arrivals().isEmpty()) << "no body reaches a receiver that is not trusted";

    qputenv("SSL_CERT_FILE", cert.toUtf8());
    const bool arrived = waitFor([&] { return receiver.accepted().size() == 1; });
    qunsetenv("SSL_CERT_FILE");
    ASSERT_TRUE(arrived);
    EXPECT_EQ(receiver.accepted().at(0).event, "sms:received");
}

TEST_P(WebhookApiTest, ATokenSeesAndDeletesOnlyItsOwnWebhooks) {
    QString why;
    const std::optional<QString> other = createToken(*store, "other", &why);
    ASSERT_TRUE(other);
    const HttpAnswer made =
        post("/v1/webhooks",
             QJsonObject{{"url", "http://127.0.0.1:9/h?x=1"}, {"events", QJsonArray{"sms:failed"}}}, token);
    ASSERT_EQ(made.status, 201) << made.body.toStdString();
    const QJsonObject hook = made.json().object();
    EXPECT_EQ(made.header("Location"), QStringLiteral("/v1/webhooks/%1").arg(hook.value("id").toInteger()));
    EXPECT_EQ(hook.value("secret").toString().size(), 64) << "32 random bytes in hex";
    EXPECT_EQ(hook.value("events").toArray(), QJsonArray{"sms:failed"});
    EXPECT_TRUE(hook.value("created").toString().startsWith("2026-11-26T")) << "the program's time";

    EXPECT_EQ(hooks(token).size(), 1);
    EXPECT_EQ(hooks(*other).size(), 0);
    EXPECT_EQ(get(made.header("Location"), *other).status, 404);
    EXPECT_EQ(del(made.header("Location"), *other).status, 404);
    EXPECT_EQ(get(made.header("Location"), token).status, 200);

    sendAndDeliver();
    EXPECT_EQ(rowsIn("outbox"), 0) << "the webhook asked for failures only";
    StoredRun failing(
        store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), optionsOf(RunSettings{}), 0});
    SendingItem item;
    item.number = "+447911123100";
    item.message = "Sale";
    failing.begin({item}, kGsmRoad);
    const auto claim = failing.claimNext("A", false, {}, {}, true);
    ASSERT_TRUE(claim);
    // Nobody listens at the webhook's address: its row still waits when the webhook is deleted.
    failing.finish(claim->index, SendOutcome::of(Outcome::NotSent, "+CMS ERROR: 21"), "Done (A)", false);
    EXPECT_EQ(rowsIn("outbox"), 1);

    EXPECT_EQ(del(made.header("Location"), token).status, 204);
    EXPECT_EQ(del(made.header("Location"), token).status, 404);
    EXPECT_EQ(get(made.header("Location"), token).status, 404);
    EXPECT_EQ(hooks(token).size(), 0);
    EXPECT_EQ(rowsIn("webhooks"), 1) << "a deleted webhook's row stays";
    EXPECT_EQ(rowsIn("outbox WHERE delivered_at IS NULL AND given_up_at IS NULL"), 0);
}

TEST_P(WebhookApiTest, BadBodiesAreRefusedWithTheirFieldAndKeepNothing) {
    const QJsonArray events{"sms:sent"};
    struct Case {
        QByteArray body;
        QString field;
    };
    const auto json = [](const QJsonObject& o) { return QJsonDocument(o).toJson(QJsonDocument::Compact); };
    const QString longUrl = "https://example.org/" + QString(2000, 'a');
    for (const Case& c : {
             Case{"[1]", ""},
             Case{"{", ""},
             Case{json({{"events", events}}), "url"},
             Case{json({{"url", 5}, {"events", events}}), "url"},
             Case{json({{"url", "ftp://example.org/h"}, {"events", events}}), "url"},
             Case{json({{"url", "https:///nohost"}, {"events", events}}), "url"},
             Case{json({{"url", "example.org/h"}, {"events", events}}), "url"},
             Case{json({{"url", "https://user:pw@example.org/h"}, {"events", events}}), "url"},
             Case{json({{"url", longUrl}, {"events", events}}), "url"},
             Case{json({{"url", "https://example.org/h"}}), "events"},
             Case{json({{"url", "https://example.org/h"}, {"events", QJsonArray{}}}), "events"},
             Case{json({{"url", "https://example.org/h"}, {"events", "sms:sent"}}), "events"},
             Case{json({{"url", "https://example.org/h"}, {"events", QJsonArray{"sms:lost"}}}), "events"},
             Case{json({{"url", "https://example.org/h"}, {"events", QJsonArray{1}}}), "events"},
             Case{json({{"url", "https://example.org/h"}, {"events", QJsonArray{"sms:sent", "sms:sent"}}}),
                  "events"},
             Case{json({{"url", "https://example.org/h"}, {"events", events}, {"secret", 12}}), "secret"},
             Case{json({{"url", "https://example.org/h"}, {"events", events}, {"secret", "short"}}),
                  "secret"},
             Case{json({{"url", "https://example.org/h"}, {"events", events}, {"state", "active"}}), "state"},
         }) {
        const HttpAnswer answer = post("/v1/webhooks", c.body, token);
        EXPECT_EQ(answer.status, 400) << c.body.left(100).toStdString();
        const QJsonObject error = answer.json().object().value("error").toObject();
        EXPECT_EQ(error.value("field").toString(), c.field) << c.body.left(100).toStdString();
        EXPECT_FALSE(error.value("message").toString().isEmpty());
    }
    EXPECT_EQ(rowsIn("webhooks"), 0);
    EXPECT_EQ(post("/v1/webhooks", json({{"url", "https://example.org/h"}, {"events", events}}), "").status,
              401);
    EXPECT_EQ(get("/v1/webhooks/99", token).status, 404);
}

INSTANTIATE_TEST_SUITE_P(Engines, WebhookApiTest, ::testing::Values("sqlite", "postgresql"));

} // namespace
