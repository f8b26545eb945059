#include "WebhookDelivery.h"

#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/Log.h"

#include <QMessageAuthenticationCode>
#include <QUrl>

#include <httplib.h>

namespace {

constexpr std::chrono::seconds kPoll{1};
constexpr std::chrono::hours kPruneEvery{1};
constexpr std::chrono::seconds kTimeOut{10};
// A row in the hands of a try is not due again for this long: longer than a try can last.
constexpr std::chrono::minutes kTryLease{2};
constexpr int kLongestError = 300;

// A row that is due and the head of its webhook's rows: a later row waits for the one before.
const QString kDueHead = QStringLiteral(
    "o.delivered_at IS NULL AND o.given_up_at IS NULL AND o.next_at <= ? AND w.deleted_at IS NULL"
    " AND w.disabled_at IS NULL AND w.token IN (SELECT id FROM api_tokens WHERE revoked_at IS NULL)"
    " AND NOT EXISTS (SELECT 1 FROM outbox p WHERE p.webhook = o.webhook"
    " AND p.id < o.id AND p.delivered_at IS NULL AND p.given_up_at IS NULL)");

qint64 ms(std::chrono::milliseconds d) { return qint64(d.count()); }

// What a time-out lasts in real time: shrunk with the clock, yet long enough for a loopback
// receiver to answer on a busy machine.
std::chrono::microseconds timeOut() {
    return std::max<std::chrono::microseconds>(Clock::scaled(kTimeOut), std::chrono::seconds(1));
}

} // namespace

struct WebhookDelivery::Due {
    qint64 row = 0, webhook = 0, createdAt = 0;
    int attempts = 0;
    QString eventId, event, url, secret;
    QByteArray body;
};

QByteArray webhookSignature(const QString& secret, qint64 unixSeconds, const QByteArray& body) {
    QMessageAuthenticationCode mac(QCryptographicHash::Sha256, secret.toUtf8());
    mac.addData(QByteArray::number(unixSeconds) + '.' + body);
    return "sha256=" + mac.result().toHex();
}

std::chrono::milliseconds webhookBackoff(int failedTries) {
    using namespace std::chrono;
    static const milliseconds steps[] = {seconds(5),  seconds(30), minutes(2),
                                         minutes(10), minutes(30), hours(1)};
    const int at = failedTries - 1;
    if (at < 0)
        return steps[0];
    return at < int(std::size(steps)) ? steps[at] : milliseconds(hours(2));
}

WebhookDelivery::WebhookDelivery(std::shared_ptr<CampaignStore> store) : m_store(std::move(store)) {}

WebhookDelivery::~WebhookDelivery() { stop(); }

void WebhookDelivery::start() {
    if (m_thread.joinable() || !m_store)
        return;
    m_stop = false;
    m_thread = std::thread([this] {
        std::chrono::steady_clock::time_point pruned;
        while (!m_stop) {
            if (std::chrono::steady_clock::now() - pruned >= kPruneEvery) {
                prune();
                pruned = std::chrono::steady_clock::now();
            }
            deliverDue();
            Clock::sleepUnless(kPoll, [this] { return m_stop.load(); });
        }
    });
}

void WebhookDelivery::stop() {
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
}

bool WebhookDelivery::prune() {
    const qint64 before = CampaignStore::now() - ms(kKeptFor);
    QString why;
    const bool written = m_store->write(
        [&](SqlDatabase& db) {
            return db.exec(QStringLiteral("DELETE FROM outbox WHERE delivered_at < ? OR given_up_at < ?"),
                           {before, before});
        },
        &why);
    if (!written)
        Show_NSLog_Message(QStringLiteral("Webhooks: the store refused: %1").arg(why));
    return written;
}

bool WebhookDelivery::claim(Due& due) {
    const qint64 now = CampaignStore::now();
    bool found = false;
    QString why;
    // A read first: a poll that finds nothing due takes no write lock from the senders.
    bool anyDue = false;
    if (!m_store->read(
            [&](SqlDatabase& db) {
                QList<SqlRow> rows;
                const bool read = db.exec(QStringLiteral("SELECT 1 FROM outbox o JOIN webhooks w ON w.id ="
                                                         " o.webhook WHERE ") +
                                              kDueHead + QStringLiteral(" LIMIT 1"),
                                          {now}, &rows);
                anyDue = !rows.isEmpty();
                return read;
            },
            &why)) {
        Show_NSLog_Message(QStringLiteral("Webhooks: the store cannot be read: %1").arg(why));
        return false;
    }
    if (!anyDue)
        return false;
    const bool written = m_store->write(
        [&](SqlDatabase& db) {
            found = false;
            // The head of each webhook's rows only: a later row waits for the one before.
            QList<SqlRow> rows;
            if (!db.exec(QStringLiteral(
                             "SELECT o.id, o.webhook, o.created_at, o.attempts, o.event_id, o.event, o.body, "
                             "w.url,"
                             " w.secret FROM outbox o JOIN webhooks w ON w.id = o.webhook WHERE ") +
                             kDueHead + QStringLiteral(" ORDER BY o.next_at, o.id LIMIT 1") +
                             (db.engine() == SqlDatabase::Engine::Postgres
                                  ? QStringLiteral(" FOR UPDATE OF o SKIP LOCKED")
                                  : QString()),
                         {now}, &rows))
                return false;
            if (rows.isEmpty())
                return true;
            const SqlRow& r = rows.first();
            due = Due{r.value(0).toLongLong(),      r.value(1).toLongLong(), r.value(2).toLongLong(),
                      int(r.value(3).toLongLong()), r.value(4).toString(),   r.value(5).toString(),
                      r.value(7).toString(),        r.value(8).toString(),   r.value(6).toString().toUtf8()};
            found = true;
            return db.exec(QStringLiteral("UPDATE outbox SET next_at = ? WHERE id = ?"),
                           {now + ms(kTryLease), due.row});
        },
        &why);
    if (!written) {
        Show_NSLog_Message(QStringLiteral("Webhooks: the store refused: %1").arg(why));
        return false;
    }
    return found;
}

