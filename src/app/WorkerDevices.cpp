#include "WorkerDevices.h"

#include "ConsoleOutput.h"
#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/Counted.h"
#include "core/FileUtils.h"
#include "delivery/DelaySchedule.h"
#include "sending/SendingRun.h"

#include <unistd.h>

using namespace std::chrono_literals;

namespace {

// "pause 5 min after every 20 messages", or "" when it never pauses.
QString pausesOf(const DelaySchedule& pauses) {
    if (!pauses.takesPauses())
        return {};
    return QStringLiteral("pause %1 s after every %2")
        .arg(localNumber(pauses.pauseMilliseconds() / 1000),
             pauses.count == 1 ? QStringLiteral("message")
                               : QStringLiteral("%1 messages").arg(localNumber(pauses.count)));
}

} // namespace

WorkerDevices::WorkerDevices(std::shared_ptr<CampaignStore> store, QString road)
    : m_store(std::move(store)), m_road(std::move(road)) {
    m_every.setInterval(std::max<int>(
        1, int(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::scaled(30s)).count())));
    connect(&m_every, &QTimer::timeout, this, &WorkerDevices::write);
    m_every.start();
}

WorkerDevices::~WorkerDevices() { stopped(); }

void WorkerDevices::sending(const QList<StoredDevice>& devices, qint64 campaign, const DelaySchedule& pauses,
                            SendingRun& run) {
    const QString state = QStringLiteral("sending campaign %1").arg(campaign);
    for (StoredDevice device : devices) {
        const StoredDevice before = m_devices.value(device.device);
        device.sent = before.sent;
        device.failed = before.failed;
        device.state = state;
        device.limits = pausesOf(pauses);
        m_devices.insert(device.device, device);
    }
    // The run's signals reach this thread through its queue: the counts are this thread's.
    connect(&run, &SendingRun::itemChanged, this, [this](int, const SendingItem& item, bool counted) {
        const auto device = m_devices.find(item.usePort);
        if (!counted || !item.outcome || device == m_devices.end())
            return;
        ++(item.delivered() ? device->sent : device->failed);
    });
    connect(&run, &SendingRun::deviceNote, this, [this](const QString& name, const QString& note) {
        if (const auto device = m_devices.find(name); device != m_devices.end())
            device->state = note;
    });
    write();
}

void WorkerDevices::idle() {
    setAll(QStringLiteral("idle"));
    write();
}

void WorkerDevices::stopped() {
    setAll(QStringLiteral("stopped"));
    write();
}

void WorkerDevices::setAll(const QString& state) {
    for (StoredDevice& device : m_devices)
        device.state = state;
}

void WorkerDevices::write() {
    if (m_devices.isEmpty())
        return;
    const QString sender = QStringLiteral("%1/%2").arg(CampaignStore::user()).arg(::getpid());
    QList<StoredDevice> rows;
    for (StoredDevice device : std::as_const(m_devices)) {
        device.host = CampaignStore::hostName();
        device.road = m_road;
        device.sender = sender;
        device.seenAt = CampaignStore::now();
        rows << device;
    }
    // Only what others are shown: a refusal is told once, and sending goes on.
    QString why;
    if (!writeDevices(*m_store, rows, &why) && why != m_lastError)
        printErr(QStringLiteral("The devices could not be shown to other senders: %1").arg(why));
    m_lastError = why;
}
