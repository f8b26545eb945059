#pragma once
// The items of one sending run and the only two things workers do to them: claim the next
// waiting item, and write an item's final state. Both happen under one lock, so an item is
// taken by exactly one port; the claim walks forward from a cursor, so a run stays linear
// in its length however many ports share it. The views see the items through a table that
// the job updates on the main thread.
#include "device/SendOutcome.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>

inline const QString kWaitToDispatch = QStringLiteral("Wait to dispatch...");
inline const QString kDone = QStringLiteral("Done");
inline const QString kStoppedUse = QStringLiteral("Stopped");
inline const QString kStopped = QStringLiteral("Stopped.");
// An item still waiting when every port had left the run (refused, unplugged) without Stop.
inline const QString kNoPortLeft = QStringLiteral("Not sent: no device was left in the run.");
// Items never handed over because the run stopped for data it could not write.
inline const QString kNotSentDataFailure =
    QStringLiteral("Not sent: sending stopped because data could not be written.");
inline const QString kExcluded = QStringLiteral("Excluded.");
inline const QString kSkipped = QStringLiteral("Skipped.");
// Delivery of a sent message whose report was asked for: "Pending" until the network's
// report says more; "No report received" when the wait for it ended with none.
inline const QString kDeliveryPending = QStringLiteral("Pending");
inline const QString kNoReport = QStringLiteral("No report received");

// The keys of an item record, one row of a run's item table: these beside the kNumberKey and
// kMessageKey of the recipient it was made from.
inline const QString kItemCurrentStatusKey = QStringLiteral("Current Status");
inline const QString kItemStatusKey = QStringLiteral("Status"); // the final outcome's words
inline const QString kItemPortKey = QStringLiteral("Use Port"); // the device it went through
inline const QString kItemUseStatusKey = QStringLiteral("Use Status");
inline const QString kItemRetriesKey = QStringLiteral("Retry"); // attempts after the first
inline const QString kItemDeliveryKey = QStringLiteral("Delivery");
inline const QString kItemSentItemKey = QStringLiteral("Sent item");

// Where an item stands in the run; its text ("Use Status") is what the item table shows.
enum class UseStatus { WaitToDispatch, Sending, Done, Stopped };
QString useStatusText(UseStatus status);

struct SendingItem {
    QString number;
    QString message;
    QString usePort;
    UseStatus useStatus = UseStatus::WaitToDispatch;
    QString currentStatus = kWaitToDispatch;
    QString status; // final outcome's words; empty while not finished
    // What the device did with it, once a device answered (the last attempt's, while it waits
    // for another). Items that never reached a device (excluded, skipped, stopped) have none.
    std::optional<SendOutcome> outcome;

    QList<int> references;          // the network's "+CMGS" references of the accepted parts
    QString delivery;               // "" when no report was asked for; else kDeliveryPending or the outcome
    QHash<int, int> reportedStatus; // TP-ST of each part's latest report, by reference
    int attempts = 0;               // submissions begun; a retry adds one
    QString lastFailure;            // what the network said to the last attempt, while it waits to retry
    std::optional<SendOutcome> lastOutcome; // ... and as the device said it
    QString avoidPort; // the port that failed it: another port takes it where there is one
    std::chrono::steady_clock::time_point notBefore{}; // a retry waits for its pause

    // The network or the phone has it: it is never to be sent again.
    bool delivered() const { return outcome && outcome->delivered(); }
};

class SendingItems {
public:
    // Starts a run over these items (already marked at loading where due).
    void reset(QList<SendingItem> items);

    int size() const;
    SendingItem at(int index) const;
    QList<SendingItem> all() const;

    // What the claim found at an index: an item to send, or one it finished as excluded or
    // skipped instead (the caller shows it).
    struct Claim {
        enum class Kind { Send, Excluded, Skipped } kind;
        int index;
        SendingItem item;
    };
    // The next item for the port: a retry whose pause is over (one that another port failed
    // goes to another port, unless this is the only port left), else the next waiting,
    // untaken item from the cursor on. Items on the way that must not be sent are finished
    // and reported through finishedOnTheWay, after the lock is let go. Nothing when no item
    // is ready for this port now; anyWaiting() then tells whether one may be later.
    std::optional<Claim> claimNext(const QString& portName, bool skipDuplicates,
                                   const std::function<bool(const QString&)>& isExcluded,
                                   const std::function<void(const Claim&)>& finishedOnTheWay,
                                   bool onlyPortLeft = true);

    // Gives a taken item back to wait for another attempt: after `notBefore`, preferably on
    // a port other than `avoidPort` (empty: any). `attemptCounts` false when the message never
    // reached the modem (its line failed before the hand-over), so it costs no attempt.
    void requeue(int index, const QString& failure, const QString& avoidPort,
                 std::chrono::steady_clock::time_point notBefore, bool attemptCounts);
    // The same for an attempt the device answered: its outcome is the failure.
    void requeue(int index, const SendOutcome& failure, const QString& avoidPort,
                 std::chrono::steady_clock::time_point notBefore);

    // Writes an item's final state once; false when it already had one. `awaitsReport`: the
    // network was asked for a report of each part, matched by (port, reference) as it comes.
    bool finish(int index, const QString& status, UseStatus useStatus, const QString& currentStatus,
                const QList<int>& references = {}, bool awaitsReport = false);
    // The item's final state as its device answered.
    bool finish(int index, const SendOutcome& outcome, const QString& currentStatus, bool awaitsReport);

    // A report from the port's modem: the item sent through that port whose part has that
    // reference (the latest, as references come round again) takes it. The item's index, or
    // nothing when no item awaits that report.
    std::optional<int> recordReport(const QString& port, int reference, int status);
    // Items still waiting for a report (of one port, or of all when "").
    int awaitingReports(const QString& port = {}) const;
    // The wait for the port's reports is over: its items that never got one say so.
    QList<int> endReportWait(const QString& port);

    // Ends every waiting item with `why` ("Stopped." by default), or with what its last
    // attempt got; returns the indexes marked.
    QList<int> markStopped(const QString& why = kStopped);

    int finishedCount() const;
    bool anyWaiting() const;          // an item still waits for a port
    bool anyWaitingOrSending() const; // work is left
    bool allFinished() const;

private:
    SendingItem* requeueLocked(int index, const QString& failure, const QString& avoidPort,
                               std::chrono::steady_clock::time_point notBefore, bool attemptCounts);

    mutable std::mutex m_mutex;
    QList<SendingItem> m_items;
    QList<int> m_firstIndexOfNumber;              // per item: the lowest index holding its number
    QList<int> m_retries;                         // requeued items, oldest first
    QHash<QPair<QString, int>, int> m_reportKeys; // (port, reference) -> item awaiting its report
    int m_cursor = 0;
    int m_waiting = 0;
    int m_sending = 0;
    int m_finished = 0;
};
