#pragma once
// How a campaign went, from its events: the outcomes so far against time, and how many
// messages each device was handed per minute. historyOf is a pure function of the rows, so the
// series are checked without a store or a window.
#include <QList>
#include <QString>

#include <optional>

class CampaignStore;

// An event of the campaign ("sending": handed to the device named in detail; "done": the item
// finished), with the state and outcome its item has now.
struct CampaignEvent {
    qint64 at = 0; // ms since the epoch
    int position = 0;
    QString state, detail;
    QString itemState, itemOutcome;
};

struct CampaignHistory {
    // The outcomes so far, at each time one came; an item counts once, at its last finish,
    // with what it came to.
    struct Step {
        qint64 at = 0;
        int sent = 0, failed = 0, unknown = 0;
        bool operator==(const Step&) const = default;
    };
    // Messages handed to one device per minute, averaged over each bucket.
    struct Device {
        QString name;
        QList<double> perMinute;
        bool operator==(const Device&) const = default;
    };
    static constexpr int kMaxBuckets = 120;

    qint64 from = 0, to = 0; // the first and last event
    QList<Step> outcomes;
    qint64 firstBucket = 0;  // where bucket 0 starts
    qint64 bucketMs = 60000; // a minute, wider for a long campaign (at most kMaxBuckets)
    QList<Device> devices;   // by name
    bool empty() const { return outcomes.isEmpty() && devices.isEmpty(); }
};

CampaignHistory historyOf(const QList<CampaignEvent>& events);

// The campaign's events read from the store and made into its history; nothing (and error)
// when the store refused the read.
std::optional<CampaignHistory> campaignHistory(CampaignStore& store, qint64 id, QString* error = nullptr);
