// The run as a whole: loading, the dispatcher that opens the devices, the threads, Stop, a
// record that cannot be kept, and the end once every device has let the run go.
#include "SendingRun.h"

#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "stores/SentItemFile.h"

using namespace std::chrono_literals;

SendingRun::SendingRun(RunSettings settings, QList<DeviceOpener> devices, std::unique_ptr<RunRecord> record,
                       Operator& op, PauseCountdown& pause, DelayedDeliveryPause::Hooks pauseHooks,
                       QObject* parent)
    : QObject(parent), m_settings(std::move(settings)), m_openers(std::move(devices)),
      m_record(std::move(record)), m_op(op), m_pause(pause), m_pauseHooks(std::move(pauseHooks)) {
    if (m_settings.saveTemplates && m_settings.dataFolder)
        m_templates.emplace(*m_settings.dataFolder);
}

SendingRun::~SendingRun() {
    stop();
    join();
    *m_alive = false; // what the threads handed to the window's thread and it has not seen yet
}

void SendingRun::toWindow(std::function<void()> emitSignal) {
    MainThread::post([alive = m_alive, emitSignal = std::move(emitSignal)] {
        if (*alive)
            emitSignal();
    });
}

void SendingRun::spawn(const QString& name, std::function<void()> body) {
    m_threads.spawn(name, std::move(body));
}

void SendingRun::join() { m_threads.join(); }

void SendingRun::start(QList<std::pair<QString, QString>> rows) {
    m_date = sentItemDate();
    const std::stop_token stop = m_stop.get_token();
    spawn(QStringLiteral("send-load"), [this, rows = std::move(rows), stop] { load(rows, stop); });
}

QList<SendingItem> loadItems(const QList<std::pair<QString, QString>>& rows, const RunSettings& settings,
                             const std::function<bool(int loaded)>& goOn) {
    QList<SendingItem> items;
    items.reserve(rows.size());
    QSet<QString> numbers;
    for (const auto& [number, message] : rows) {
        SendingItem item;
        item.number = Trim_Str(number);
        item.message = message;
        if (item.number.isEmpty())
            continue;
        const bool excluded = settings.exclusion && settings.excludedNumbers.contains(item.number);
        const bool duplicate = settings.skipDuplicates && numbers.contains(item.number);
        if (excluded || duplicate) {
            item.status = excluded ? kExcluded : kSkipped;
            item.useStatus = UseStatus::Done;
            item.currentStatus = kDone;
            item.usePort = settings.loadedDevice;
        }
        numbers.insert(item.number);
        items << item;
        if (goOn && !goOn(int(items.size())))
            break;
    }
    return items;
}

void SendingRun::load(QList<std::pair<QString, QString>> rows, std::stop_token stop) {
    const QList<SendingItem> items = loadItems(rows, m_settings, [&](int loaded) {
        if (loaded % 1000 == 0)
            toWindow(&SendingRun::loading, loaded);
        return !stop.stop_requested();
    });
    // Nothing goes out before the run's record is kept.
    m_record->begin(items, m_settings.road);
    checkRecord();
    toWindow(&SendingRun::loaded, items);
    if (!m_record->anyWaiting() || stop.stop_requested())
        Show_NSLog_Message(QStringLiteral("No item waits for sending, or a stop was asked."));
    // Set before anything holds the run, so that a device added meanwhile finds them.
    const int recorded = m_record->size();
    m_devicesToCome = int(std::min<qsizetype>({m_openers.size(), recorded, kMaxDevices}));
    // Devices that take batches share the list: each claims its part, the rest goes on
    // one by one through whoever is left.
    m_batchShare = (recorded + std::max(1, m_devicesToCome.load()) - 1) / std::max(1, m_devicesToCome.load());
    m_holders = 1; // the dispatcher holds the run open until it has started every device
    spawn(QStringLiteral("send-dispatch"), [this, stop] { dispatch(stop); });
}

