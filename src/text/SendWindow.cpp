#include "SendWindow.h"

#include <QRegularExpression>
#include <QTimeZone>

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

constexpr qint64 kSecondsPerDay = 24LL * 3600;
constexpr int kSearchDays = 8;

QString hhmm(int minuteOfDay) {
    return QStringLiteral("%1:%2")
        .arg(minuteOfDay / 60, 2, 10, QLatin1Char('0'))
        .arg(minuteOfDay % 60, 2, 10, QLatin1Char('0'));
}

// A zone id as tz names them: letters, digits, "_", "-", "+" and "/"-separated parts, none of
// them "." or "..": the name ends up in a path under the zone database.
bool isZoneName(const QString& zone) {
    static const QRegularExpression shape(QStringLiteral(R"(^[A-Za-z][A-Za-z0-9_+-]*(/[A-Za-z0-9_+-]+)*$)"));
    return zone.size() <= 64 && shape.match(zone).hasMatch();
}

// Zones by name, per thread: building one reads its rules from the zone database, and the
// checks run per claim on the sending threads.
const QTimeZone* zoneNamed(const QString& id) {
    // Node-based: a zone stays where it is while others are added.
    thread_local std::unordered_map<QString, QTimeZone> zones;
    const auto found = zones.find(id);
    if (found != zones.end())
        return &found->second;
    if (!isZoneName(id))
        return nullptr;
    // Qt reads a name it finds no file for as a POSIX rule ("Chicago" would be UTC), so a name
    // without a "/" counts only when it is in the zone list ("UTC"); one with a "/" only when
    // its file was read (ICU's names include links such as "America/Indianapolis").
    const QByteArray name = id.toLatin1();
    if (!id.contains(u'/') && !QTimeZone::isTimeZoneIdAvailable(name))
        return nullptr;
    QTimeZone zone(name);
    if (!zone.isValid())
        return nullptr;
    return &zones.emplace(id, std::move(zone)).first->second;
}

qint64 floorDiv(qint64 a, qint64 b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0); }

int localMinute(const QTimeZone& zone, qint64 utcSecs) {
    const qint64 local = utcSecs + zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(utcSecs, Qt::UTC));
    return int((local - floorDiv(local, kSecondsPerDay) * kSecondsPerDay) / 60);
}

bool openAt(const SendWindow& window, const std::vector<const QTimeZone*>& zones, qint64 utcSecs) {
    return std::all_of(zones.begin(), zones.end(), [&](const QTimeZone* zone) {
        return window.containsMinute(localMinute(*zone, utcSecs));
    });
}

// The zones by name; nothing when one of them is unknown.
std::optional<std::vector<const QTimeZone*>> zonesNamed(const QStringList& ids) {
    std::vector<const QTimeZone*> zones;
    zones.reserve(size_t(ids.size()));
    for (const QString& id : ids) {
        const QTimeZone* zone = zoneNamed(id);
        if (!zone)
            return std::nullopt;
        zones.push_back(zone);
    }
    return zones;
}

// The instants in [from, from + 8 days] at which a zone's local time may step into the window:
// each local opening (once per offset it may be read in, so a repeated hour counts twice and
// a skipped one not at all) and each change of its offset.
void addOpenings(const SendWindow& window, const QTimeZone& zone, qint64 from,
                 std::vector<qint64>& instants) {
    const qint64 until = from + kSearchDays * kSecondsPerDay;
    const QDateTime fromTime = QDateTime::fromSecsSinceEpoch(from - kSecondsPerDay, Qt::UTC);
    const QDateTime untilTime = QDateTime::fromSecsSinceEpoch(until + kSecondsPerDay, Qt::UTC);
    std::vector<int> offsets{zone.offsetFromUtc(fromTime)};
    for (const QTimeZone::OffsetData& change : zone.transitions(fromTime, untilTime)) {
        offsets.push_back(change.offsetFromUtc);
        const qint64 at = change.atUtc.toSecsSinceEpoch();
        if (at >= from && at <= until)
            instants.push_back(at);
    }
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());

    const qint64 firstDay = floorDiv(from + offsets.front(), kSecondsPerDay) - 1;
    const qint64 lastDay = floorDiv(until + offsets.back(), kSecondsPerDay) + 1;
    for (qint64 day = firstDay; day <= lastDay; ++day) {
        const qint64 localOpening = day * kSecondsPerDay + qint64(window.startMinute) * 60;
        for (int offset : offsets) {
            const qint64 at = localOpening - offset;
            if (at >= from && at <= until &&
                zone.offsetFromUtc(QDateTime::fromSecsSinceEpoch(at, Qt::UTC)) == offset)
                instants.push_back(at);
        }
    }
}

std::optional<qint64> nextOpeningSecs(const SendWindow& window, const std::vector<const QTimeZone*>& zones,
                                      qint64 from) {
    if (openAt(window, zones, from))
        return from;
    // Closed now, the set opens only when one zone steps into the window: at one of these.
    std::vector<qint64> instants;
    for (const QTimeZone* zone : zones)
        addOpenings(window, *zone, from, instants);
    std::sort(instants.begin(), instants.end());
    instants.erase(std::unique(instants.begin(), instants.end()), instants.end());
    for (qint64 at : instants)
        if (openAt(window, zones, at))
            return at;
    return std::nullopt;
}

