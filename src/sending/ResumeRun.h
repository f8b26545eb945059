#pragma once
// Going on with a run that did not end (its journal is still in the data folder): the
// recipients still to be sent go back into the list of the window of the run's road (GSM or
// Android), and those already finished are carried into the new run's journal, so that
// nobody is texted twice.
#include "RunJournal.h"
#include "core/DataFolder.h"

#include <utility>

class Operator;

// The finished entries of an unfinished run a window's next run resumes: its journal keeps
// them (taken, and so emptied, when the run starts). Until then the window's next run is that
// run's continuation, and may replace its journal.
class CarriedRun {
public:
    void set(const QList<RunJournal::Entry>& entries) {
        m_entries = entries;
        m_resuming = true;
    }
    QList<RunJournal::Entry> take() {
        m_resuming = false;
        return std::exchange(m_entries, {});
    }
    bool resuming() const { return m_resuming; }

private:
    QList<RunJournal::Entry> m_entries;
    bool m_resuming = false;
};

struct ResumePlan {
    QList<RunJournal::Entry> toSend;  // still to be sent (and, when asked, those of unknown fate)
    QList<RunJournal::Entry> carried; // finished, or of unknown fate and not to be sent again
    int sent = 0, total = 0, unknown = 0;
};

ResumePlan planResume(const RunJournal::Unfinished& unfinished, bool resendUnknown);

// Before a new run: a run that did not end is never replaced unless the operator discards it
// (true), or its journal cannot be read (false, and the operator is told).
bool unfinishedRunDiscarded(Operator& op, const DataFolder& folder, const QString& road);
