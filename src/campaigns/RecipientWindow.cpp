#include "RecipientWindow.h"

#include "text/RecipientZones.h"

#include <QDateTime>
#include <QTimeZone>

namespace {
constexpr qint64 kMinute = qint64(60) * 1000;

QDateTime utcOf(qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc()); }
} // namespace

QString recipientZoneKey(const RunSettings& settings, const QString& e164) {
    if (!settings.windowZone.isEmpty())
        return settings.windowZone;
    const QString key = e164.isEmpty() ? QString() : zoneKeyOf(e164);
    return key.isEmpty() ? QString::fromUtf8(QTimeZone::systemTimeZoneId()) : key;
}

std::optional<RecipientWindow> RecipientWindow::of(const RunSettings& settings) {
    if (settings.sendWindow.isEmpty())
        return std::nullopt;
    const std::optional<SendWindow> window = SendWindow::parse(settings.sendWindow);
    if (!window)
        return std::nullopt;
    return RecipientWindow(*window);
}

bool RecipientWindow::isOpen(const QString& zoneKey, qint64 now) {
    const auto known = m_open.constFind(zoneKey);
    if (known != m_open.cend() && now < known->second)
        return known->first;
    const bool open = ::isOpen(m_window, zonesOfKey(zoneKey), utcOf(now));
    // Until the next whole minute: windows open and close on minutes.
    m_open.insert(zoneKey, {open, (now / kMinute + 1) * kMinute});
    return open;
}

qint64 RecipientWindow::nextOpening(const QString& zoneKey, qint64 now) const {
    const std::optional<QDateTime> opening = ::nextOpening(m_window, zonesOfKey(zoneKey), utcOf(now));
    return opening ? opening->toMSecsSinceEpoch() : 0;
}

QString RecipientWindow::waitingText(const QString& zoneKey, qint64 now, int count) const {
    return ::waitingText(m_window, zonesOfKey(zoneKey), utcOf(now), count);
}
