#include "JournalledRun.h"

void JournalledRun::begin(const QList<SendingItem>& items, const QList<RunJournal::Entry>& carried,
                          const QString& road) {
    m_items.reset(items);
    m_journal.begin(items, carried, road);
}

std::optional<RunRecord::Claim>
JournalledRun::claimNext(const QString& device, bool skipDuplicates,
                         const std::function<bool(const QString&)>& isExcluded,
                         const std::function<void(const Claim&)>& finishedOnTheWay, bool onlyDeviceLeft) {
    return m_items.claimNext(
        device, skipDuplicates, isExcluded,
        [&](const Claim& claim) {
            m_journal.finished(claim.index, claim.item);
            if (finishedOnTheWay)
                finishedOnTheWay(claim);
        },
        onlyDeviceLeft);
}

void JournalledRun::handing(int index, const QString& device) { m_journal.handing(index, device); }

void JournalledRun::retryLater(int index, const SendOutcome& refusal, Clock::time_point notBefore) {
    m_items.requeue(index, refusal, refusal.device, notBefore);
    m_journal.waiting(index, refusal.text());
}

void JournalledRun::giveBack(int index, const QString& why, const QString& avoidDevice) {
    m_items.requeue(index, {}, avoidDevice, {}, false);
    if (!why.isEmpty())
        m_journal.waiting(index, why);
}

bool JournalledRun::finish(int index, const SendOutcome& outcome, const QString& currentStatus,
                           bool awaitsReport) {
    if (!m_items.finish(index, outcome, currentStatus, awaitsReport))
        return false;
    m_journal.finished(index, m_items.at(index));
    return true;
}

std::optional<int> JournalledRun::report(const QString& device, const DeliveryReport& report) {
    const std::optional<int> index = m_items.recordReport(device, report.reference, report.status);
    if (index)
        m_journal.delivery(*index, m_items.at(*index).delivery);
    return index;
}

QList<int> JournalledRun::endReportWait(const QString& device) {
    QList<int> ended = m_items.endReportWait(device);
    for (int index : ended)
        m_journal.delivery(index, m_items.at(index).delivery);
    return ended;
}
