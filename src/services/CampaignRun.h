#pragma once
// One campaign sent through the engine, started alike by a main window's Send and by
// `bulksms send`: the run recorded in the campaign store of the data folder (beside any other
// sender of the folder or the store), and one opener per device. Whoever
// started it observes the run through its signals and ends it once the devices let it go.
#include "sending/SendingRun.h"

#include <memory>

// What one campaign sends: its rows (the number as sent, its message) and how.
struct Campaign {
    RunSettings settings;
    QList<std::pair<QString, QString>> rows;
    qint64 resumes = 0; // the unfinished campaign it goes on with
    qint64 attach = 0;  // a campaign of the store this run helps send (no rows then)
};

class CampaignRun {
public:
    // The pause countdown and its hooks belong to the window (or command) that shows them.
    CampaignRun(const DataFolder& folder, Campaign campaign, QList<DeviceOpener> devices, Operator& op,
                PauseCountdown& pause, DelayedDeliveryPause::Hooks pauseHooks);
    ~CampaignRun();

    // Loads the rows into the record and sends.
    void start();
    SendingRun& run() { return *m_run; }
    const SendingRun& run() const { return *m_run; }
    // The run's end once its devices let it go: its record closed (unless it could not be
    // kept, so that a resume finds it).
    void end();
    bool ended() const { return m_ended; }
    // The campaign's number in the store (0 until the run recorded it, or when it could not).
    qint64 campaignId() const;

private:
    QList<std::pair<QString, QString>> m_rows;
    bool m_ended = false;
    std::unique_ptr<SendingRun> m_run;
    const class StoredRun* m_record = nullptr;
};

// A list whose every message is blank: through modems the operator is asked first; a phone
// refuses it.
inline const QString kBlankListQuestion = QStringLiteral(
    "\nYou have composed no text message yet for any of the contacts in the entire list. This action will "
    "send blank message to all the contacts in list.\n\nAre you sure you want to continue?");
inline const QString kBlankListRefusal =
    QStringLiteral("\nYou have composed no text message yet for any of the contacts in the entire list.");

// "N messages went as Unicode: …": what the run's end says of the messages the GSM alphabet
// could not carry ("" when none).
QString unicodeSummary(int sentAsUnicode);
