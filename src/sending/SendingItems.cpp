#include "SendingItems.h"

#include <QHash>

QString useStatusText(UseStatus status) {
    switch (status) {
    case UseStatus::WaitToDispatch: return kWaitToDispatch;
    case UseStatus::Sending: return QStringLiteral("Sending...");
    case UseStatus::Done: return kDone;
    case UseStatus::Stopped: break;
    }
    return kStoppedUse;
}

void SendingItems::reset(QList<SendingItem> items) {
    std::lock_guard lock(m_mutex);
    m_items = std::move(items);
    m_cursor = 0;
    m_waiting = m_sending = m_finished = 0;
    m_firstIndexOfNumber.clear();
    QHash<QString, int> first;
    for (int i = 0; i < m_items.size(); ++i) {
        const SendingItem& item = m_items.at(i);
        m_firstIndexOfNumber << *first.insert(item.number, first.value(item.number, i));
        if (!item.status.isEmpty())
            ++m_finished;
        else if (item.useStatus == UseStatus::WaitToDispatch)
            ++m_waiting;
    }
}

int SendingItems::size() const {
    std::lock_guard lock(m_mutex);
    return int(m_items.size());
}

SendingItem SendingItems::at(int index) const {
    std::lock_guard lock(m_mutex);
    return index >= 0 && index < m_items.size() ? m_items.at(index) : SendingItem{};
}

QList<SendingItem> SendingItems::all() const {
    std::lock_guard lock(m_mutex);
    return m_items;
}

std::optional<SendingItems::Claim>
SendingItems::claimNext(const QString& portName, bool skipDuplicates,
                        const std::function<bool(const QString&)>& isExcluded,
                        const std::function<void(const Claim&)>& finishedOnTheWay) {
    std::unique_lock lock(m_mutex);
    for (; m_cursor < m_items.size(); ++m_cursor) {
        SendingItem& item = m_items[m_cursor];
        if (!item.status.isEmpty() || !item.usePort.isEmpty())
            continue;
        std::optional<Claim::Kind> notSent;
        if (isExcluded && isExcluded(item.number))
            notSent = Claim::Kind::Excluded;
        else if (skipDuplicates && m_firstIndexOfNumber.at(m_cursor) < m_cursor)
            notSent = Claim::Kind::Skipped;
        if (notSent) {
            item.status = *notSent == Claim::Kind::Excluded ? kExcluded : kSkipped;
            item.useStatus = UseStatus::Done;
            item.currentStatus = QStringLiteral("Done (%1)").arg(portName);
            --m_waiting;
            ++m_finished;
            if (finishedOnTheWay)
                finishedOnTheWay({*notSent, m_cursor, item});
            continue;
        }
        item.usePort = portName;
        item.useStatus = UseStatus::Sending;
        item.currentStatus = QStringLiteral("Sending (%1)").arg(portName);
        --m_waiting;
        ++m_sending;
        return Claim{Claim::Kind::Send, m_cursor++, item};
    }
    return std::nullopt;
}

bool SendingItems::finish(int index, const QString& status, UseStatus useStatus,
                          const QString& currentStatus) {
    std::lock_guard lock(m_mutex);
    if (index < 0 || index >= m_items.size())
        return false;
    SendingItem& item = m_items[index];
    if (!item.status.isEmpty())
        return false;
    if (item.useStatus == UseStatus::Sending)
        --m_sending;
    else if (item.useStatus == UseStatus::WaitToDispatch)
        --m_waiting;
    item.status = status;
    item.useStatus = useStatus;
    item.currentStatus = currentStatus;
    ++m_finished;
    return true;
}

QList<int> SendingItems::markStopped() {
    std::lock_guard lock(m_mutex);
    QList<int> marked;
    for (int i = 0; i < m_items.size(); ++i) {
        SendingItem& item = m_items[i];
        if (item.status.isEmpty() && item.useStatus == UseStatus::WaitToDispatch) {
            item.status = kStopped;
            item.useStatus = UseStatus::Stopped;
            item.currentStatus = kStoppedUse;
            --m_waiting;
            ++m_finished;
            marked << i;
        }
    }
    return marked;
}

int SendingItems::finishedCount() const {
    std::lock_guard lock(m_mutex);
    return m_finished;
}

bool SendingItems::anyWaiting() const {
    std::lock_guard lock(m_mutex);
    return m_waiting > 0;
}

bool SendingItems::anyWaitingOrSending() const {
    std::lock_guard lock(m_mutex);
    return m_waiting + m_sending > 0;
}

bool SendingItems::allFinished() const {
    std::lock_guard lock(m_mutex);
    return m_finished == m_items.size();
}