void SendingRun::dispatch(std::stop_token stop) {
    Guard::run("SendingRun::dispatch", [&] {
        const int rows = m_record->size();
        int opened = 0;
        for (const DeviceOpener& open : m_openers) {
            if (stop.stop_requested() || opened + 1 > rows || opened >= kMaxDevices)
                break;
            if (opened++ > 0)
                Clock::sleep(m_settings.openingGap);
            std::unique_ptr<SendingDevice> device;
            if (m_record->anyWaitingOrSending() && m_record->anyWaiting()) {
                device = open(stop);
                m_notOpened += device ? 0 : 1;
            }
            if (device) {
                ++m_holders; // the device's thread lets the run go
                if (!startDevice(std::move(device), QStringLiteral("send-%1").arg(opened), false).isEmpty())
                    --m_holders; // never the last: the dispatcher holds the run
            }
            --m_devicesToCome;
        }
        m_devicesToCome = 0;
    });
    if (m_startedDevices == 0) // no device took the run: the window still leaves its loading state
        tellStarted();
    release({});
}

void SendingRun::tellStarted() {
    if (!m_startedTold.exchange(true))
        toWindow(&SendingRun::sendingStarted);
}

QString SendingRun::startDevice(std::unique_ptr<SendingDevice> device, const QString& thread,
                                bool checkTwin) {
    QString refusal;
    // Asked outside the devices' lock: the record asks carries() under its own.
    if (!m_record->anyWaiting())
        refusal = QStringLiteral("nothing is left to send");
    if (refusal.isEmpty()) {
        std::lock_guard lock(m_devicesMutex);
        const bool twin =
            checkTwin && std::any_of(m_devices.cbegin(), m_devices.cend(), [&](const SendingDevice* in) {
                return in->name() == device->name() || in->receiverKey() == device->receiverKey();
            });
        if (twin) {
            refusal = QStringLiteral("it is in the run already");
        } else {
            // Counted as active before it stops being to come: devicesInRun() never reads low.
            ++m_activeDevices;
            m_devices << device.get();
        }
    }
    if (!refusal.isEmpty()) {
        Show_NSLog_Message(device->name() + QStringLiteral(" no thread needed: ") + refusal);
        device->close();
        return refusal;
    }
    Show_NSLog_Message(device->name() + QStringLiteral(" start thread for sending"));
    const bool first = m_startedDevices++ == 0;
    spawn(thread, [this, shared = std::shared_ptr<SendingDevice>(std::move(device))] { runDevice(shared); });
    if (first)
        tellStarted();
    return {};
}

bool SendingRun::addDevice(DeviceOpener open, const QString& key, AddedHook opened) {
    // Before the record is loaded nothing holds the run; once nothing does, it is over.
    if (!open || m_stop.stop_requested() || m_holders.load() == 0 || !m_record->anyWaiting())
        return false;
    {
        std::lock_guard lock(m_devicesMutex);
        const bool listed = !key.isEmpty() &&
                            (m_addingKeys.contains(key) ||
                             std::any_of(m_devices.cbegin(), m_devices.cend(), [&](const SendingDevice* in) {
                                 return in->name() == key || in->receiverKey() == key;
                             }));
        if (listed || m_activeDevices + m_devicesToCome + m_adding >= kMaxDevices)
            return false;
        // The run must not end while the device opens: it holds the run as a started device
        // does, unless the last holder let go first.
        int holders = m_holders.load();
        do {
            if (holders == 0)
                return false;
        } while (!m_holders.compare_exchange_weak(holders, holders + 1));
        ++m_adding;
        m_addingKeys << key;
    }
    const int number = ++m_addedDevices;
    spawn(QStringLiteral("send-added-%1").arg(number),
          [this, open = std::move(open), key, opened = std::move(opened), number] {
              openAdded(open, key, opened, QStringLiteral("send-added-%1-run").arg(number));
          });
    return true;
}

