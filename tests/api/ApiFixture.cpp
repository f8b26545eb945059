#include "ApiFixture.h"

#include "OpenApiDocument.h"
#include "api/ApiTokens.h"

#include <QJsonDocument>

namespace {

// Every answer a test gets must be one the document describes.
HttpAnswer documented(const QString& method, const QString& path, HttpAnswer answer) {
    static const OpenApiDocument document;
    const QString operation = document.operationOf(method, path);
    if (!operation.isEmpty() && answer.status != 0) {
        EXPECT_EQ(document.mismatch(operation, answer.status, answer.body), "")
            << answer.body.left(500).toStdString();
    }
    return answer;
}

} // namespace

void ApiFixture::SetUp() {
    ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
    if (QString why; !useStoreEngine(GetParam(), &why))
        GTEST_SKIP() << "no PostgreSQL server: " << why.toStdString();
    QString why;
    store = CampaignStore::forFolder(home.folder, &why);
    ASSERT_TRUE(store) << why.toStdString();
    const std::optional<QString> made = createToken(*store, QStringLiteral("test"), &why);
    ASSERT_TRUE(made) << why.toStdString();
    token = *made;
    startServer();
}

void ApiFixture::TearDown() {
    server.reset();
    CampaignStore::useDatabase({});
}

void ApiFixture::startServer(ApiServerOptions options) {
    server.reset();
    options.port = 0;
    // The tests' clients come one at a time; a full pool only adds threads for the sanitizers to track.
    options.threads = 4;
    server = std::make_unique<ApiServer>(store, home.folder, options);
    QString why;
    ASSERT_TRUE(server->start(&why)) << why.toStdString();
}

HttpAnswer ApiFixture::get(const QString& path, const QString& bearer) const {
    return documented("GET", path, curl({QStringLiteral("GET"), url(path), {}, false, {}, bearer}));
}

HttpAnswer ApiFixture::post(const QString& path, const QByteArray& body, const QString& bearer,
                            const QStringList& headers) const {
    return documented("POST", path, curl({QStringLiteral("POST"), url(path), body, true, headers, bearer}));
}

HttpAnswer ApiFixture::post(const QString& path, const QJsonObject& body, const QString& bearer,
                            const QStringList& headers) const {
    return post(path, QJsonDocument(body).toJson(QJsonDocument::Compact), bearer, headers);
}

HttpAnswer ApiFixture::del(const QString& path, const QString& bearer) const {
    return documented("DELETE", path, curl({QStringLiteral("DELETE"), url(path), {}, false, {}, bearer}));
}

qint64 ApiFixture::rowsIn(const QString& table) const {
    qint64 n = -1;
    store->read([&](SqlDatabase& db) {
        n = db.value(QStringLiteral("SELECT COUNT(*) FROM ") + table).toLongLong();
        return true;
    });
    return n;
}
