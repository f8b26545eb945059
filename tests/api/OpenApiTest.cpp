// The OpenAPI document says what the server does: every operation it lists is called here and
// answers as documented (the fixture checks each answer's body against its schema), and the
// document's checker itself catches what differs.
#include "ApiFixture.h"
#include "OpenApiDocument.h"

#include <QSet>

#include <functional>

namespace {

using OpenApiTest = ApiFixture;

TEST(OpenApiDocumentTest, AnAnswerThatDiffersFromItsSchemaIsCaught) {
    const OpenApiDocument document;
    const QString get = document.operationOf("GET", "/v1/campaigns/12?x=1");
    ASSERT_EQ(get, "GET /v1/campaigns/{id}");
    EXPECT_EQ(document.operationOf("GET", "/v1/campaigns/12/nothing"), "");
    EXPECT_EQ(document.operationOf("PUT", "/v1/campaigns/12"), "");
    EXPECT_NE(document.mismatch(get, 200, R"({"id": 1})"), ""); // fields missing
    EXPECT_NE(document.mismatch(get, 418, R"({})"), "");        // undocumented status
    EXPECT_NE(document.mismatch(get, 404, R"({"error": {"status": "404", "message": "x"}})"),
              ""); // wrong type
    EXPECT_NE(document.mismatch(get, 404, R"({"error": {"status": 404, "message": "x", "stack": ""}})"), "");
    EXPECT_EQ(document.mismatch(get, 404, R"({"error": {"status": 404, "message": "x"}})"), "");
}

TEST_P(OpenApiTest, EveryOperationOfTheDocumentIsServedAsDocumented) {
    // One call per operation that succeeds, in order (the first ones make what the later ones
    // read); the fixture checks every answer against the document.
    const std::vector<std::pair<QString, std::function<int()>>> calls{
        {"POST /v1/messages",
         [&] {
             return post("/v1/messages", QJsonObject{{"to", "+447400123456"}, {"text", "Hi"}}, token).status;
         }},
        {"POST /v1/campaigns",
         [&] {
             return post("/v1/campaigns",
                         QJsonObject{{"recipients", QJsonArray{"+447400123457"}}, {"text", "Hi"}}, token)
                 .status;
         }},
        {"GET /v1/campaigns", [&] { return get("/v1/campaigns", token).status; }},
        {"GET /v1/campaigns/{id}", [&] { return get("/v1/campaigns/1", token).status; }},
        {"GET /v1/campaigns/{id}/items", [&] { return get("/v1/campaigns/1/items", token).status; }},
        {"POST /v1/campaigns/{id}/cancel",
         [&] { return post("/v1/campaigns/2/cancel", QByteArray(), token).status; }},
        {"GET /v1/openapi.json", [&] { return get("/v1/openapi.json", {}).status; }},
        {"GET /v1/inbox", [&] { return get("/v1/inbox?limit=5", token).status; }},
        {"POST /v1/opt-outs",
         [&] {
             return post("/v1/opt-outs", QJsonObject{{"number", "+447400123458"}}, token).status;
         }},
        {"GET /v1/opt-outs", [&] { return get("/v1/opt-outs?all=true", token).status; }},
        {"GET /v1/opt-outs/{number}", [&] { return get("/v1/opt-outs/%2B447400123458", token).status; }},
        {"DELETE /v1/opt-outs/{number}", [&] { return del("/v1/opt-outs/+447400123458", token).status; }},
        {"GET /v1/devices", [&] { return get("/v1/devices", token).status; }},
        {"POST /v1/webhooks",
         [&] {
             return post("/v1/webhooks",
                         QJsonObject{{"url", "http://127.0.0.1:9/hook"},
                                     {"events", QJsonArray{"sms:sent", "sms:received"}}},
                         token)
                 .status;
         }},
        {"GET /v1/webhooks", [&] { return get("/v1/webhooks", token).status; }},
        {"GET /v1/webhooks/{id}", [&] { return get("/v1/webhooks/1", token).status; }},
        {"DELETE /v1/webhooks/{id}", [&] { return del("/v1/webhooks/1", token).status; }},
    };
    const OpenApiDocument document;
    QSet<QString> called;
    for (const auto& [operation, call] : calls) {
        SCOPED_TRACE(operation.toStdString());
        const int status = call();
        EXPECT_GE(status, 200);
        EXPECT_LT(status, 300);
        called.insert(operation);
    }
    for (const QString& operation : document.operations())
        EXPECT_TRUE(called.contains(operation))
            << operation.toStdString() << " is documented but never called";
    for (const QString& operation : called)
        EXPECT_TRUE(document.operations().contains(operation))
            << operation.toStdString() << " is not documented";
}

INSTANTIATE_TEST_SUITE_P(Engines, OpenApiTest, ::testing::Values("sqlite", "postgresql"));

} // namespace
