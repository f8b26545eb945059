#pragma once
// A campaign of this data folder that did not end (its process was killed, the power went, a
// write was refused), as a resume sees it: who was sent, who not, and who may have been.
#include <QList>
#include <QString>

#include <optional>

class CampaignStore;

struct UnfinishedCampaign {
    struct Entry {
        QString number, message;
        QString status;       // final outcome; "" while it was still to be sent (or stopped before it went)
        bool unknown = false; // it was being handed to a device when the run broke off
        QString delivery;     // what its delivery report said; "" when none was asked for
        bool sent = false;    // the network or the phone has it
    };
    qint64 id = 0;
    QString road;
    QList<Entry> entries;
    int sent() const;
    int total() const { return int(entries.size()); }
};

// The latest unfinished campaign of the data folder on that road (or the one with that id, from
// wherever it was created, when `id` is given: sending, or stopped and not gone on with by
// another). The caller holds the data
// folder's sending lock, so no process is sending it: its items that were being handed over
// become "Unknown (may have been sent)" and those only claimed wait again. Nothing when there is
// none; nothing, and error, when the store cannot be read.
std::optional<UnfinishedCampaign> unfinishedCampaign(CampaignStore& store, const QString& dataFolder,
                                                     const QString& road, QString* error = nullptr,
                                                     qint64 id = 0);
// The campaign ends as it stands, in `state` ("cancelled" when the operator chose not to resume
// it, "finished" when nothing was left to send), and why; its record is kept.
bool closeCampaign(CampaignStore& store, qint64 id, const QString& state, const QString& reason,
                   QString* error = nullptr);
