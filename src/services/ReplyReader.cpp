#include "ReplyReader.h"

#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"

#include <QSet>

#include <vector>

namespace {

struct Pass {
    std::shared_ptr<CampaignStore> store;
    ReplyReader::Listener listener;
    QString road;
    ReplyRules rules;
};

// One device: opened, read, what was kept forgotten, closed. False when it could not be opened;
// `notice` gets why its replies cannot be read ("" when they can).
bool readDevice(const Pass& pass, const DeviceOpener& open, const std::stop_token& stop, QString& notice) {
    const std::unique_ptr<SendingDevice> device = open(stop);
    if (!device)
        return false;
    const QString key = device->receiverKey();
    const QList<IncomingMessage> received = device->takeReceived(true);
    notice = device->takeReceivingNotice();
    if (!notice.isEmpty())
        notice = device->name() + QLatin1Char('\n') + notice;
    QList<IncomingMessage> kept;
    for (const IncomingMessage& in : received) {
        if (stop.stop_requested())
            break; // the rest waits on the device for the next reading
        ReplyReader::Reply reply{receivedFromDevice(key, pass.road, in), {}};
        QString why;
        const std::optional<StoredReply> stored = storeReceived(*pass.store, reply.message, pass.rules, &why);
        if (!stored) {
            // Nothing after it is kept either: the device holds them all for the next pass.
            Show_NSLog_Message(QStringLiteral("%1: replies not kept: %2").arg(device->name(), why));
            if (pass.listener.notKept)
                MainThread::post(
                    [notKept = pass.listener.notKept, name = device->name(), why] { notKept(name, why); });
            break;
        }
        kept << in;
        reply.stored = *stored;
        if (stored->fresh && pass.listener.received)
            MainThread::post([received = pass.listener.received, reply] { received(reply); });
    }
    if (!kept.isEmpty())
        device->forgetReceived(kept);
    device->close();
    return true;
}

} // namespace

ReplyReader::ReplyReader(std::shared_ptr<CampaignStore> store, Listener listener)
    : m_store(std::move(store)), m_listener(std::move(listener)) {}

ReplyReader::~ReplyReader() { stop(); }

void ReplyReader::start(QList<DeviceOpener> devices, const QString& road, const ReplyRules& rules) {
    stop();
    if (!m_store || devices.isEmpty())
        return;
    Pass pass{m_store, m_listener, road, rules};
    m_worker.start([pass = std::move(pass), devices = std::move(devices)](std::stop_token stop) {
        // A device that cannot be opened (unplugged, or another program holds its port) is
        // logged when it stops opening, not every minute after; why one cannot be read is told
        // once (each pass opens it afresh, and it says so afresh).
        std::vector<bool> unopened(size_t(devices.size()), false);
        QSet<QString> told;
        do {
            for (qsizetype i = 0; i < devices.size() && !stop.stop_requested(); ++i) {
                bool opened = false;
                QString notice;
                Guard::run("ReplyReader::readDevice",
                           [&] { opened = readDevice(pass, devices.at(i), stop, notice); });
                if (!notice.isEmpty() && !told.contains(notice) && pass.listener.cannotRead) {
                    told.insert(notice);
                    MainThread::post([cannotRead = pass.listener.cannotRead, notice] {
                        cannotRead(notice.section(QLatin1Char('\n'), 0, 0),
                                   notice.section(QLatin1Char('\n'), 1));
                    });
                }
                if (!opened && !unopened.at(size_t(i)) && !stop.stop_requested())
                    Show_NSLog_Message(QStringLiteral("Replies not read: device %1 of %2 could not be opened")
                                           .arg(i + 1)
                                           .arg(devices.size()));
                unopened.at(size_t(i)) = !opened;
            }
        } while (Clock::sleepUnless(kReadEvery, [&stop] { return stop.stop_requested(); }));
    });
}

void ReplyReader::stop() {
    m_worker.requestStop();
    m_worker.join();
}
