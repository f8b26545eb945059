#pragma once
// Offering, at start-up, to go on with a run that did not end: its recipients still to be
// sent go back into the list of the window of its road.
#include "campaigns/CampaignResume.h"

class BulkSmsWindow;
class Bulk_SMSAppDelegate;
class Gsm_Bulk_Sms_Wnd;
class Operator;

// Puts the plan's recipients into the window's list and hands it the entries to carry.
void applyResume(BulkSmsWindow& window, CarriedRun& carried, const ResumePlan& plan);

// Going on with the campaign in the window: asks whether to send again what may have been sent
// (when some may have), then fills the window's list.
void resumeInto(BulkSmsWindow& window, CarriedRun& carried, const UnfinishedCampaign& unfinished,
                Operator& op);

// At start-up: when a run did not end, asks "Resume the unfinished run (N of M sent)?" (and
// whether to send again what may have been sent); Yes fills the list of the window of its
// road; No asks whether to discard it (it is cancelled in the store) or keep it for the next start.
void offerToResumeUnfinishedRun(Gsm_Bulk_Sms_Wnd& gsm, Bulk_SMSAppDelegate& android, Operator& op);
