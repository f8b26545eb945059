#include "ConcatenatedSmsAssembler.h"

#include <algorithm>

namespace {

constexpr int kMaxParts = 255; // the header's total is one octet

AssembledSms single(const ReceivedSms& sms, int storageIndex) {
    AssembledSms message;
    message.sender = sms.sender;
    message.sentAt = sms.sentAt;
    message.text = sms.text;
    if (storageIndex >= 0)
        message.storageIndexes << storageIndex;
    return message;
}

} // namespace

std::optional<AssembledSms> ConcatenatedSmsAssembler::add(const ReceivedSms& sms, const QDateTime& now,
                                                          int storageIndex) {
    // A header that numbers no real part of a long message leaves a message on its own.
    const std::optional<SmsConcatenation>& part = sms.concatenation;
    if (!part || part->total <= 1 || part->total > kMaxParts || part->sequence < 1 ||
        part->sequence > part->total)
        return single(sms, storageIndex);
    const Key key{sms.sender, part->reference, part->total};
    auto [it, created] = m_groups.try_emplace(key);
    Group& group = it->second;
    if (created)
        group.firstArrival = now;
    if (storageIndex >= 0)
        group.storageIndexes << storageIndex;
    group.parts.try_emplace(part->sequence, sms); // a part seen before stays as it first came
    if (qsizetype(group.parts.size()) < part->total)
        return std::nullopt;
    AssembledSms message = assembled(group, part->total);
    m_groups.erase(it);
    return message;
}

QList<AssembledSms> ConcatenatedSmsAssembler::expire(const QDateTime& now) {
    return take([&](const Group& group) { return group.firstArrival.secsTo(now) >= m_timeoutSeconds; });
}

QList<AssembledSms> ConcatenatedSmsAssembler::flush() {
    return take([](const Group&) { return true; });
}

QList<AssembledSms> ConcatenatedSmsAssembler::take(const std::function<bool(const Group&)>& due) {
    QList<std::pair<QDateTime, AssembledSms>> taken;
    for (auto it = m_groups.begin(); it != m_groups.end();) {
        if (!due(it->second)) {
            ++it;
            continue;
        }
        taken.append({it->second.firstArrival, assembled(it->second, std::get<2>(it->first))});
        it = m_groups.erase(it);
    }
    std::stable_sort(taken.begin(), taken.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    QList<AssembledSms> messages;
    for (const auto& [arrival, message] : taken)
        messages << message;
    return messages;
}

AssembledSms ConcatenatedSmsAssembler::assembled(const Group& group, int total) {
    AssembledSms message;
    message.total = total;
    message.storageIndexes = group.storageIndexes;
    const ReceivedSms& any = group.parts.begin()->second;
    message.sender = any.sender;
    for (int sequence = 1; sequence <= total; ++sequence)
        if (!group.parts.count(sequence))
            message.missingParts << sequence;
    // The first part's time; without it, the earliest time a part carries.
    if (group.parts.count(1))
        message.sentAt = group.parts.at(1).sentAt;
    else
        for (const auto& [sequence, sms] : group.parts)
            if (sms.sentAt.isValid() && (!message.sentAt.isValid() || sms.sentAt < message.sentAt))
                message.sentAt = sms.sentAt;
    // UCS2 parts are decoded joined, so that a surrogate pair split between two parts is
    // whole again; that needs every part but the last to hold whole code units.
    const bool joinUnits =
        message.complete() && std::all_of(group.parts.begin(), group.parts.end(), [&](const auto& p) {
            return p.second.coding == ReceivedCoding::Ucs2 &&
                   (p.first == total || p.second.data.size() % 2 == 0);
        });
    if (joinUnits) {
        QByteArray data;
        for (const auto& [sequence, sms] : group.parts)
            data += sms.data;
        message.text = ucs2Text(data);
        return message;
    }
    for (const auto& [sequence, sms] : group.parts)
        message.text += sms.text;
    return message;
}
