#pragma once
// What a worker tells the store of its devices, so that any process on any computer can show
// them: each modem or phone it sends with, what it is doing, how many messages it sent and
// failed, and when it last said so. Written every 30 s, when a campaign starts or ends, and
// when the worker ends.
#include "campaigns/StoredDevices.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <memory>

class CampaignStore;
struct DelaySchedule;
class SendingRun;

class WorkerDevices : public QObject {
public:
    WorkerDevices(std::shared_ptr<CampaignStore> store, QString road);
    ~WorkerDevices() override;

    // The devices chosen for the campaign, and the run that sends it through them.
    void sending(const QList<StoredDevice>& devices, qint64 campaign, const DelaySchedule& pauses,
                 SendingRun& run);
    // Between campaigns; at the end (the worker's end says it too).
    void idle();
    void stopped();

private:
    void setAll(const QString& state);
    void write();

    std::shared_ptr<CampaignStore> m_store;
    const QString m_road;
    QHash<QString, StoredDevice> m_devices; // by device
    QTimer m_every;
    QString m_lastError;
};
