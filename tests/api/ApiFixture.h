#pragma once
// A running API server on a private data folder, on either engine ("sqlite", "postgresql"),
// with a token made for it: what a test sends with curl.
#include "HttpClient.h"
#include "StoredCampaigns.h"
#include "TestEnvironment.h"
#include "api/ApiServer.h"

#include <QJsonArray>
#include <QJsonObject>

#include <gtest/gtest.h>

class ApiFixture : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts (again) the server with these options over the defaults.
    void startServer(ApiServerOptions options = {});

    QString url(const QString& path) const { return server->address() + path; }
    HttpAnswer get(const QString& path, const QString& token) const;
    HttpAnswer post(const QString& path, const QByteArray& body, const QString& token,
                    const QStringList& headers = {}) const;
    HttpAnswer post(const QString& path, const QJsonObject& body, const QString& token,
                    const QStringList& headers = {}) const;
    HttpAnswer del(const QString& path, const QString& token) const;

    // How many rows a table of the store holds.
    qint64 rowsIn(const QString& table) const;

    TestDataHome home;
    std::shared_ptr<CampaignStore> store;
    std::unique_ptr<ApiServer> server;
    QString token; // made by SetUp, named "test"
};
