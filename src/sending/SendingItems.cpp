#include "SendingItems.h"

#include "device/DeliveryState.h"

namespace {

// One message's delivery from its parts' reports: not delivered as soon as one part is not,
// delivered once every part is.
QString deliveryOf(const SendingItem& item) {
    bool allDelivered = true;
    for (int reference : item.references) {
        const auto reported = item.reportedStatus.constFind(reference);
        if (reported == item.reportedStatus.cend()) {
            allDelivered = false;
            continue;
        }
        QString state = deliveryStateOf(*reported);
        if (state.startsWith(QLatin1String("Not delivered")))
            return state;
        allDelivered = allDelivered && state == QLatin1String("Delivered");
    }
    return allDelivered ? QStringLiteral("Delivered") : kDeliveryPending;
}

} // namespace

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
    m_retries.clear();
    m_reportKeys.clear();
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
                        const std::function<void(const Claim&)>& finishedOnTheWay, bool onlyPortLeft) {
    QList<Claim> onTheWay; // reported once the lock is let go: the report waits on the main thread
    std::optional<Claim> claim;
    {
        std::lock_guard lock(m_mutex);
        const auto take = [&](int index) {
            SendingItem& item = m_items[index];
            item.usePort = portName;
            item.useStatus = UseStatus::Sending;
            item.currentStatus = QStringLiteral("Sending (%1)").arg(portName);
            ++item.attempts;
            --m_waiting;
            ++m_sending;
            return Claim{Claim::Kind::Send, index, item};
        };
        const auto now = std::chrono::steady_clock::now();
        for (qsizetype r = 0; r < m_retries.size() && !claim;) {
            const SendingItem& item = m_items.at(m_retries.at(r));
            if (!item.status.isEmpty() || item.useStatus != UseStatus::WaitToDispatch)
                m_retries.removeAt(r); // finished meanwhile (stopped)
            else if (item.notBefore <= now && (item.avoidPort != portName || onlyPortLeft))
                claim = take(int(m_retries.takeAt(r)));
            else
                ++r;
        }
        for (; !claim && m_cursor < m_items.size(); ++m_cursor) {
            SendingItem& item = m_items[m_cursor];
            if (!item.status.isEmpty() || !item.usePort.isEmpty())
                continue;
            std::optional<Claim::Kind> notSent;
            if (isExcluded && isExcluded(item.number))
                notSent = Claim::Kind::Excluded;
            else if (skipDuplicates && m_firstIndexOfNumber.at(m_cursor) < m_cursor)
                notSent = Claim::Kind::Skipped;
            if (!notSent) {
                claim = take(m_cursor);
                continue; // the loop's step moves the cursor past the item taken
            }
            item.status = *notSent == Claim::Kind::Excluded ? kExcluded : kSkipped;
            item.useStatus = UseStatus::Done;
            item.currentStatus = QStringLiteral("Done (%1)").arg(portName);
            --m_waiting;
            ++m_finished;
            onTheWay.append({*notSent, m_cursor, item});
        }
    }
    if (finishedOnTheWay)
        for (const Claim& finished : onTheWay)
            finishedOnTheWay(finished);
    return claim;
}

void SendingItems::requeue(int index, const QString& failure, const QString& avoidPort,
                           std::chrono::steady_clock::time_point notBefore, bool attemptCounts) {
    std::lock_guard lock(m_mutex);
    requeueLocked(index, failure, avoidPort, notBefore, attemptCounts);
}

void SendingItems::requeue(int index, const SendOutcome& failure, const QString& avoidPort,
                           std::chrono::steady_clock::time_point notBefore) {
    std::lock_guard lock(m_mutex);
    if (SendingItem* item = requeueLocked(index, failure.text(), avoidPort, notBefore, true))
        item->lastOutcome = failure;
}

SendingItem* SendingItems::requeueLocked(int index, const QString& failure, const QString& avoidPort,
                                         std::chrono::steady_clock::time_point notBefore,
                                         bool attemptCounts) {
    if (index < 0 || index >= m_items.size())
        return nullptr;
    SendingItem& item = m_items[index];
    if (!item.status.isEmpty() || item.useStatus != UseStatus::Sending)
        return nullptr;
    item.usePort.clear();
    item.useStatus = UseStatus::WaitToDispatch;
    item.currentStatus =
        failure.isEmpty() ? kWaitToDispatch : QStringLiteral("Wait to retry (%1)").arg(failure);
    if (!failure.isEmpty())
        item.lastFailure = failure;
    item.avoidPort = avoidPort;
    item.notBefore = notBefore;
    if (!attemptCounts)
        --item.attempts;
    --m_sending;
    ++m_waiting;
    m_retries.append(index);
    return &item;
}

bool SendingItems::finish(int index, const SendOutcome& outcome, const QString& currentStatus,
                          bool awaitsReport) {
    if (!finish(index, outcome.text(), UseStatus::Done, currentStatus, outcome.references,
                awaitsReport && outcome.delivered()))
        return false;
    std::lock_guard lock(m_mutex);
    m_items[index].outcome = outcome;
    return true;
}

bool SendingItems::finish(int index, const QString& status, UseStatus useStatus, const QString& currentStatus,
                          const QList<int>& references, bool awaitsReport) {
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
    item.references = references;
    if (awaitsReport && !references.isEmpty()) {
        item.delivery = kDeliveryPending;
        for (int reference : references)
            m_reportKeys.insert({item.usePort, reference}, index);
    }
    ++m_finished;
    return true;
}

std::optional<int> SendingItems::recordReport(const QString& port, int reference, int status) {
    std::lock_guard lock(m_mutex);
    const auto key = m_reportKeys.constFind({port, reference});
    if (key == m_reportKeys.cend())
        return std::nullopt;
    SendingItem& item = m_items[*key];
    item.reportedStatus.insert(reference, status);
    item.delivery = deliveryOf(item);
    return *key;
}

int SendingItems::awaitingReports(const QString& port) const {
    std::lock_guard lock(m_mutex);
    int awaiting = 0;
    for (const SendingItem& item : m_items)
        awaiting += item.delivery == kDeliveryPending && (port.isEmpty() || item.usePort == port);
    return awaiting;
}

QList<int> SendingItems::endReportWait(const QString& port) {
    std::lock_guard lock(m_mutex);
    QList<int> ended;
    for (int i = 0; i < m_items.size(); ++i) {
        SendingItem& item = m_items[i];
        // A message the network reported as still trying stays "Pending": that is what it said.
        if (item.usePort == port && item.delivery == kDeliveryPending && item.reportedStatus.isEmpty()) {
            item.delivery = kNoReport;
            ended << i;
        }
    }
    return ended;
}

QList<int> SendingItems::markStopped(const QString& why) {
    std::lock_guard lock(m_mutex);
    QList<int> marked;
    for (int i = 0; i < m_items.size(); ++i) {
        SendingItem& item = m_items[i];
        if (item.status.isEmpty() && item.useStatus == UseStatus::WaitToDispatch) {
            // An item waiting for another attempt keeps what its last attempt got.
            item.status = item.lastFailure.isEmpty() ? why : item.lastFailure;
            item.outcome = item.lastOutcome;
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
