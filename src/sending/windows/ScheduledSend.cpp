#include "ScheduledSend.h"

#include "SendLater.h"
#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/Log.h"
#include "core/MainThread.h"

ScheduledSend::ScheduledSend(DataFolder folder, QString road, Hooks hooks, QObject* parent)
    : QObject(parent), m_folder(std::move(folder)), m_road(std::move(road)), m_hooks(std::move(hooks)) {
    connect(&m_timer, &QTimer::timeout, this, &ScheduledSend::check);
}

ScheduledSend::~ScheduledSend() { m_reader.requestStop(); }

void ScheduledSend::setEnabled(bool on) {
    m_enabled = on;
    if (!on) {
        m_timer.stop();
        setStatus({});
        return;
    }
    m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(Clock::scaled(kCheckEvery)));
    check();
}

void ScheduledSend::check() {
    if (!m_enabled)
        return;
    if (m_reading) {
        m_checkAgain = true;
        return;
    }
    // A run going on holds the devices: it is looked at again after it.
    if (m_hooks.busy()) {
        setStatus({});
        return;
    }
    m_reading = true;
    m_checkAgain = false;
    m_reader.start([this, folder = m_folder, road = m_road](std::stop_token stop) {
        QString why;
        std::optional<CampaignToSend> due;
        if (const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why))
            due = dueScheduledCampaign(*store, CampaignStore::folderKey(folder), road, &why);
        MainThread::post([this, stop, due, why] {
            if (stop.stop_requested())
                return; // the window is gone
            m_reading = false;
            take(due, why);
            if (m_checkAgain)
                check();
        });
    });
}

void ScheduledSend::take(const std::optional<CampaignToSend>& due, const QString& why) {
    if (!why.isEmpty()) {
        // Told in the status line; the next check tries again.
        if (why != m_toldRefusal)
            Show_NSLog_Message(QStringLiteral("Scheduled campaigns could not be read: ") + why);
        m_toldRefusal = why;
        setStatus(QStringLiteral("Scheduled campaigns could not be read: %1").arg(why));
        return;
    }
    m_toldRefusal.clear();
    if (!due || !m_enabled || m_hooks.busy()) {
        setStatus({});
        return;
    }
    if (!m_hooks.hasDevices()) {
        setStatus(QStringLiteral("Campaign %1 was due at %2: select a device to send it.")
                      .arg(due->id)
                      .arg(SendLater::timeText(due->startAt)));
        return;
    }
    setStatus(QStringLiteral("Sending campaign %1, scheduled for %2.")
                  .arg(due->id)
                  .arg(SendLater::timeText(due->startAt)));
    m_hooks.send(*due);
}

void ScheduledSend::setStatus(const QString& text) {
    if (text == m_status)
        return;
    m_status = text;
    emit changed();
}
