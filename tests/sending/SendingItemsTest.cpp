// The run's item store on its own: claims, what is finished on the way, and items given back
// for another attempt.
#include "sending/SendingItems.h"

#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;

void fill(SendingItems& store, const QStringList& numbers) {
    QList<SendingItem> items;
    for (const QString& n : numbers) {
        SendingItem item;
        item.number = n;
        item.message = QStringLiteral("m");
        items.append(item);
    }
    store.reset(items);
}

TEST(SendingItems, WhatIsFinishedOnTheWayIsReportedWithoutTheStoreLocked) {
    SendingItems items;
    fill(items, {"1", "2", "1", "3"});
    QStringList reported;
    // The report reads the store again, as the job's window does: under the lock it would hang.
    const auto report = [&](const SendingItems::Claim& c) { reported << items.at(c.index).status; };
    const auto excluded = [](const QString& n) { return n == QLatin1String("2"); };
    auto first = items.claimNext("A", true, excluded, report);
    auto second = items.claimNext("A", true, excluded, report);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->item.number, "1");
    EXPECT_EQ(second->item.number, "3");
    EXPECT_EQ(reported, (QStringList{kExcluded, kSkipped}));
}

TEST(SendingItems, ARefusedItemGoesToAnotherPortAfterItsPause) {
    SendingItems items;
    fill(items, {"1"});
    auto claim = items.claimNext("A", false, {}, {});
    ASSERT_TRUE(claim);
    items.requeue(claim->index, "+CMS ERROR: 38", "A", Clock::now() + std::chrono::hours(1), true);
    EXPECT_TRUE(items.anyWaiting());
    EXPECT_FALSE(items.claimNext("B", false, {}, {}, false)); // its pause is not over

    SendingItems ready;
    fill(ready, {"1"});
    claim = ready.claimNext("A", false, {}, {});
    ready.requeue(claim->index, "+CMS ERROR: 38", "A", Clock::now(), true);
    EXPECT_FALSE(ready.claimNext("A", false, {}, {}, false)); // another port is there to take it
    auto again = ready.claimNext("B", false, {}, {}, false);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->item.attempts, 2);
    EXPECT_TRUE(ready.finish(again->index, "Message sent successfully.", UseStatus::Done, "Done (B)"));
    EXPECT_TRUE(ready.allFinished());
}

TEST(SendingItems, TheOnlyPortLeftTakesItsOwnRetryAndALineFailureCostsNoAttempt) {
    SendingItems items;
    fill(items, {"1", "2"});
    auto claim = items.claimNext("A", false, {}, {});
    items.requeue(claim->index, {}, "A", {}, false); // the line failed before the hand-over
    auto again = items.claimNext("A", false, {}, {}, true);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->item.number, "1");
    EXPECT_EQ(again->item.attempts, 1);
}

TEST(SendingItems, StoppingKeepsTheLastFailureOfAnItemWaitingToRetry) {
    SendingItems items;
    fill(items, {"1", "2"});
    auto claim = items.claimNext("A", false, {}, {});
    items.requeue(claim->index, "+CMS ERROR: 38", "A", Clock::now() + std::chrono::hours(1), true);
    EXPECT_EQ(items.markStopped().size(), 2);
    EXPECT_EQ(items.at(0).status, "+CMS ERROR: 38");
    EXPECT_EQ(items.at(1).status, kStopped);
    EXPECT_FALSE(items.claimNext("A", false, {}, {}, true));
    EXPECT_TRUE(items.allFinished());
}

TEST(SendingItems, ReportsMatchByPortAndReferenceAndAMessageIsDeliveredWhenEveryPartIs) {
    SendingItems items;
    fill(items, {"1", "2", "3", "4"});
    const QString sent = QStringLiteral("Message sent successfully.");
    const auto sendThrough = [&](const QString& port, const QList<int>& references) {
        auto claim = items.claimNext(port, false, {}, {});
        EXPECT_TRUE(items.finish(claim->index, sent, UseStatus::Done, "Done", references, true));
        return claim->index;
    };
    const int longOne = sendThrough("A", {5, 6});
    const int onB = sendThrough("B", {5}); // the same reference from another modem
    const int failed = sendThrough("A", {7});
    const int silent = sendThrough("A", {8});
    EXPECT_EQ(items.at(longOne).delivery, kDeliveryPending);
    EXPECT_EQ(items.awaitingReports(), 4);

    EXPECT_EQ(items.recordReport("A", 5, 0), longOne);
    EXPECT_EQ(items.at(longOne).delivery, kDeliveryPending); // its second part is not in yet
    EXPECT_EQ(items.at(onB).delivery, kDeliveryPending);
    EXPECT_EQ(items.recordReport("A", 6, 0x30), longOne); // still trying
    EXPECT_EQ(items.recordReport("A", 6, 0), longOne);
    EXPECT_EQ(items.at(longOne).delivery, "Delivered");
    EXPECT_EQ(items.recordReport("B", 5, 0x61), onB);
    EXPECT_EQ(items.at(onB).delivery, "Not delivered (recipient busy)");
    EXPECT_EQ(items.recordReport("A", 7, 0x21), failed);
    EXPECT_FALSE(items.recordReport("A", 99, 0)); // no message of this run
    EXPECT_EQ(items.awaitingReports("A"), 2);

    // The wait ends: a message with no report at all says so; one the network said it still
    // tries stays as the network left it.
    EXPECT_EQ(items.endReportWait("A"), QList<int>{silent});
    EXPECT_EQ(items.at(silent).delivery, kNoReport);
    EXPECT_EQ(items.at(failed).delivery, kDeliveryPending);
}

TEST(SendingItems, NoReportIsAwaitedForAMessageThatDidNotGoOrWhenNoneWasAsked) {
    SendingItems items;
    fill(items, {"1", "2"});
    auto refused = items.claimNext("A", false, {}, {});
    items.finish(refused->index, "+CMS ERROR: 38", UseStatus::Done, "Done", {}, true);
    auto unasked = items.claimNext("A", false, {}, {});
    items.finish(unasked->index, "Message sent successfully.", UseStatus::Done, "Done", {4}, false);
    EXPECT_EQ(items.awaitingReports(), 0);
    EXPECT_FALSE(items.recordReport("A", 4, 0));
    EXPECT_EQ(items.at(unasked->index).delivery, "");
}

} // namespace
