#pragma once
// One item of a sending run as the engine and the windows see it, and the words of its states.
// The run's record keeps the items (RunRecord.h); the views see them through a table that the
// job updates on the main thread.
#include "device/SendOutcome.h"

#include <QHash>
#include <QList>
#include <QString>

#include <chrono>
#include <optional>

// The kinds of device a run goes through, as its record names them.
inline const QString kGsmRoad = QStringLiteral("gsm");
inline const QString kAndroidRoad = QStringLiteral("android");

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
// The recipient asked for no more messages (a stop word in a reply, or the operator's word).
inline const QString kOptedOut = QStringLiteral("Opted out.");
// The campaign's end time came before the item's turn (its window never opened in time).
inline const QString kEndTimePassed = QStringLiteral("Not sent: the campaign's end time passed.");
// Left out on purpose (excluded, a repeat, opted out): not sent, and no failure.
inline bool leftOutOnPurpose(const QString& status) {
    return status == kExcluded || status == kSkipped || status == kOptedOut;
}
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
