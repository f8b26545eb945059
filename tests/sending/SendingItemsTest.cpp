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

} // namespace
