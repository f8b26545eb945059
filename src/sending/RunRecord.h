#pragma once
// The record of one sending run, as the engine uses it: the run's items, who claims the next,
// what each device did, and what the network reported of delivery. Every change is kept
// before the engine goes on; once one could not be kept, failure() says why and the engine
// hands out nothing more. The campaign store keeps it.
#include "DeviceLimits.h"
#include "SendingItems.h"
#include "device/SendingDevice.h"

#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>

class RunRecord {
public:
    RunRecord() = default;
    virtual ~RunRecord() = default;
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;

    // What a claim found at an index: an item to send, or one it finished as excluded, skipped
    // or opted out instead (the caller shows it).
    struct Claim {
        // Ended: the campaign's end time passed before the item's turn.
        enum class Kind { Send, Excluded, Skipped, OptedOut, Ended } kind;
        int index;
        SendingItem item;
    };
    using Clock = std::chrono::steady_clock;

    // Starts the run over these items (excluded and skipped ones already finished); `road`:
    // the kind of device it goes through, for whoever resumes it.
    virtual void begin(const QList<SendingItem>& items, const QString& road) = 0;

    virtual int size() const = 0;
    virtual SendingItem at(int index) const = 0;
    virtual QList<SendingItem> all() const = 0;

    // The next item for the device: a retry whose pause is over (one that another device
    // failed goes to another device, unless this is the only one left), else the next waiting
    // item in the list's order. Items on the way that must not be sent (excluded, skipped, or
    // their recipient opted out since) are finished, kept, and then reported through
    // finishedOnTheWay. An item whose text the device does not carry (`carries` says false) is
    // left waiting for the others, as a retry that avoids this device. Nothing when no item is ready for this
    // device now; anyWaiting() then tells whether one may be later.
    using Carries = std::function<bool(const QString& text)>;
    virtual std::optional<Claim> claimNext(const QString& device, bool skipDuplicates,
                                           const std::function<bool(const QString&)>& isExcluded,
                                           const std::function<void(const Claim&)>& finishedOnTheWay,
                                           bool onlyDeviceLeft, const Carries& carries) = 0;
    // The same for a device that carries every text.
    std::optional<Claim> claimNext(const QString& device, bool skipDuplicates,
                                   const std::function<bool(const QString&)>& isExcluded,
                                   const std::function<void(const Claim&)>& finishedOnTheWay,
                                   bool onlyDeviceLeft) {
        return claimNext(device, skipDuplicates, isExcluded, finishedOnTheWay, onlyDeviceLeft, {});
    }
    // Just before the claimed item goes to its device.
    virtual void handing(int index, const QString& device) = 0;
    // The item waits again: refused and to be retried after `notBefore`, elsewhere if it can.
    virtual void retryLater(int index, const SendOutcome& refusal, Clock::time_point notBefore) = 0;
    // The item never reached its device: it waits for another, and the attempt does not count.
    virtual void giveBack(int index, const QString& why, const QString& avoidDevice) = 0;
    // What the device did with it, for good; false when it was already finished.
    virtual bool finish(int index, const SendOutcome& outcome, const QString& currentStatus,
                        bool awaitsReport) = 0;
    // A report from the device's network: the index of the item it belongs to, if any.
    virtual std::optional<int> report(const QString& device, const DeliveryReport& report) = 0;
    virtual int awaitingReports(const QString& device = {}) const = 0;
    // Keeps what the device received (replies) for good; false when they could not be kept,
    // and the device then holds them still. A record that keeps nothing leaves them there.
    // Who waits for their send window, and until when ("" when nobody does).
    virtual QString waitNote() const { return {}; }
    // The SIM (or phone) behind a device of the run, as its limits are counted.
    virtual void setDeviceKey(const QString& device, const QString& key) {
        Q_UNUSED(device);
        Q_UNUSED(key);
    }
    // Until when (ms since the epoch) the device must rest for its limits; 0 when it may send.
    virtual qint64 limitedUntil(const QString& device, const DeviceLimits& limits, qint64 now) {
        Q_UNUSED(device);
        Q_UNUSED(limits);
        Q_UNUSED(now);
        return 0;
    }
    virtual bool keepReceived(const QString& device, const QList<IncomingMessage>& received) {
        Q_UNUSED(device);
        Q_UNUSED(received);
        return false;
    }
    // The wait for the device's reports is over: the items that never got one.
    virtual QList<int> endReportWait(const QString& device) = 0;
    // Ends every waiting item with `why` (or what its last attempt got); the indexes marked.
    virtual QList<int> markStopped(const QString& why) = 0;

    virtual bool anyWaiting() const = 0;
    virtual bool anyWaitingOrSending() const = 0;
    virtual bool allFinished() const = 0;

    // Why a change could not be kept ("" while every one was).
    virtual QString failure() const = 0;
    // The run came to its end with everything kept: nothing is left to resume.
    virtual void end() = 0;
    // The run came to its end without keeping everything: what is recorded stays for a resume,
    // which may start at once, for the run holds nothing any more.
    virtual void abandon() {}
};
