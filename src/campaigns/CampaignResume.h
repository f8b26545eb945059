#pragma once
// Going on with a campaign that did not end: its recipients still to be sent go back into the
// list of the window (or the command) of its road, and the next run, created as its
// continuation, stops it in the store. Those already finished stay recorded where they are,
// so nobody is texted twice.
#include "UnfinishedCampaign.h"

#include <utility>

class DataFolder;
class Operator;

// The unfinished campaign a window's next run goes on with (0: none). Until that run starts the
// window's next run is its continuation.
class CarriedRun {
public:
    void set(qint64 campaign) { m_campaign = campaign; }
    qint64 take() { return std::exchange(m_campaign, 0); }
    bool resuming() const { return m_campaign != 0; }

private:
    qint64 m_campaign = 0;
};

struct ResumePlan {
    qint64 campaign = 0;
    QList<UnfinishedCampaign::Entry> toSend;  // still to be sent (and, when asked, those of unknown fate)
    QList<UnfinishedCampaign::Entry> carried; // finished, or of unknown fate and not to be sent again
    int sent = 0, total = 0, unknown = 0;
};

ResumePlan planResume(const UnfinishedCampaign& unfinished, bool resendUnknown);

// The unfinished campaign of the data folder on that road, if any. The store cannot be opened
// or read: the operator is told, and `readable` turns false.
std::optional<UnfinishedCampaign> unfinishedRun(Operator& op, const DataFolder& folder, const QString& road,
                                                bool* readable);

// Before a new run: a run that did not end is never replaced unless the operator discards it
// (true), or the store cannot be read (false, and the operator is told).
bool unfinishedRunDiscarded(Operator& op, const DataFolder& folder, const QString& road);
