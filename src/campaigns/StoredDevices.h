#pragma once
// Every sender's devices as it last told the store (a worker every 30 s): any process of the
// store, on any computer, shows what each computer's modems and phones are doing.
#include <QList>
#include <QString>

#include <optional>

class CampaignStore;

struct StoredDevice {
    QString host, road;
    QString device;  // the port, or the phone's serial
    QString sender;  // user@host/pid of the process that uses it
    QString details; // maker, model, network
    QString signal;
    QString state;  // "idle", "sending campaign N", why it left a run, "stopped"
    QString limits; // the pauses it keeps
    qint64 sent = 0, failed = 0;
    qint64 seenAt = 0; // ms since the epoch
};

// Writes each device's row (one per host, road and device; the newest word wins).
bool writeDevices(CampaignStore& store, const QList<StoredDevice>& devices, QString* error = nullptr);
// Every device the store knows, by host, road and device.
std::optional<QList<StoredDevice>> storedDevices(CampaignStore& store, QString* error = nullptr);
