#pragma once
// The one sending engine, for modems and phones alike. A run loads its recipients into its
// record, opens its devices one after another and gives each a worker thread that claims the
// next item, hands it to its device and records the typed outcome the moment the device
// answers: retries of refused messages (on another device where there is one), devices that
// fail leaving the run, delayed-delivery pauses, Stop, a record that cannot be kept stopping
// everything, and the network's delivery reports. Windows observe a run through its signals
// (delivered on their own thread) and through the read-only state below.
#include "RunRecord.h"
#include "core/DataFolder.h"
#include "core/ThreadGroup.h"
#include "delivery/DelaySchedule.h"
#include "delivery/DelayedDeliveryPause.h"
#include "delivery/PauseCountdown.h"
#include "device/SendingDevice.h"
#include "stores/TemplateFile.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <vector>

class Operator;

// Everything a run reads from the window that started it, copied when it starts.
struct RunSettings {
    // Further attempts for a message the network refused: the default, and the most allowed.
    static constexpr int kDefaultRetries = 1, kMaxRetries = 5;

    DelaySchedule schedule;
    bool unicode = false, flash = false, plainPunctuation = false;
    QString footer; // on a line of its own after every message ("" for none)
    // The hours each recipient may be texted, by their own clock ("09:00-20:00"; "" for any
    // time); windowZone: one zone for every recipient instead of the one their number says;
    // until: when what is left goes unsent (ms since the epoch; 0 never).
    QString sendWindow, windowZone;
    qint64 until = 0;
    DeviceLimits limits;
    // Limits of single SIMs or phones (by SendingDevice::receiverKey()), over `limits`.
    QHash<QString, DeviceLimits> deviceLimits;
    bool skipDuplicates = false, exclusion = false;
    QSet<QString> excludedNumbers;
    bool deliveryReports = false;
    int retries = kDefaultRetries; // further attempts for a message the network refused
    bool batch = false;            // each device takes all its messages at once (a phone's single shot)
    QString road = kGsmRoad;       // the kind of device the run goes through
    // The region numbers written without their country code were read in ("" for none): a
    // reply is matched to its campaign's numbers read the same way.
    QString country;
    bool saveSentItems = false, saveTemplates = false;
    std::optional<DataFolder> dataFolder; // where sent items and templates are kept
    QString sentItemsPath;
    QString loadedDevice; // "Use Port" of the items left out at loading
    // The rest between opening two devices (modems wake one after another).
    std::chrono::milliseconds openingGap{0};
};

// The items of a run made from its rows (number, message): blank numbers left out, excluded
// numbers and repeated ones (when the settings say so) finished at once. `goOn` is asked after
// each item (with how many there are) whether to go on.
QList<SendingItem> loadItems(const QList<std::pair<QString, QString>>& rows, const RunSettings& settings,
                             const std::function<bool(int loaded)>& goOn = {});

// The message a device is handed for a text: the footer after it, cut to the longest allowed,
// its punctuation made plain when the settings say so.
OutgoingMessage outgoingMessage(const QString& number, const QString& text, const RunSettings& settings);

// Opens the run's n-th device on the run's thread; null when it cannot be used (the opener
// told the operator why).
using DeviceOpener = std::function<std::unique_ptr<SendingDevice>(std::stop_token)>;

class SendingRun : public QObject {
    Q_OBJECT
public:
    // The pause countdown and its hooks belong to the window that shows them.
    SendingRun(RunSettings settings, QList<DeviceOpener> devices, std::unique_ptr<RunRecord> record,
               Operator& op, PauseCountdown& pause, DelayedDeliveryPause::Hooks pauseHooks,
               QObject* parent = nullptr);
    ~SendingRun() override;

    // Loads the rows (number, message) on the run's own thread, records them, then sends.
    void start(QList<std::pair<QString, QString>> rows);

    // Stop: no further message goes out; the run ends as soon as its devices are let go.
    void stop();
    // Something the run must keep could not be written: nothing more goes to any device.
    void stopForData(const QString& why);
    // Takes one more device into the run while it sends (a modem plugged in meanwhile): it is
    // opened on a thread of the run and then sends as the first ones do. `key` (its port, or
    // its receiverKey when known) keeps a device already in the run from joining twice; the
    // opened device's name and receiverKey are checked again. False, and nothing done, when
    // the run is not sending (not started, stopping, over), nothing waits, it already has
    // kMaxDevices, or the device is in it. Any thread; the run outlives the call.
    // `opened` (may be empty) hears on the run's thread whether it took its place: "" when it
    // sends, else why not.
    using AddedHook = std::function<void(const QString& refusal)>;
    bool addDevice(DeviceOpener open, const QString& key = {}, AddedHook opened = {});
    // While held (the operator is asked whether to stop) no device takes a new message.
    void hold(bool on) { m_held = on; }
    bool held() const { return m_held; }

    const RunRecord& record() const { return *m_record; }
    const RunSettings& settings() const { return m_settings; }
    bool stopRequested() const { return m_stop.stop_requested(); }
    std::stop_token stopToken() const { return m_stop.get_token(); }
    bool anyWaitingOrSending() const { return m_record->anyWaitingOrSending(); }
    bool reporting() const { return m_reportingDevices > 0; }
    // Every device has let the run go (what they said on the way is on its way to the window).
    bool released() const { return m_released; }
    bool threadsRunning() const { return m_threads.running(); }
    QString dataFailure() const;
    int sentAsUnicode() const { return m_sentAsUnicode; }
    // Devices that never opened (their opener returned nothing), and those that took the run.
    int devicesNotOpened() const { return m_notOpened; }
    int startedDevices() const { return m_startedDevices; }
    // The run's end on the record: called by its window once the end is shown.
    void endRecord();
    // Waits until every thread of the run has ended.
    void join();

