#pragma once
// The HTTP server of the API (bulksms serve, bulksms worker --serve): it listens on its own
// thread, answers each request on a thread of its pool, and shares the process's store. While
// it serves, the webhooks' outbox is delivered from the same process.
#include "core/DataFolder.h"

#include <QString>

#include <memory>
#include <thread>

class CampaignStore;
class WebhookDelivery;
struct ApiContext;
namespace httplib {
class Server;
}

struct ApiServerOptions {
    QString host = QStringLiteral("127.0.0.1");
    int port = 8080; // 0: any free port (port() tells which)
    QString tlsCert, tlsKey;
    int rateLimit = 20;                       // requests a second per token; 0: none
    qint64 maxBody = qint64(4) * 1024 * 1024; // bytes; a larger body gets 413
    // A client keeps its connection for many requests, and each connection holds a thread of the
    // pool while it lives: enough threads for the clients a small business runs at once.
    int threads = 48;
};

class ApiServer {
public:
    ApiServer(std::shared_ptr<CampaignStore> store, const DataFolder& folder, ApiServerOptions options);
    ~ApiServer();
    ApiServer(const ApiServer&) = delete;
    ApiServer& operator=(const ApiServer&) = delete;

    // Binds the address and serves on a thread of its own; false with why.
    bool start(QString* error);
    // Stops listening, finishes the requests in hand, and joins.
    void stop();
    int port() const { return m_port; }
    // "http://127.0.0.1:8080" (https with TLS).
    QString address() const;

private:
    ApiServerOptions m_options;
    std::unique_ptr<ApiContext> m_context;
    std::unique_ptr<httplib::Server> m_server;
    std::unique_ptr<WebhookDelivery> m_webhooks;
    std::thread m_thread;
    int m_port = 0;
};