QString recipients(int count) {
    return count == 1 ? QStringLiteral("1 recipient") : QStringLiteral("%1 recipients").arg(count);
}

} // namespace

std::optional<SendWindow> SendWindow::parse(const QString& text, QString* reason) {
    auto refuse = [reason](const QString& why) -> std::optional<SendWindow> {
        if (reason)
            *reason = why;
        return std::nullopt;
    };
    static const QRegularExpression shape(
        QStringLiteral(R"(^\s*([0-9]{1,2}):([0-9]{2})\s*[-\x{2013}]\s*([0-9]{1,2}):([0-9]{2})\s*$)"));
    const QRegularExpressionMatch m = shape.match(text);
    if (!m.hasMatch())
        return refuse(QStringLiteral("\"%1\" is not a send window: write it as HH:MM-HH:MM, for example "
                                     "09:00-20:00")
                          .arg(text.trimmed().left(40)));
    int minutes[2] = {0, 0};
    for (int i = 0; i < 2; ++i) {
        const int hour = m.captured(1 + 2 * i).toInt();
        const int minute = m.captured(2 + 2 * i).toInt();
        if (hour > 23 || minute > 59)
            return refuse(QStringLiteral("%1:%2 is not a time of day (00:00 to 23:59)")
                              .arg(m.captured(1 + 2 * i), m.captured(2 + 2 * i)));
        minutes[i] = hour * 60 + minute;
    }
    if (minutes[0] == minutes[1])
        return refuse(
            QStringLiteral("the send window %1-%1 opens and closes at the same time: it would never "
                           "be open")
                .arg(hhmm(minutes[0])));
    if (reason)
        reason->clear();
    return SendWindow{minutes[0], minutes[1]};
}

QString SendWindow::text() const { return hhmm(startMinute) + QLatin1Char('-') + hhmm(endMinute); }

bool SendWindow::containsMinute(int minuteOfDay) const {
    if (startMinute < endMinute)
        return minuteOfDay >= startMinute && minuteOfDay < endMinute;
    return minuteOfDay >= startMinute || minuteOfDay < endMinute; // overnight
}

bool isOpen(const SendWindow& window, const QStringList& zones, const QDateTime& utc) {
    const auto named = zonesNamed(zones);
    return named && openAt(window, *named, utc.toSecsSinceEpoch());
}

std::optional<QDateTime> nextOpening(const SendWindow& window, const QStringList& zones,
                                     const QDateTime& utc) {
    const auto named = zonesNamed(zones);
    if (!named)
        return std::nullopt;
    const std::optional<qint64> at = nextOpeningSecs(window, *named, utc.toSecsSinceEpoch());
    if (!at)
        return std::nullopt;
    if (*at == utc.toSecsSinceEpoch())
        return utc.toUTC();
    return QDateTime::fromSecsSinceEpoch(*at, Qt::UTC);
}

QString waitingText(const SendWindow& window, const QStringList& zones, const QDateTime& utc, int count) {
    for (const QString& zone : zones)
        if (!zoneNamed(zone))
            return QStringLiteral("unknown time zone \"%1\" (%2)").arg(zone.left(64), recipients(count));
    const auto named = zonesNamed(zones);
    const qint64 from = utc.toSecsSinceEpoch();
    const std::optional<qint64> at = nextOpeningSecs(window, *named, from);
    if (!at)
        return QStringLiteral("the send window %1 is never open in %2 at once (%3)")
            .arg(window.text(), zones.join(QStringLiteral(", ")), recipients(count));
    if (*at == from)
        return {};
    // The zone awaited: one still closed a moment before, preferably one whose window opens
    // then (another may step in by a change of its clock).
    qsizetype awaited = -1;
    qsizetype closedBefore = -1;
    for (qsizetype i = 0; i < zones.size() && awaited < 0; ++i) {
        const QTimeZone& zone = *named->at(size_t(i));
        if (window.containsMinute(localMinute(zone, *at - 1)))
            continue;
        if (closedBefore < 0)
            closedBefore = i;
        if (localMinute(zone, *at) == window.startMinute)
            awaited = i;
    }
    if (awaited < 0)
        awaited = std::max<qsizetype>(closedBefore, 0);
    return QStringLiteral("waiting for %1 in %2 (%3)")
        .arg(hhmm(localMinute(*named->at(size_t(awaited)), *at)), zones.at(awaited), recipients(count));
}

QString zoneRefusal(const QString& zone) {
    const QString name = zone.trimmed();
    if (name.isEmpty())
        return QStringLiteral("no time zone given (a name such as America/Chicago)");
    if (zoneNamed(name))
        return {};
    return QStringLiteral("\"%1\" is not a time zone this computer knows (a name such as America/Chicago)")
        .arg(name.left(64));
}
