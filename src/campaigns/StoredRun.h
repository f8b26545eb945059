#pragma once
// A run recorded in the campaign store: begin() creates its campaign and items; every claim
// is one write transaction that picks the next item and marks it as being handed over by this
// run (with a lease the run renews while it holds items); a retry and the outcome are each
// written the moment they happen. The store is the one truth: what the engine and the windows
// read of an item is read from it, so the run holds in memory only the reports it awaits.
#include "CampaignStore.h"
#include "RecipientWindow.h"
#include "Replies.h"
#include "sending/RunRecord.h"

#include "core/TickerThread.h"

#include <QHash>
#include <QSet>

class StoredRun : public RunRecord {
public:
    // What the campaign is, beside its items.
    struct Campaign {
        QString dataFolder; // the folder it is created from (a resume looks there)
        QString options;    // JSON: how it is sent
        qint64 resumes = 0; // the unfinished campaign it goes on with (that one then stops)
        // A campaign already in the store that this run helps send, beside any other sender:
        // begin() takes it up, and a stop leaves what waits to the others.
        qint64 attach = 0;
    };
    // `store` null: the store could not be opened, and `why` is the run's failure.
    StoredRun(std::shared_ptr<CampaignStore> store, Campaign campaign, const QString& why = {});
    ~StoredRun() override;

    // Items held by a sender that has not renewed its claims for this long are taken for lost
    // (prescribed time, shrunk by the clock's scale but never below 3 s); a holder renews every
    // third of it.
    static constexpr std::chrono::seconds kLease{30};

    qint64 campaignId() const { return m_campaign; }
    // How the replies its devices receive are read (before the run starts).
    void setReplyRules(ReplyRules rules) { m_replyRules = std::move(rules); }

