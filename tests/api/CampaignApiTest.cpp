// Campaigns through the HTTP API with a real client: created once per idempotency key, read a
// page at a time to the end, cancelled; and every bad request refused with its status and
// reason, leaving nothing in the store.
#include "ApiFixture.h"
#include "api/ApiTokens.h"

#include <QProcess>
#include <QTemporaryFile>

namespace {

using CampaignApiTest = ApiFixture;

QJsonObject message(const QString& to = QStringLiteral("+447400123456"),
                    const QString& text = QStringLiteral("Hi")) {
    return QJsonObject{{"to", to}, {"text", text}};
}

TEST_P(CampaignApiTest, AMessageBecomesAQueuedCampaignOfOneAtItsLocation) {
    const HttpAnswer made = post("/v1/messages", message(), token);
    ASSERT_EQ(made.status, 201) << made.body.toStdString();
    const QJsonObject c = made.json().object();
    EXPECT_EQ(made.header("Location"), QStringLiteral("/v1/campaigns/%1").arg(c.value("id").toInteger()));
    EXPECT_EQ(c.value("state").toString(), "queued");
    EXPECT_EQ(c.value("total").toInteger(), 1);
    EXPECT_EQ(c.value("counts").toObject().value("queued").toInteger(), 1);

    const HttpAnswer read = get(made.header("Location"), token);
    ASSERT_EQ(read.status, 200);
    EXPECT_EQ(read.json().object().value("id"), c.value("id"));
    const QJsonArray items =
        get(made.header("Location") + "/items", token).json().object().value("items").toArray();
    ASSERT_EQ(items.size(), 1);
    EXPECT_EQ(items.at(0).toObject().value("to").toString(), "+447400123456");
    EXPECT_EQ(items.at(0).toObject().value("text").toString(), "Hi");
    EXPECT_EQ(items.at(0).toObject().value("state").toString(), "queued");
}

TEST_P(CampaignApiTest, ItemsAreReadPageByPageToTheEndInTheListsOrder) {
    QJsonArray recipients;
    for (int i = 0; i < 250; ++i)
        recipients.append(QStringLiteral("+4474001%1").arg(i, 5, 10, QLatin1Char('0')));
    const HttpAnswer made =
        post("/v1/campaigns", QJsonObject{{"recipients", recipients}, {"text", "Sale"}}, token);
    ASSERT_EQ(made.status, 201) << made.body.toStdString();
    QStringList seen;
    QString after;
    int pages = 0;
    for (;;) {
        const HttpAnswer page = get(
            made.header("Location") + "/items?limit=100" + (after.isEmpty() ? "" : "&after=" + after), token);
        ASSERT_EQ(page.status, 200) << page.body.toStdString();
        ++pages;
        for (const QJsonValue item : page.json().object().value("items").toArray())
            seen << item.toObject().value("to").toString();
        const QJsonValue next = page.json().object().value("next");
        if (next.isNull())
            break;
        after = QString::number(next.toInteger());
        ASSERT_LT(pages, 10);
    }
    EXPECT_EQ(pages, 3);
    ASSERT_EQ(seen.size(), 250);
    for (int i = 0; i < 250; ++i)
        EXPECT_EQ(seen.at(i), recipients.at(i).toString());
    // Filtered by state: every item waits, none was sent.
    EXPECT_EQ(get(made.header("Location") + "/items?state=sent", token)
                  .json()
                  .object()
                  .value("items")
                  .toArray()
                  .size(),
              0);
    EXPECT_EQ(get(made.header("Location") + "/items?state=queued&limit=7", token)
                  .json()
                  .object()
                  .value("items")
                  .toArray()
                  .size(),
              7);
}

TEST_P(CampaignApiTest, ATemplateIsFilledPerRecipientAndOptionsAreKept) {
    const QJsonObject body{
        {"recipients",
         QJsonArray{QJsonObject{{"to", "+447400123456"}, {"values", QJsonArray{"Ann", "9:00"}}},
                    QJsonObject{{"to", "+447400123457"}, {"values", QJsonArray{"Bob", "10:30"}}}}},
        {"template", "Hi <COL-1>, see you at <COL-2>"},
        {"at", "2030-01-02T09:00:00+01:00"},
        {"window", "09:00-20:00"},
        {"options",
         QJsonObject{{"retries", 3}, {"delivery_reports", true}, {"limits", QJsonObject{{"hour", 50}}}}}};
    const HttpAnswer made = post("/v1/campaigns", body, token);
    ASSERT_EQ(made.status, 201) << made.body.toStdString();
    const QJsonObject c = made.json().object();
    EXPECT_EQ(c.value("state").toString(), "scheduled");
    EXPECT_EQ(c.value("start_at").toString(), "2030-01-02T08:00:00.000Z");
    EXPECT_EQ(c.value("window").toString(), "09:00-20:00");
    const QJsonArray items =
        get(made.header("Location") + "/items", token).json().object().value("items").toArray();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items.at(1).toObject().value("text").toString(), "Hi Bob, see you at 10:30");
    QString options;
    store->read([&](SqlDatabase& db) {
        options =
            db.value("SELECT options FROM campaigns WHERE id = ?", {c.value("id").toInteger()}).toString();
        return true;
    });
    EXPECT_TRUE(options.contains("\"retries\":3")) << options.toStdString();
    EXPECT_TRUE(options.contains("\"delivery_reports\":true")) << options.toStdString();
    EXPECT_TRUE(options.contains("\"hour\":50")) << options.toStdString();
}

