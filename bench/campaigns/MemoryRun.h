#pragma once
// A run's record held in memory: the peer the campaign store's cost is measured against. The
// items wait in one list under one lock and are claimed in the list's order; several runs may
// share the list (each run owns its record: each gets a MemoryRun over the shared list), as
// senders attached to one campaign share it in the store. Delivery reports are not kept.
#include "sending/RunRecord.h"

#include <memory>
#include <mutex>

class MemoryRun : public RunRecord {
public:
    struct List {
        std::mutex mutex;
        QList<SendingItem> items;
        int next = 0;     // the first item never claimed
        QList<int> again; // given back or refused: claimed before the next
        int inHand = 0;
    };
    static std::shared_ptr<List> listOf(QList<SendingItem> items);

    explicit MemoryRun(std::shared_ptr<List> list) : m_list(std::move(list)) {}

    // The list is there already, as a campaign a sender attaches to.
    void begin(const QList<SendingItem>&, const QString&) override {}
    int size() const override;
    SendingItem at(int index) const override;
    QList<SendingItem> all() const override;
    std::optional<Claim> claimNext(const QString& device, bool skipDuplicates,
                                   const std::function<bool(const QString&)>& isExcluded,
                                   const std::function<void(const Claim&)>& finishedOnTheWay,
                                   bool onlyDeviceLeft,
                                   const Carries& carries) override; // carries everything
    using RunRecord::claimNext;
    void handing(int, const QString&) override {}
    void retryLater(int index, const SendOutcome& refusal, Clock::time_point notBefore) override;
    void giveBack(int index, const QString& why, const QString& avoidDevice) override;
    bool finish(int index, const SendOutcome& outcome, const QString& currentStatus,
                bool awaitsReport) override;
    std::optional<int> report(const QString&, const DeliveryReport&) override { return std::nullopt; }
    int awaitingReports(const QString& = {}) const override { return 0; }
    QList<int> endReportWait(const QString&) override { return {}; }
    // What waits belongs to the other runs of the list.
    QList<int> markStopped(const QString&) override { return {}; }
    bool anyWaiting() const override;
    bool anyWaitingOrSending() const override;
    bool allFinished() const override { return !anyWaitingOrSending(); }
    QString failure() const override { return {}; }
    void end() override {}

private:
    void putBack(int index, const QString& failure, bool attemptCounts);

    std::shared_ptr<List> m_list;
};
