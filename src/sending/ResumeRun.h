#pragma once
// Going on with a run that did not end (its journal is still in the data folder): the
// recipients still to be sent go back into the GSM window's list, and those already finished
// are carried into the new run's journal, so that nobody is texted twice.
#include "RunJournal.h"

class Gsm_Bulk_Sms_Wnd;
class Operator;

struct ResumePlan {
    QList<RunJournal::Entry> toSend;  // still to be sent (and, when asked, those of unknown fate)
    QList<RunJournal::Entry> carried; // finished, or of unknown fate and not to be sent again
    int sent = 0, total = 0, unknown = 0;
};

ResumePlan planResume(const RunJournal::Unfinished& unfinished, bool resendUnknown);

// Puts the plan's recipients into the window's list and hands it the entries to carry.
void applyResume(Gsm_Bulk_Sms_Wnd& window, const ResumePlan& plan);

// At start-up: when a run did not end, asks "Resume the unfinished run (N of M sent)?" (and
// whether to send again what may have been sent); Yes fills the list, No discards the journal.
void offerToResumeUnfinishedRun(Gsm_Bulk_Sms_Wnd& window, Operator& op);
