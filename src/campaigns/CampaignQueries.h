#pragma once
// What the commands and windows ask of the store about whole campaigns: create one (queued for
// any sender, or sent at once by its creator), list them with their counts, cancel one, send
// again what may have been sent, and find the next one a sender may work on.
#include "sending/SendingItems.h"

#include <QList>
#include <QString>

#include <optional>

class CampaignStore;
class SqlDatabase;

// A campaign about to be created.
struct NewCampaign {
    QString dataFolder; // CampaignStore::folderKey of the folder it is created from
    QString road;
    QString options;    // JSON (CampaignOptions.h)
    QString state;      // "queued" (for any sender) or "sending" (its creator sends it)
    qint64 resumes = 0; // the unfinished campaign it goes on with
    // When it may be sent (ms since the epoch); later than now: it waits as "scheduled".
    qint64 startAt = 0;
};

// Inserts the campaign and its items (those finished at loading as they are) within the
// caller's transaction; its id, or 0 when a statement was refused.
qint64 insertCampaign(SqlDatabase& db, const NewCampaign& campaign, const QList<SendingItem>& items);
// The same as a transaction of its own; 0 (and error) when refused.
qint64 createCampaign(CampaignStore& store, const NewCampaign& campaign, const QList<SendingItem>& items,
                      QString* error = nullptr);

struct CampaignSummary {
    qint64 id = 0;
    QString state, road, createdBy, dataFolder, reason;
    qint64 createdAt = 0, startedAt = 0, finishedAt = 0; // ms since the epoch; 0 when not yet
    qint64 startAt = 0;                                  // when it was scheduled for; 0 for at once
    qint64 total = 0, sent = 0, failed = 0, unknown = 0, waiting = 0, inHand = 0, notSent = 0;
    qint64 replies = 0, optOuts = 0; // the replies it had, and the opt-outs they asked
    bool held = false;               // a living sender works on it (sending, not broken off)
    QString sendWindow, windowZone;  // its recipients' hours ("09:00-20:00"; "" for any time)
    // Who waits for their hours now ("waiting for 09:00 in America/Chicago (3 recipients)");
    // "" when nobody does.
    QString waitingText;
};
// Every campaign, newest first; or the one with that id.
std::optional<QList<CampaignSummary>> listCampaigns(CampaignStore& store, QString* error = nullptr);
std::optional<CampaignSummary> campaignSummary(CampaignStore& store, qint64 id, QString* error = nullptr);

// Cancels the campaign: its items still waiting are not sent ("Not sent: the campaign was
// cancelled."); those in a sender's hands finish. How many were waiting; nothing when there is
// no such campaign or the store refused.
std::optional<int> cancelCampaign(CampaignStore& store, qint64 id, QString* error = nullptr);
// Moves a scheduled campaign to another time (one that has not started yet, or is still
// scheduled); false when there is no such campaign waiting for its time, or the store refused.
bool rescheduleCampaign(CampaignStore& store, qint64 id, qint64 startAt, QString* error = nullptr);
// The operator's word to send again what may have been sent: the campaign's items of unknown
// fate wait again. How many.
std::optional<int> resendUnknown(CampaignStore& store, qint64 id, QString* error = nullptr);

// Claims whose senders are gone (their lease lapsed, or a process of this computer that no
// longer runs): what was being handed over becomes "Unknown (may have been sent)", what was
// only claimed waits again. `campaign` 0: every campaign.
bool releaseAbandonedClaims(SqlDatabase& db, qint64 campaign, const QString& exceptClaimer = {});

// The oldest campaign on the road with an item waiting for a sender, and whose time has come
// (a scheduled one once its start time is past): its id and options.
struct CampaignToSend {
    qint64 id = 0;
    QString options;
    qint64 total = 0;   // its items
    qint64 startAt = 0; // when it was scheduled for (0: at once)
};
std::optional<CampaignToSend> nextCampaignToSend(CampaignStore& store, const QString& road,
                                                 QString* error = nullptr);
// The oldest campaign of the data folder (CampaignStore::folderKey) on the road that waits as
// "scheduled" and whose start time is past, with an item waiting: what a main window open on
// that folder sends at its time.
std::optional<CampaignToSend> dueScheduledCampaign(CampaignStore& store, const QString& dataFolder,
                                                   const QString& road, QString* error = nullptr);
// An item on the road is in a sender's hands (it may come back to wait).
bool anyInHand(CampaignStore& store, const QString& road);
