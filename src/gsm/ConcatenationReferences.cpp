#include "ConcatenationReferences.h"

#include <QHash>
#include <QRandomGenerator>

#include <mutex>

namespace ConcatenationReferences {

int next(const QString& device) {
    static std::mutex lock;
    static QHash<QString, int> lastOf;
    std::lock_guard guard(lock);
    const auto found = lastOf.constFind(device);
    const int reference = found == lastOf.constEnd()
                              ? static_cast<int>(QRandomGenerator::global()->bounded(0x10000))
                              : (*found + 1) & 0xFFFF;
    lastOf.insert(device, reference);
    return reference;
}

} // namespace ConcatenationReferences
