#pragma once
// Delivers the webhooks' outbox: one thread polls for rows that are due and POSTs each, signed,
// to its webhook. A webhook's rows go strictly in their order: a later one waits until the one
// before was delivered or given up, so the events of one message arrive in the order they
// happened. A failed try is tried again later, less and less often; a row that failed for a
// day of program time is given up and its webhook disabled, with the reason.
//
// Several processes on one shared store deliver together: a row is claimed in a transaction
// (skipping rows another process has locked) and is not due again while its try is under way.
// A crash between the receiver's answer and the row's mark delivers it again: receivers tell
// repeats by X-Event-Id.
#include <QByteArray>
#include <QString>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

class CampaignStore;

// The signature of a body sent at a Unix time: "sha256=" and the hex HMAC-SHA256, with the
// webhook's secret, of the time, ".", and the body.
QByteArray webhookSignature(const QString& secret, qint64 unixSeconds, const QByteArray& body);
// How long a row waits after its nth failed try (1, 2, ...).
std::chrono::milliseconds webhookBackoff(int failedTries);

class WebhookDelivery {
public:
    explicit WebhookDelivery(std::shared_ptr<CampaignStore> store);
    ~WebhookDelivery();
    WebhookDelivery(const WebhookDelivery&) = delete;
    WebhookDelivery& operator=(const WebhookDelivery&) = delete;

    void start();
    // Asks the thread to stop and joins it; a try under way finishes first (10 s at most).
    void stop();

    // Tries every row that is due now, each webhook's in order; how many were tried.
    int deliverDue();
    // Forgets the rows delivered or given up before kKeptFor ago (the outbox would otherwise
    // grow with every message ever sent). False when the store refused.
    bool prune();

    static constexpr std::chrono::hours kGiveUpAfter{24};
    static constexpr std::chrono::hours kKeptFor{24 * 30};

private:
    struct Due;
    bool claim(Due& due);
    void settle(const Due& due, int status, const QString& error);

    std::shared_ptr<CampaignStore> m_store;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
