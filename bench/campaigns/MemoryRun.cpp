#include "MemoryRun.h"

std::shared_ptr<MemoryRun::List> MemoryRun::listOf(QList<SendingItem> items) {
    auto list = std::make_shared<List>();
    list->items = std::move(items);
    return list;
}

int MemoryRun::size() const {
    std::lock_guard lock(m_list->mutex);
    return int(m_list->items.size());
}

SendingItem MemoryRun::at(int index) const {
    std::lock_guard lock(m_list->mutex);
    return m_list->items.value(index);
}

QList<SendingItem> MemoryRun::all() const {
    std::lock_guard lock(m_list->mutex);
    return m_list->items;
}

std::optional<RunRecord::Claim> MemoryRun::claimNext(const QString& device, bool,
                                                     const std::function<bool(const QString&)>&,
                                                     const std::function<void(const Claim&)>&, bool,
                                                     const Carries&) {
    std::lock_guard lock(m_list->mutex);
    List& list = *m_list;
    int index = -1;
    if (!list.again.isEmpty())
        index = list.again.takeFirst();
    else if (list.next < list.items.size())
        index = list.next++;
    else
        return std::nullopt;
    SendingItem& item = list.items[index];
    item.useStatus = UseStatus::Sending;
    item.usePort = device;
    item.currentStatus = QStringLiteral("Sending (%1)").arg(device);
    ++item.attempts;
    ++list.inHand;
    return Claim{Claim::Kind::Send, index, item};
}

void MemoryRun::putBack(int index, const QString& failure, bool attemptCounts) {
    std::lock_guard lock(m_list->mutex);
    SendingItem& item = m_list->items[index];
    item.useStatus = UseStatus::WaitToDispatch;
    item.currentStatus = kWaitToDispatch;
    if (!failure.isEmpty())
        item.lastFailure = failure;
    if (!attemptCounts)
        --item.attempts;
    --m_list->inHand;
    m_list->again.append(index);
}

void MemoryRun::retryLater(int index, const SendOutcome& refusal, Clock::time_point) {
    putBack(index, refusal.text(), true);
}

void MemoryRun::giveBack(int index, const QString&, const QString&) { putBack(index, {}, false); }

bool MemoryRun::finish(int index, const SendOutcome& outcome, const QString& currentStatus, bool) {
    std::lock_guard lock(m_list->mutex);
    SendingItem& item = m_list->items[index];
    if (item.useStatus == UseStatus::Done)
        return false;
    item.useStatus = UseStatus::Done;
    item.status = outcome.text();
    item.currentStatus = currentStatus;
    item.outcome = outcome;
    --m_list->inHand;
    return true;
}

bool MemoryRun::anyWaiting() const {
    std::lock_guard lock(m_list->mutex);
    return m_list->next < m_list->items.size() || !m_list->again.isEmpty();
}

bool MemoryRun::anyWaitingOrSending() const {
    std::lock_guard lock(m_list->mutex);
    return m_list->next < m_list->items.size() || !m_list->again.isEmpty() || m_list->inHand > 0;
}