void SendingRun::openAdded(const DeviceOpener& open, const QString& key, const AddedHook& opened,
                           const QString& thread) {
    const std::stop_token stop = m_stop.get_token();
    std::unique_ptr<SendingDevice> device;
    QString refusal;
    if (stop.stop_requested())
        refusal = QStringLiteral("the run was stopped");
    else if (!m_record->anyWaiting())
        refusal = QStringLiteral("nothing is left to send");
    else if (!Guard::run("SendingRun::openAdded", [&] { device = open(stop); }) || !device)
        refusal = QStringLiteral("it did not answer when opened");
    if (device && stop.stop_requested()) {
        device->close();
        refusal = QStringLiteral("the run was stopped");
    } else if (device) {
        refusal = startDevice(std::move(device), thread, true);
    }
    {
        std::lock_guard lock(m_devicesMutex);
        m_addingKeys.removeOne(key);
    }
    --m_adding; // after it was counted active, when it was
    if (opened)
        Guard::run("SendingRun::addDevice", [&] { opened(refusal); });
    if (!refusal.isEmpty())
        release({});
}

int SendingRun::devicesInRun() const {
    // In this order: the dispatcher counts a started device as active before it stops counting
    // it as to come, so the sum never reads low.
    const int toCome = m_devicesToCome;
    return toCome + m_activeDevices;
}

void SendingRun::release(const QString& notice) {
    if (--m_holders > 0)
        return;
    // Exactly one caller gets here: the run is over on every device.
    if (m_pauseHooks.stopActivity)
        m_pauseHooks.stopActivity();
    m_pause.endCountdown();
    m_pause.GSM_Pause_Delay_Time = 0;
    m_pause.clearLabel();
    toWindow(&SendingRun::activity, 100);
    if (!notice.isEmpty())
        m_op.Show_MessageBox(notice);
    const QString why = !dataFailure().isEmpty()  ? kNotSentDataFailure
                        : m_stop.stop_requested() ? kStopped
                                                  : kNoPortLeft;
    const QList<int> marked = m_record->markStopped(why);
    QList<SendingItem> items;
    for (int index : marked)
        items << m_record->at(index);
    if (!marked.isEmpty())
        toWindow(&SendingRun::itemsStopped, marked, items);
    toWindow(&SendingRun::devicesReleased);
    m_released = true;
}

void SendingRun::stop() {
    m_stop.request_stop();
    m_held = false;
}

QString SendingRun::dataFailure() const {
    std::lock_guard lock(m_failureMutex);
    return m_dataFailure;
}

QString SendingRun::recordFailure(const QString& why) {
    return QStringLiteral("Sending stopped: the run could not be recorded (%1).").arg(why);
}

void SendingRun::stopForData(const QString& why) {
    {
        std::lock_guard lock(m_failureMutex);
        if (m_dataFailure.isEmpty())
            m_dataFailure = why;
    }
    Show_NSLog_Message(why);
    stop();
}

void SendingRun::checkRecord() {
    if (const QString failure = m_record->failure(); !failure.isEmpty())
        stopForData(recordFailure(failure));
}

void SendingRun::endRecord() {
    if (!dataFailure().isEmpty()) {
        m_record->abandon();
        return;
    }
    m_record->end(); // the run ended: nothing is left to resume
    checkRecord();   // unless that could not be kept either: then it is told as any other write
}

bool SendingRun::waitWhileHeld(const std::stop_token& stop) const {
    while (m_held && !stop.stop_requested())
        Clock::sleepUnless(50ms, [&] { return !m_held || stop.stop_requested(); });
    return !stop.stop_requested();
}

void SendingRun::show(int index, bool counted) {
    toWindow(&SendingRun::itemChanged, index, m_record->at(index), counted);
}

void SendingRun::leave(const QString& device, const QString& why) {
    Show_NSLog_Message(device + QStringLiteral(": ") + why);
    toWindow(&SendingRun::deviceNote, device, why);
}