    void begin(const QList<SendingItem>& items, const QString& road) override;
    int size() const override { return m_size; }
    SendingItem at(int index) const override;
    QList<SendingItem> all() const override;
    std::optional<Claim> claimNext(const QString& device, bool skipDuplicates,
                                   const std::function<bool(const QString&)>& isExcluded,
                                   const std::function<void(const Claim&)>& finishedOnTheWay,
                                   bool onlyDeviceLeft, const Carries& carries) override;
    using RunRecord::claimNext;
    void handing(int index, const QString& device) override;
    void retryLater(int index, const SendOutcome& refusal, Clock::time_point notBefore) override;
    void giveBack(int index, const QString& why, const QString& avoidDevice) override;
    bool finish(int index, const SendOutcome& outcome, const QString& currentStatus,
                bool awaitsReport) override;
    std::optional<int> report(const QString& device, const DeliveryReport& report) override;
    int awaitingReports(const QString& device = {}) const override;
    QList<int> endReportWait(const QString& device) override;
    QList<int> markStopped(const QString& why) override;
    // Each reply in its own transaction (StoredRunReplies.cpp): false at the first the store
    // refused, and the run's failure then says why.
    bool keepReceived(const QString& device, const QList<IncomingMessage>& received) override;
    bool anyWaiting() const override;
    bool anyWaitingOrSending() const override;
    bool allFinished() const override { return !anyWaitingOrSending(); }
    QString failure() const override;
    QString waitNote() const override;
    void setDeviceKey(const QString& device, const QString& key) override;
    qint64 limitedUntil(const QString& device, const DeviceLimits& limits, qint64 now) override;
    void end() override;
    void abandon() override;

private:
    // A write of this run: false, and the run's failure set, when the store refused it.
    bool write(const std::function<bool(SqlDatabase&)>& body);
    bool exists(const QString& states) const;
    bool requeue(int index, const QString& failure, const std::optional<SendOutcome>& outcome,
                 const QString& avoid, qint64 notBefore, bool attemptCounts, const QString& why);
    void renewLeases();
    bool attach(SqlDatabase& db, qint64 now);
    bool registerSender(SqlDatabase& db, qint64 now);
    // Stops the campaign this one resumes, within begin()'s transaction; false (and the run's
    // failure says why) when another sender holds it or resumed it first.
    bool continueFrom(SqlDatabase& db, qint64 now);
    // The retry the device takes next, if any (within a claim's transaction): false when the
    // store could not be read.
    bool pickRetry(SqlDatabase& db, const QString& device, bool onlyDeviceLeft, const Carries& carries,
                   qint64 now, std::optional<int>& position);
    // Whether the recipient of the item at position opted out (within a claim's transaction):
    // false when the store could not be read.
    bool recipientOptedOut(SqlDatabase& db, int position, bool* optedOut) const;
    // The next item waiting for its first attempt that the device takes (within a claim's
    // transaction); those on the way that are not to be sent are finished into onTheWay, and
    // those the device does not carry are left to the others. False when the store refused.
    // The next item waiting for its first attempt (within its send window, when the campaign
    // has one), and the zone key it was found under; nothing when none may go now.
    bool nextFresh(SqlDatabase& db, qint64 now, QList<SqlRow>& next, QString& zoneKey);
    void passFresh(const QString& zoneKey, int position);
    bool noteWaiting(SqlDatabase& db, qint64 now);
    bool windowOpen(const QString& zoneKey, qint64 now);
    QVariant deviceKey(const QString& device) const; // null when the run was not told it
    // Past the campaign's end time: what still waits is not sent.
    bool endUnsent(SqlDatabase& db, qint64 now, QList<Claim>& onTheWay);
    bool pickFresh(SqlDatabase& db, const QString& device, bool skipDuplicates,
                   const std::function<bool(const QString&)>& isExcluded, const Carries& carries, qint64 now,
                   QList<Claim>& onTheWay, std::optional<int>& position);
    // Finishes the item at position as not to be sent (excluded, skipped, opted out), within a
    // claim's transaction; the caller shows it once the claim is kept.
    bool finishUnsent(SqlDatabase& db, int position, Claim::Kind kind, const QString& device, qint64 now,
                      QList<Claim>& onTheWay) const;
    // Marks the item at position claimed by this run for the device, within a claim's transaction.
    std::optional<Claim> claimAt(SqlDatabase& db, int position, const QString& device, qint64 now) const;
    void fail(const QString& why) const;
    // What this run last wrote of an item is what the engine and the window read next: kept
    // for the items it holds or just finished (a bounded few), read from the store otherwise.
    void remember(int index, const SqlRow& row) const;
    void forget(const QList<int>& indexes) const;
    static constexpr int kRecentItems = 512;
    // How many retries a claim looks at for one its device carries.
    static constexpr int kRetriesLookedAt = 64;

    // An item sent through this run whose delivery report is awaited.
    struct Awaited {
        QString device;
        QList<int> references;
        QHash<int, int> reported; // TP-ST of each part's latest report, by reference
    };

    std::shared_ptr<CampaignStore> m_store;
    const Campaign m_info;
    ReplyRules m_replyRules;
    QString m_road;          // the kind of device the run sends through (set by begin)
    const QString m_claimer; // this run's name on the items it claims
    qint64 m_campaign = 0;
    int m_size = 0;
    std::atomic<qint64> m_nextLapseCheck{0};
    // Items waiting for their first attempt are picked in the list's order, once each: no such
    // item lies before this run's last pick (those sent again wait as retries).
    std::atomic<int> m_freshFrom{0};
    // A campaign with a send window: the same, for each zone key, under its own lock.
    std::optional<RecipientWindow> m_window;
    qint64 m_until = 0;
    std::mutex m_windowMutex;
    bool m_zoneKeysRead = false;
    QHash<QString, int> m_zoneFrom;
    qint64 m_waitNoteUntil = 0;
    mutable std::mutex m_mutex; // what follows
    QHash<int, Awaited> m_awaited;
    mutable QHash<int, SendingItem> m_recent;
    QHash<QPair<QString, int>, int> m_reportKeys; // (device, reference) -> item awaiting its report
    mutable QString m_failure;
    QString m_waitNote;
    QHash<QString, QString> m_deviceKeys; // device -> its SIM or phone, as limits count it
    TickerThread m_renewal{QStringLiteral("lease-renewal")};
};
