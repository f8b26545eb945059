#pragma once
// A webhook's receiver for tests: an HTTP server on a free loopback port that answers 500 to its
// first `failures` requests (all of them when negative) and 204 after, and keeps every request.
#include <QByteArray>
#include <QList>
#include <QString>

#include <httplib.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

struct Arrival {
    QString eventId, event, timestamp, signature;
    QByteArray body;
    int answered = 0;
};

class Receiver {
public:
    // With a certificate and its key: HTTPS.
    explicit Receiver(int failures, const QString& cert = {}, const QString& key = {})
        : m_server(cert.isEmpty() ? std::make_unique<httplib::Server>()
                                  : std::make_unique<httplib::SSLServer>(cert.toLocal8Bit().constData(),
                                                                         key.toLocal8Bit().constData())),
          m_tls(!cert.isEmpty()), m_failures(failures) {
        m_server->Post("/hook", [this](const httplib::Request& req, httplib::Response& res) {
            std::lock_guard lock(m_mutex);
            const bool fail = m_failures < 0 || int(m_arrivals.size()) < m_failures;
            res.status = fail ? 500 : 204;
            m_arrivals.append({QString::fromStdString(req.get_header_value("X-Event-Id")),
                               QString::fromStdString(req.get_header_value("X-Event")),
                               QString::fromStdString(req.get_header_value("X-Timestamp")),
                               QString::fromStdString(req.get_header_value("X-Signature")),
                               QByteArray::fromStdString(req.body), res.status});
            if (req.get_header_value("Content-Type") != "application/json")
                m_badType = true;
        });
        m_server->new_task_queue = [] { return new httplib::ThreadPool(2); }; // deliveries come one by one
        m_port = m_server->bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this] { m_server->listen_after_bind(); });
        while (!m_server->is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ~Receiver() {
        m_server->stop();
        m_thread.join();
    }
    QString url() const {
        return QStringLiteral("%1://127.0.0.1:%2/hook").arg(m_tls ? "https" : "http").arg(m_port);
    }
    QList<Arrival> arrivals() const {
        std::lock_guard lock(m_mutex);
        return m_arrivals;
    }
    QList<Arrival> accepted() const {
        QList<Arrival> ok;
        for (const Arrival& a : arrivals())
            if (a.answered == 204)
                ok << a;
        return ok;
    }
    bool badType() const { return m_badType; }

private:
    std::unique_ptr<httplib::Server> m_server;
    const bool m_tls;
    std::thread m_thread;
    int m_port = 0;
    const int m_failures;
    mutable std::mutex m_mutex;
    QList<Arrival> m_arrivals;
    std::atomic<bool> m_badType{false};
};