TEST_P(CampaignApiTest, OneIdempotencyKeyMakesOneCampaignPerToken) {
    const QStringList key{"Idempotency-Key: order-1001"};
    const HttpAnswer first = post("/v1/messages", message(), token, key);
    const HttpAnswer again = post("/v1/messages", message(), token, key);
    ASSERT_EQ(first.status, 201);
    ASSERT_EQ(again.status, 201);
    EXPECT_EQ(again.header("Location"), first.header("Location"));
    EXPECT_EQ(again.header("Idempotent-Replayed"), "true");
    EXPECT_EQ(rowsIn("campaigns"), 1);

    const HttpAnswer other = post("/v1/messages", message("+447400123456", "Another text"), token, key);
    EXPECT_EQ(other.status, 422);
    EXPECT_EQ(other.json().object().value("error").toObject().value("field").toString(), "Idempotency-Key");
    EXPECT_EQ(rowsIn("campaigns"), 1);

    // Keys are the token's own: another client's key of the same name is another request.
    QString why;
    const QString second = *createToken(*store, "second", &why);
    EXPECT_EQ(post("/v1/messages", message(), second, key).status, 201);
    EXPECT_EQ(rowsIn("campaigns"), 2);
    // A key lives 24 hours; then it makes a new campaign.
    store->write([](SqlDatabase& db) { return db.exec("UPDATE idempotency_keys SET expires_at = 1"); });
    EXPECT_EQ(post("/v1/messages", message(), token, key).status, 201);
    EXPECT_EQ(rowsIn("campaigns"), 3);
}

TEST_P(CampaignApiTest, TheSameKeySentManyTimesAtOnceMakesOneCampaign) {
    QTemporaryFile body;
    ASSERT_TRUE(body.open());
    body.write(R"({"recipients": ["+447400123456", "+447400123457"], "text": "Once"})");
    body.flush();
    std::vector<std::unique_ptr<QProcess>> clients;
    for (int i = 0; i < 8; ++i) {
        clients.push_back(std::make_unique<QProcess>());
        clients.back()->start("curl", {"-s", "-o", "/dev/null", "-w", "%{http_code}", "-H",
                                       "Authorization: Bearer " + token, "-H", "Idempotency-Key: at-once",
                                       "--data-binary", "@" + body.fileName(), url("/v1/campaigns")});
    }
    for (auto& c : clients) {
        ASSERT_TRUE(c->waitForFinished(60000));
        EXPECT_EQ(c->readAllStandardOutput(), "201");
    }
    EXPECT_EQ(rowsIn("campaigns"), 1);
    EXPECT_EQ(rowsIn("items"), 2);
}

