#pragma once
// A run kept in memory and, line by line, in the journal file of the data folder.
#include "RunJournal.h"
#include "RunRecord.h"
#include "SendingItems.h"

class JournalledRun : public RunRecord {
public:
    explicit JournalledRun(DataFolder folder) : m_journal(std::move(folder)) {}
    void begin(const QList<SendingItem>& items, const QList<RunJournal::Entry>& carried,
               const QString& road) override;
    int size() const override { return m_items.size(); }
    SendingItem at(int index) const override { return m_items.at(index); }
    QList<SendingItem> all() const override { return m_items.all(); }
    std::optional<Claim> claimNext(const QString& device, bool skipDuplicates,
                                   const std::function<bool(const QString&)>& isExcluded,
                                   const std::function<void(const Claim&)>& finishedOnTheWay,
                                   bool onlyDeviceLeft) override;
    void handing(int index, const QString& device) override;
    void retryLater(int index, const SendOutcome& refusal, Clock::time_point notBefore) override;
    void giveBack(int index, const QString& why, const QString& avoidDevice) override;
    bool finish(int index, const SendOutcome& outcome, const QString& currentStatus,
                bool awaitsReport) override;
    std::optional<int> report(const QString& device, const DeliveryReport& report) override;
    int awaitingReports(const QString& device) const override { return m_items.awaitingReports(device); }
    QList<int> endReportWait(const QString& device) override;
    QList<int> markStopped(const QString& why) override { return m_items.markStopped(why); }
    bool anyWaiting() const override { return m_items.anyWaiting(); }
    bool anyWaitingOrSending() const override { return m_items.anyWaitingOrSending(); }
    bool allFinished() const override { return m_items.allFinished(); }
    int finishedCount() const override { return m_items.finishedCount(); }
    QString failure() const override { return m_journal.failure(); }
    void end() override { m_journal.end(); }

private:
    SendingItems m_items;
    RunJournal m_journal;
};
