#pragma once
// Replies read while no run sends: the worker between campaigns and the open desktop read their
// devices now and then, as a run reads them between its messages. Each pass opens every device
// in turn, keeps what it received in the store (its campaign and stop word applied), lets the
// device forget only what was kept, and closes it again, so that the port is free between
// passes. One owner (on the main thread) starts and stops it; a run's Send stops it first, for
// the run must get the port.
#include "campaigns/Replies.h"
#include "core/WorkerThread.h"
#include "sending/SendingRun.h"

#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

class CampaignStore;

class ReplyReader {
public:
    // A pass at the start, then one this often: as often as a run reads its devices.
    static constexpr std::chrono::seconds kReadEvery{60};

    // A reply the store kept for the first time.
    struct Reply {
        ReceivedMessage message;
        StoredReply stored;
    };
    // Told on the owner's thread (MainThread::post): each fresh reply, each time the store
    // refused one (the device then holds it and the rest of what it read, for the next pass),
    // and why a device cannot have its replies read (once for each reason while the reading lasts).
    struct Listener {
        std::function<void(const Reply&)> received;
        std::function<void(const QString& device, const QString& why)> notKept;
        std::function<void(const QString& device, const QString& why)> cannotRead;
    };

    ReplyReader(std::shared_ptr<CampaignStore> store, Listener listener);
    // Stops, as stop() does.
    ~ReplyReader();
    ReplyReader(const ReplyReader&) = delete;
    ReplyReader& operator=(const ReplyReader&) = delete;

    // Reads through these devices (their replies filed under `road`) at once and then every
    // kReadEvery, until stopped; a reading already going is stopped first.
    void start(QList<DeviceOpener> devices, const QString& road, const ReplyRules& rules);
    // Asks the reading to end and waits for it: when it returns no device of it is open, and
    // what it told has reached the listener. A device in the middle of its reading finishes the
    // message in hand (a second or two at most).
    void stop();
    bool reading() const { return m_worker.isRunning(); }

private:
    std::shared_ptr<CampaignStore> m_store;
    Listener m_listener;
    WorkerThread m_worker{QStringLiteral("replies")};
};
