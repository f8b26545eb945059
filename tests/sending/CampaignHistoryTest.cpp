// A campaign's history from its event rows: the outcomes so far against time, each item once
// with what it came to, and the messages each device was handed per minute.
#include "campaigns/CampaignHistory.h"

#include <gtest/gtest.h>

namespace {

constexpr qint64 kT0 = 1'700'000'040'000; // a whole minute
constexpr qint64 kSecond = 1000, kMinute = 60 * kSecond;

using Step = CampaignHistory::Step;
using Device = CampaignHistory::Device;

struct Case {
    const char* name;
    QList<CampaignEvent> events; // at, position, state, detail; the item's state and outcome now
    QList<Step> outcomes;
    qint64 bucketMs;
    QList<Device> devices;
};

TEST(CampaignHistory, OutcomesAndRatesFromEvents) {
    const QList<Case> cases{
        {"no events", {}, {}, kMinute, {}},
        {"two devices, one failure",
         {{kT0, 0, "sending", "A", "done", "sent"},
          {kT0 + 5 * kSecond, 0, "done", "Sent", "done", "sent"},
          {kT0 + 10 * kSecond, 1, "sending", "B", "done", "not-sent"},
          {kT0 + 12 * kSecond, 1, "done", "+CMS ERROR: 38", "done", "not-sent"},
          {kT0 + 70 * kSecond, 2, "sending", "A", "done", "sent"},
          {kT0 + 75 * kSecond, 2, "done", "Sent", "done", "sent"}},
         {{kT0 + 5 * kSecond, 1, 0, 0}, {kT0 + 12 * kSecond, 1, 1, 0}, {kT0 + 75 * kSecond, 2, 1, 0}},
         kMinute,
         {{"A", {1, 1}}, {"B", {1, 0}}}},
        // A refusal waits for another attempt; one of unknown fate sent again: once, as it ended.
        {"retries count once, at the end",
         {{kT0, 0, "sending", "A", "done", "sent"},
          {kT0 + 2 * kSecond, 0, "queued", "refused", "done", "sent"},
          {kT0 + 20 * kSecond, 0, "sending", "B", "done", "sent"},
          {kT0 + 21 * kSecond, 0, "done", "Unknown", "done", "sent"},
          {kT0 + 40 * kSecond, 0, "sending", "B", "done", "sent"},
          {kT0 + 45 * kSecond, 0, "done", "Sent", "done", "sent"}},
         {{kT0 + 45 * kSecond, 1, 0, 0}},
         kMinute,
         {{"A", {1}}, {"B", {2}}}},
        // Its sender was lost while handing it over: unknown from then; a stopped item is no outcome.
        {"unknown without a finish, stopped not counted",
         {{kT0, 0, "sending", "A", "unknown", "unknown"},
          {kT0 + 30 * kSecond, 1, "done", "Stopped.", "done", ""}},
         {{kT0, 0, 0, 1}},
         kMinute,
         {{"A", {1}}}},
        // Ten hours: buckets of ten minutes (five would make 121), rates per minute within them.
        {"a long campaign widens its buckets",
         {{kT0, 0, "sending", "A", "done", "sent"}, {kT0 + 600 * kMinute, 1, "sending", "A", "done", "sent"}},
         {},
         10 * kMinute,
         [] {
             QList<double> rates(61, 0.0);
             rates.first() = rates.last() = 0.1;
             return QList<Device>{{"A", rates}};
         }()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const CampaignHistory history = historyOf(c.events);
        EXPECT_EQ(history.outcomes, c.outcomes);
        EXPECT_EQ(history.bucketMs, c.bucketMs);
        EXPECT_EQ(history.devices, c.devices);
        EXPECT_LE(history.devices.isEmpty() ? 0 : history.devices.first().perMinute.size(),
                  CampaignHistory::kMaxBuckets);
    }
}

} // namespace
