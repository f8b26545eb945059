#include "SimStore.h"

#include <QStringList>

namespace sim {
namespace {

const QStringList kStatusNames = {QStringLiteral("REC UNREAD"), QStringLiteral("REC READ"),
                                  QStringLiteral("STO UNSENT"), QStringLiteral("STO SENT"),
                                  QStringLiteral("ALL")};

} // namespace

int SimStore::store(const SimEntry& entry) {
    for (int index = 1; index <= m_capacity; ++index) {
        if (m_entries.count(index) == 0) {
            m_entries.emplace(index, entry);
            return index;
        }
    }
    return -1;
}

SimEntry* SimStore::at(int index) {
    const auto found = m_entries.find(index);
    return found == m_entries.end() ? nullptr : &found->second;
}

std::optional<SimEntry> SimStore::take(int index) {
    const auto found = m_entries.find(index);
    if (found == m_entries.end())
        return std::nullopt;
    SimEntry entry = std::move(found->second);
    m_entries.erase(found);
    return entry;
}

QList<int> SimStore::indexes(int status) const {
    QList<int> found;
    for (const auto& [index, entry] : m_entries)
        if (status == All || entry.status == status)
            found.append(index);
    return found;
}

QList<std::pair<int, SimEntry>> SimStore::removeByFlag(int flag) {
    QList<std::pair<int, SimEntry>> removed;
    for (auto it = m_entries.begin(); it != m_entries.end();) {
        const int status = it->second.status;
        const bool goes = flag >= 4 || status == RecRead || (flag >= 2 && status == StoSent) ||
                          (flag >= 3 && status == StoUnsent);
        if (goes) {
            removed.append({it->first, it->second});
            it = m_entries.erase(it);
        } else {
            ++it;
        }
    }
    return removed;
}

QString SimStore::statusName(int status) { return kStatusNames.value(status); }

int SimStore::statusFromName(const QString& name) { return int(kStatusNames.indexOf(name.toUpper())); }

} // namespace sim
