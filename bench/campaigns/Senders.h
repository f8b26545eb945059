#pragma once
// Senders in this process: each a SendingRun over its own record, with devices that have sent
// every message the moment they are handed it, so that only the engine and the record cost
// time. They run until every one has let its devices go, or until `stopAfter` items (0: no
// limit) have finished, when every run is stopped; each run's record is then ended.
#include "sending/RunRecord.h"

#include <memory>
#include <vector>

struct SendersRan {
    double seconds = 0; // from the start until every run let its devices go
    int finished = 0;   // items that came to their end in these runs
};

SendersRan runSenders(std::vector<std::unique_ptr<RunRecord>> records, int devicesEach, int stopAfter = 0);
