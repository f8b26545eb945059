#include "CampaignSenders.h"

#include "CampaignStore.h"
#include "StoredRun.h"
#include "core/Clock.h"

#include <QSet>

#include <cerrno>
#include <csignal>
#include <mutex>
#include <unistd.h>

namespace {
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): guards g_living
std::mutex g_mutex;
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one per process
QSet<QString> g_living; // the senders of this process not yet let go
} // namespace

void senderStarted(const QString& claimer) {
    std::lock_guard lock(g_mutex);
    g_living.insert(claimer);
}

void senderEnded(const QString& claimer) {
    std::lock_guard lock(g_mutex);
    g_living.remove(claimer);
}

qint64 leaseLength() {
    using namespace std::chrono;
    return std::max<qint64>(duration_cast<milliseconds>(::Clock::scaled(StoredRun::kLease)).count(), 3000);
}

bool claimerGone(const QString& claimer) {
    const QString host = claimer.section(QLatin1Char('@'), -1).section(QLatin1Char('/'), 0, 0);
    bool numeric = false;
    const qint64 pid = claimer.section(QLatin1Char('/'), -2, -2).toLongLong(&numeric);
    if (host != CampaignStore::hostName() || !numeric || pid <= 0)
        return false;
    if (pid == ::getpid()) {
        std::lock_guard lock(g_mutex);
        return !g_living.contains(claimer);
    }
    return ::kill(pid_t(pid), 0) != 0 && errno == ESRCH;
}

bool campaignHeld(SqlDatabase& db, qint64 campaign) {
    QList<SqlRow> senders;
    db.exec(QStringLiteral("SELECT id FROM senders WHERE campaign = ? AND seen_at >= ?"),
            {campaign, CampaignStore::now() - leaseLength()}, &senders);
    for (const SqlRow& sender : senders)
        if (!claimerGone(sender.value(0).toString()))
            return true;
    return false;
}