    static constexpr int kMaxDevices = kMaxRunDevices;
    // A device leaves the run after this many refusals in a row, for as many numbers.
    static constexpr int kRefusalsBeforeADeviceLeaves = 3;
    // The pause before a refused message's next attempt grows by this much per attempt.
    static constexpr std::chrono::seconds kRetryPause{10};
    // How long a device listens for the reports still owed once it has nothing left to send.
    static constexpr std::chrono::seconds kDeliveryReportWait{60};

    static QString recordFailure(const QString& why); // the run's end when its record failed

signals:
    void loading(int loaded);                     // every thousand rows
    void loaded(const QList<SendingItem>& items); // the items as recorded
    void sendingStarted();                        // once: the first device started, or none could
    void itemChanged(int index, const SendingItem& item, bool counted); // counted: it just finished
    void partSending(int index, int part, int parts);                   // a part of a long message starts
    void itemsStopped(const QList<int>& indexes, const QList<SendingItem>& items);
    void deviceNote(const QString& device, const QString& note); // left the run, or no reports
    // Something the operator should hear of a device that stays in the run (its replies cannot be
    // read); each said once.
    void deviceNotice(const QString& device, const QString& notice);
    void activity(int value); // 0 idle, 100 busy
    // Who waits for their send window: "waiting for 09:00 in America/Chicago (3 recipients)";
    // "" once nobody does.
    void recipientsWaiting(const QString& note);
    void waitingForReports(int awaiting); // 0 when the wait is over
    // Every device has let the run go and the waiting items are marked: the window ends the run.
    void devicesReleased();

private:
    struct Worker;
    void load(QList<std::pair<QString, QString>> rows, std::stop_token stop);
    void dispatch(std::stop_token stop);
    void runDevice(const std::shared_ptr<SendingDevice>& device);
    // Counts an opened device in and gives it its thread; the device is closed when
    // nothing waits any more, or (checkTwin) a device of its name or receiverKey is in the run:
    // "" when it started, else why not.
    QString startDevice(std::unique_ptr<SendingDevice> device, const QString& thread, bool checkTwin);
    void openAdded(const DeviceOpener& open, const QString& key, const AddedHook& opened,
                   const QString& thread);
    void tellStarted();
    void sendFrom(Worker& worker);
    bool sendEach(Worker& worker); // false when the device left the run
    bool restsForItsLimits(Worker& worker);
    void restBetweenMessages(Worker& worker);
    bool sendOne(Worker& worker, const RunRecord::Claim& claim);
    bool afterAnswer(Worker& worker, const RunRecord::Claim& claim, const OutgoingMessage& message,
                     const SendOutcome& outcome);
    void sendBatch(Worker& worker);
    bool finishSent(Worker& worker, const RunRecord::Claim& claim, const OutgoingMessage& message,
                    const SendOutcome& outcome);
    static QString doneOn(const Worker& worker);
    void applyReports(Worker& worker);
    void keepReceived(Worker& worker, bool now);
    void awaitReports(Worker& worker);
    void leave(const QString& device, const QString& why);
    void release(const QString& notice);
    int devicesInRun() const;
    bool waitWhileHeld(const std::stop_token& stop) const;
    void checkRecord();
    void show(int index, bool counted);
    void spawn(const QString& name, std::function<void()> body);
    OutgoingMessage outgoing(const SendingItem& item) const;
    // Whether the device takes a message of this text: one it cannot carry goes to another
    // device of the run, and to this one only when none of them can.
    bool carries(const SendingDevice& device, const QString& text) const;
    // Signals reach the window's thread through MainThread's queue, as every hand-over to it
    // does (the thread sanitizer sees that queue's lock, not those inside Qt's libraries);
    // nothing arrives once the run is gone.
    template <typename... Args, typename... Values>
    void toWindow(void (SendingRun::*signal)(Args...), Values... values) {
        toWindow([this, signal, values...] { (this->*signal)(values...); });
    }
    void toWindow(std::function<void()> emitSignal);

    const RunSettings m_settings;
    QList<DeviceOpener> m_openers;
    std::unique_ptr<RunRecord> m_record;
    Operator& m_op;
    PauseCountdown& m_pause;
    DelayedDeliveryPause::Hooks m_pauseHooks;
    std::atomic<int> m_pauseCounter{0};
    QString m_date;                          // the sent items' date
    std::optional<TemplateFile> m_templates; // where the run keeps its texts, when it does

    std::stop_source m_stop;
    std::atomic<bool> m_held{false};
    ThreadGroup m_threads;
    std::atomic<int> m_holders{0};       // the dispatcher and every started device
    std::atomic<int> m_activeDevices{0}; // devices still taking items
    std::atomic<int> m_devicesToCome{0}; // devices the dispatcher has yet to open
    mutable std::mutex m_devicesMutex;
    QList<const SendingDevice*> m_devices; // the started devices still taking items (under the mutex)
    // How many items a device that takes batches claims at once (set before any starts).
    std::atomic<int> m_batchShare{0};
    // Devices being added (opening), and the keys they were added under (under m_devicesMutex).
    std::atomic<int> m_adding{0};
    QStringList m_addingKeys;
    std::atomic<int> m_addedDevices{0};
    std::atomic<bool> m_startedTold{false};
    std::atomic<int> m_reportingDevices{0};
    std::atomic<int> m_startedDevices{0};
    std::atomic<int> m_notOpened{0};
    std::atomic<int> m_sentAsUnicode{0};
    std::atomic<bool> m_released{false};
    mutable std::mutex m_failureMutex;
    QString m_dataFailure;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); // read and reset on the window's thread
    std::mutex m_noticeMutex;
    QString m_lastNotice; // what the last device to go wants the operator told
};