TEST_P(CampaignApiTest, BadRequestsAreRefusedWithTheirReasonAndLeaveNothing) {
    QString why;
    const QString revoked = *createToken(*store, "old", &why);
    ASSERT_TRUE(revokeToken(*store, "old", &why));
    const QByteArray tenMegabytes = "{\"to\":\"" + QByteArray(qsizetype(10) * 1024 * 1024, '1') + "\"}";
    struct Case {
        const char* name;
        QString path;
        QByteArray body;
        QString token;
        int status;
        QString field, words;
    };
    const QList<Case> cases{
        {"no token", "/v1/messages", R"({"to":"+447400123456","text":"Hi"})", "", 401, "", "bearer token"},
        {"unknown token", "/v1/messages", R"({"to":"+447400123456","text":"Hi"})", "bsms_nobody", 401, "",
         "not known"},
        {"revoked token", "/v1/messages", R"({"to":"+447400123456","text":"Hi"})", revoked, 403, "",
         "revoked"},
        {"malformed JSON", "/v1/messages", R"({"to":"+447400123456","text":)", token, 400, "", "not JSON"},
        {"not an object", "/v1/campaigns", R"(["+447400123456"])", token, 400, "", "JSON object"},
        {"number as a number", "/v1/messages", R"({"to":447400123456,"text":"Hi"})", token, 400, "to",
         "a string"},
        {"recipients as a string", "/v1/campaigns", R"({"recipients":"+447400123456","text":"Hi"})", token,
         400, "recipients", "an array"},
        {"retries as a string", "/v1/messages",
         R"({"to":"+447400123456","text":"Hi","options":{"retries":"2"}})", token, 400, "options.retries",
         "whole number"},
        {"retries beyond any integer", "/v1/messages",
         R"({"to":"+447400123456","text":"Hi","options":{"retries":6.6e47}})", token, 400, "options.retries",
         "from 0 to 5"},
        {"10 MB body", "/v1/messages", tenMegabytes, token, 413, "", "too large"},
        {"invalid number", "/v1/messages", R"({"to":"+44740012","text":"Hi"})", token, 400, "to",
         "is not a valid number: "},
        {"invalid second recipient", "/v1/campaigns",
         R"({"recipients":["+447400123456","+1 nope"],"text":"Hi"})", token, 400, "recipients[1]",
         "not a valid number"},
        {"local number without a country", "/v1/messages", R"({"to":"07400123456","text":"Hi"})", token, 400,
         "to", "international form"},
        {"2000-character text", "/v1/messages",
         "{\"to\":\"+447400123456\",\"text\":\"" + QByteArray(2000, 'a') + "\"}", token, 400, "text",
         "at most 1600"},
        {"empty text", "/v1/messages", R"({"to":"+447400123456","text":"  "})", token, 400, "text", "empty"},
        {"unknown field", "/v1/messages", R"({"to":"+447400123456","text":"Hi","priority":1})", token, 400,
         "priority", "unknown field"},
        {"unknown option", "/v1/messages", R"({"to":"+447400123456","text":"Hi","options":{"turbo":true}})",
         token, 400, "options.turbo", "unknown field"},
        {"time without offset", "/v1/messages",
         R"({"to":"+447400123456","text":"Hi","at":"2030-01-01 09:00"})", token, 400, "at", "offset"},
        {"bad window", "/v1/campaigns", R"({"recipients":["+447400123456"],"text":"Hi","window":"9-5"})",
         token, 400, "window", ""},
        {"text and template", "/v1/campaigns",
         R"({"recipients":["+447400123456"],"text":"Hi","template":"Hi"})", token, 400, "text", "either"},
        {"bad idempotency key", "/v1/messages", R"({"to":"+447400123456","text":"Hi"})", token, 400,
         "Idempotency-Key", "visible ASCII"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QStringList headers = QLatin1String(c.name) == QLatin1String("bad idempotency key")
                                        ? QStringList{"Idempotency-Key: two words"}
                                        : QStringList{};
        const HttpAnswer answer = post(c.path, c.body, c.token, headers);
        EXPECT_EQ(answer.status, c.status) << answer.body.toStdString();
        const QJsonObject error = answer.json().object().value("error").toObject();
        EXPECT_EQ(error.value("status").toInt(), c.status);
        EXPECT_EQ(error.value("field").toString(), c.field);
        EXPECT_TRUE(error.value("message").toString().contains(c.words)) << answer.body.toStdString();
        // Nothing of the server's insides: no path, no database words.
        EXPECT_FALSE(answer.body.contains(home.root().toUtf8()));
        EXPECT_FALSE(answer.body.contains("SQL"));
    }
    EXPECT_EQ(rowsIn("campaigns"), 0);
    EXPECT_EQ(rowsIn("items"), 0);
    EXPECT_EQ(rowsIn("idempotency_keys"), 0);
}

TEST_P(CampaignApiTest, AFloodGetsTooManyRequestsWithRetryAfter) {
    ApiServerOptions slow;
    slow.rateLimit = 5;
    startServer(slow);
    int refused = 0;
    QString retryAfter;
    for (int i = 0; i < 20; ++i) {
        const HttpAnswer answer = get("/v1/campaigns", token);
        if (answer.status == 429) {
            ++refused;
            retryAfter = answer.header("Retry-After");
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_EQ(retryAfter, "1");
}

TEST_P(CampaignApiTest, ACampaignIsCancelledOnceAndListedNewestFirst) {
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(post("/v1/messages", message(), token).status, 201);
    const QJsonObject list = get("/v1/campaigns?limit=2", token).json().object();
    const QJsonArray first = list.value("campaigns").toArray();
    ASSERT_EQ(first.size(), 2);
    EXPECT_EQ(first.at(0).toObject().value("id").toInteger(), 3);
    const QJsonArray rest =
        get(QStringLiteral("/v1/campaigns?before=%1").arg(list.value("next").toInteger()), token)
            .json()
            .object()
            .value("campaigns")
            .toArray();
    ASSERT_EQ(rest.size(), 1);
    EXPECT_EQ(rest.at(0).toObject().value("id").toInteger(), 1);

    const HttpAnswer cancelled = post("/v1/campaigns/2/cancel", QByteArray(), token);
    ASSERT_EQ(cancelled.status, 200);
    EXPECT_EQ(cancelled.json().object().value("state").toString(), "cancelled");
    EXPECT_EQ(cancelled.json().object().value("counts").toObject().value("not_sent").toInteger(), 1);
    EXPECT_EQ(post("/v1/campaigns/2/cancel", QByteArray(), token).status, 409);
    EXPECT_EQ(post("/v1/campaigns/99/cancel", QByteArray(), token).status, 404);
    EXPECT_EQ(get("/v1/campaigns/99", token).status, 404);
    EXPECT_EQ(get("/v1/campaigns/99/items", token).status, 404);
}

INSTANTIATE_TEST_SUITE_P(Engines, CampaignApiTest, ::testing::Values("sqlite", "postgresql"));

} // namespace