void WebhookDelivery::settle(const Due& due, int status, const QString& error) {
    const qint64 now = CampaignStore::now();
    const bool delivered = status >= 200 && status < 300;
    const int tries = due.attempts + 1;
    const bool givenUp = !delivered && now - due.createdAt >= ms(kGiveUpAfter);
    QString why;
    const bool written = m_store->write(
        [&](SqlDatabase& db) {
            if (delivered)
                return db.exec(
                           QStringLiteral("UPDATE outbox SET delivered_at = ?, attempts = ? WHERE id = ?"),
                           {now, tries, due.row}) &&
                       db.exec(QStringLiteral("UPDATE webhooks SET failures = 0 WHERE id = ?"),
                               {due.webhook});
            if (!db.exec(QStringLiteral("UPDATE outbox SET attempts = ?, last_error = ?, next_at = ?,"
                                        " given_up_at = ? WHERE id = ? AND delivered_at IS NULL"),
                         {tries, error, now + ms(webhookBackoff(tries)), givenUp ? QVariant(now) : QVariant(),
                          due.row}) ||
                !db.exec(QStringLiteral("UPDATE webhooks SET failures = failures + 1 WHERE id = ?"),
                         {due.webhook}))
                return false;
            return !givenUp ||
                   db.exec(
                       QStringLiteral("UPDATE webhooks SET disabled_at = ?, disabled_reason = ?"
                                      " WHERE id = ? AND disabled_at IS NULL"),
                       {now, QStringLiteral("deliveries failed for 24 hours: %1").arg(error), due.webhook});
        },
        &why);
    if (!written)
        Show_NSLog_Message(QStringLiteral("Webhooks: the store refused: %1").arg(why));
    else if (givenUp)
        Show_NSLog_Message(
            QStringLiteral("Webhooks: webhook %1 disabled: its deliveries failed for 24 hours (%2)")
                .arg(due.webhook)
                .arg(error));
}

int WebhookDelivery::deliverDue() {
    int tried = 0;
    Due due;
    while (!m_stop && claim(due)) {
        ++tried;
        const QUrl url(due.url);
        const QString host =
            url.host().contains(QLatin1Char(':')) ? QStringLiteral("[%1]").arg(url.host()) : url.host();
        QString base = url.scheme() + QStringLiteral("://") + host;
        if (url.port() != -1)
            base += QLatin1Char(':') + QString::number(url.port());
        QString path = url.path(QUrl::FullyEncoded);
        if (path.isEmpty())
            path = QStringLiteral("/");
        if (url.hasQuery())
            path += QLatin1Char('?') + url.query(QUrl::FullyEncoded);

        httplib::Client client(base.toStdString());
        const auto limit = timeOut();
        client.set_connection_timeout(limit);
        client.set_read_timeout(limit);
        client.set_write_timeout(limit);
        client.enable_server_certificate_verification(true);
        const qint64 at = CampaignStore::now() / 1000;
        const httplib::Headers headers{
            {"X-Event-Id", due.eventId.toStdString()},
            {"X-Event", due.event.toStdString()},
            {"X-Timestamp", std::to_string(at)},
            {"X-Signature", webhookSignature(due.secret, at, due.body).toStdString()},
            {"User-Agent", "bulksms-webhooks"},
        };
        const httplib::Result result =
            client.Post(path.toStdString(), headers, due.body.toStdString(), "application/json");
        int status = 0;
        QString error;
        if (!result) {
            error = QString::fromStdString(httplib::to_string(result.error()));
        } else {
            status = result->status;
            if (status < 200 || status >= 300)
                error = QStringLiteral("HTTP %1").arg(status);
        }
        settle(due, status, error.left(kLongestError));
    }
    return tried;
}
