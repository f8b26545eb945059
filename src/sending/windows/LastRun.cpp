#include "LastRun.h"

#include "core/Counted.h"
#include "core/Operator.h"

#include <algorithm>
#include <utility>

namespace {

QPair<QString, QString> keyOf(const QString& number, const QString& message) { return {number, message}; }

QString recipients(qsizetype count) {
    return counted(count, QStringLiteral("recipient"), QStringLiteral("recipients"));
}

} // namespace

RowFate rowFate(const SendingItem& item) {
    if (leftOutOnPurpose(item.status))
        return RowFate::Passed;
    if (item.delivered())
        return RowFate::Sent;
    if (item.outcome && item.outcome->outcome == Outcome::Unknown)
        return RowFate::Unknown;
    // The network or the phone refused it, or it never reached a device.
    return item.outcome && item.outcome->outcome != Outcome::NotHandedOver ? RowFate::Failed
                                                                           : RowFate::NotSent;
}

QString rowMark(RowFate fate) {
    switch (fate) {
    case RowFate::Sent: return QStringLiteral("Sent");
    case RowFate::Failed: return QStringLiteral("Failed");
    case RowFate::Unknown: return QStringLiteral("Unknown");
    case RowFate::NotSent: return QStringLiteral("Not sent");
    case RowFate::Passed: break;
    }
    return {};
}

void LastRun::remember(const QList<SendingItem>& items, NumberList& list) {
    // What a run did not take keeps its earlier fate: after "Send to the N not yet sent" the
    // rows sent before stay marked, and are asked about before they would go again.
    for (const SendingItem& item : items)
        m_fates.insert(keyOf(item.number, item.message), rowFate(item));
    const RecordList rows = list.records();
    for (qsizetype i = 0; i < rows.size(); ++i) {
        Record row = rows.at(i);
        const std::optional<RowFate> fate = fateOf(row);
        const QString mark = fate ? rowMark(*fate) : QString();
        if (row.value(kLastRunKey) != mark) {
            row.insert(kLastRunKey, mark);
            list.replace(i, row);
        }
    }
}

std::optional<RowFate> LastRun::fateOf(const Record& row) const {
    const auto it = m_fates.constFind(keyOf(recipientNumber(row), row.value(kMessageKey)));
    return it == m_fates.cend() ? std::nullopt : std::optional<RowFate>(*it);
}

RecordList LastRun::notYetSent(const RecordList& rows) const {
    RecordList rest;
    for (const Record& row : rows)
        if (notYetSent(row))
            rest.append(row);
    return rest;
}

bool LastRun::notYetSent(const Record& row) const {
    const std::optional<RowFate> fate = fateOf(row);
    return !fate || *fate == RowFate::Failed || *fate == RowFate::NotSent;
}

std::optional<RecordList> LastRun::rowsToSend(Operator& op, const RecordList& rows) const {
    int reached = 0;
    int unknown = 0;
    for (const Record& row : rows) {
        const std::optional<RowFate> fate = fateOf(row);
        reached += fate == RowFate::Sent ? 1 : 0;
        unknown += fate == RowFate::Unknown ? 1 : 0;
    }
    if (reached + unknown == 0)
        return rows;
    const RecordList rest = notYetSent(rows);
    const QString maybe =
        unknown == 0
            ? QString()
            : (unknown == 1 ? QStringLiteral(" (and 1 may have been sent)")
                            : QStringLiteral(" (and %1 may have been sent)").arg(localNumber(unknown)));
    if (!rest.isEmpty() &&
        op.Show_YES_NO_MessageBox(
            QStringLiteral("This message was already sent to %1 of these %2%3.\n\n"
                           "Send only to the %4 not yet sent?")
                .arg(localNumber(reached), recipients(rows.size()), maybe, localNumber(rest.size()))))
        return rest;
    if (op.Show_YES_NO_MessageBox(
            QStringLiteral("Send to the %1 again? %2 would get the message a second time.")
                .arg(rows.size() == 1 ? QStringLiteral("recipient") : recipients(rows.size()),
                     recipients(reached + unknown))))
        return rows;
    return std::nullopt;
}

bool LastRun::choose(Operator& op, const RecordList& rows) {
    const bool onlyNotYetSent = std::exchange(m_onlyNotYetSent, false);
    std::optional<RecordList> chosen = onlyNotYetSent ? notYetSent(rows) : rowsToSend(op, rows);
    if (!chosen)
        return false;
    if (chosen->isEmpty()) {
        op.Show_MessageBox(QStringLiteral("Everyone in the list was already sent this message."));
        return false;
    }
    m_chosen = std::move(*chosen);
    m_chosenRows.clear();
    const bool all = m_chosen.size() == rows.size();
    for (qsizetype i = 0; i < rows.size(); ++i)
        if (all || notYetSent(rows.at(i)))
            m_chosenRows << int(i);
    return true;
}

int notYetSentCount(const QList<SendingItem>& items) {
    return int(std::count_if(items.cbegin(), items.cend(), [](const SendingItem& item) {
        const RowFate fate = rowFate(item);
        return fate == RowFate::Failed || fate == RowFate::NotSent;
    }));
}

QString notYetSentOffer(int count) {
    return count == 1 ? QStringLiteral("Send to the one not yet sent")
                      : QStringLiteral("Send to the %1 not yet sent").arg(localNumber(count));
}

QString partsText(int part, int parts) {
    return QStringLiteral("Sending part %1 of %2").arg(localNumber(part), localNumber(parts));
}

QString stoppedSummary(const QList<SendingItem>& items) {
    int sent = 0;
    int total = 0;
    for (const SendingItem& item : items) {
        const RowFate fate = rowFate(item);
        sent += fate == RowFate::Sent ? 1 : 0;
        total += fate == RowFate::Passed ? 0 : 1;
    }
    return QStringLiteral("Stopped: %1 of %2 sent.").arg(localNumber(sent), localNumber(total));
}
