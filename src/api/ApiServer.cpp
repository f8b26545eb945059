#include "ApiServer.h"

#include "ApiContext.h"
#include "ApiFiles.h"
#include "ApiJson.h"
#include "CampaignRoutes.h"
#include "DeviceRoutes.h"
#include "InboxRoutes.h"
#include "OptOutRoutes.h"
#include "WebhookDelivery.h"
#include "WebhookRoutes.h"
#include "campaigns/CampaignStore.h"
#include "core/Log.h"

#include <algorithm>
#include <httplib.h>

namespace {

// What a status means, for the errors the library answers itself.
QString errorText(int status) {
    switch (status) {
    case 404: return QStringLiteral("No such endpoint.");
    case 405: return QStringLiteral("The endpoint does not take this method.");
    case 413: return QStringLiteral("The body is too large.");
    case 400: return QStringLiteral("The request is malformed.");
    default: break;
    }
    return QStringLiteral("The request could not be handled.");
}

} // namespace

ApiServer::ApiServer(std::shared_ptr<CampaignStore> store, const DataFolder& folder, ApiServerOptions options)
    : m_options(std::move(options)),
      m_context(std::make_unique<ApiContext>(
          ApiContext{std::move(store), folder, std::make_unique<RateLimiter>(m_options.rateLimit)})) {}

ApiServer::~ApiServer() { stop(); }

QString ApiServer::address() const {
    const QString host = m_options.host.contains(QLatin1Char(':'))
                             ? QStringLiteral("[%1]").arg(m_options.host)
                             : m_options.host;
    return QStringLiteral("%1://%2:%3").arg(m_options.tlsCert.isEmpty() ? "http" : "https", host).arg(m_port);
}

bool ApiServer::start(QString* error) {
    if (m_options.tlsCert.isEmpty())
        m_server = std::make_unique<httplib::Server>();
    else
        m_server = std::make_unique<httplib::SSLServer>(m_options.tlsCert.toLocal8Bit().constData(),
                                                        m_options.tlsKey.toLocal8Bit().constData());
    if (!m_server->is_valid()) {
        *error = QStringLiteral("The certificate or key cannot be read (%1, %2).")
                     .arg(m_options.tlsCert, m_options.tlsKey);
        return false;
    }
    httplib::Server& s = *m_server;
    s.set_payload_max_length(size_t(m_options.maxBody));
    s.set_tcp_nodelay(true); // a small answer goes at once, not after the peer's delayed acknowledgement
    s.set_keep_alive_max_count(1000);
    s.new_task_queue = [threads = size_t(std::max(1, m_options.threads))] {
        return new httplib::ThreadPool(threads);
    };
    s.set_read_timeout(10, 0);
    s.set_write_timeout(10, 0);
    s.set_error_handler([](const httplib::Request&, httplib::Response& res) {
        if (res.body.empty())
            replyError(res, res.status, errorText(res.status));
    });
    s.set_exception_handler([](const httplib::Request& req, httplib::Response& res, std::exception_ptr) {
        Show_NSLog_Message(QStringLiteral("API: %1 %2 failed")
                               .arg(QString::fromStdString(req.method), QString::fromStdString(req.path)));
        replyError(res, 500, errorText(500));
    });
    s.set_post_routing_handler(
        [](const httplib::Request&, httplib::Response& res) { res.set_header("Cache-Control", "no-store"); });
    addCampaignRoutes(s, *m_context);
    addInboxRoutes(s, *m_context);
    addOptOutRoutes(s, *m_context);
    addDeviceRoutes(s, *m_context);
    addWebhookRoutes(s, *m_context);
    addFileRoutes(s);

    const std::string host = m_options.host.toStdString();
    if (m_options.port == 0) {
        m_port = s.bind_to_any_port(host);
    } else {
        m_port = s.bind_to_port(host, m_options.port) ? m_options.port : -1;
    }
    if (m_port <= 0) {
        *error = QStringLiteral("Cannot listen on %1 port %2: %3.")
                     .arg(m_options.host)
                     .arg(m_options.port)
                     .arg(QString::fromLocal8Bit(std::strerror(errno)));
        m_server.reset();
        return false;
    }
    m_thread = std::thread([&s] { s.listen_after_bind(); });
    // A stop before the loop runs would go unheard, and the join would wait for ever.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!s.is_running() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    m_webhooks = std::make_unique<WebhookDelivery>(m_context->store);
    m_webhooks->start();
    return true;
}

void ApiServer::stop() {
    if (m_webhooks)
        m_webhooks->stop();
    m_webhooks.reset();
    if (m_server)
        m_server->stop();
    if (m_thread.joinable())
        m_thread.join();
    m_server.reset();
}
