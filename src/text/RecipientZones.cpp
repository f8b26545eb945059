#include "RecipientZones.h"

#include "core/WallClock.h"

#include <QHash>
#include <QTimeZone>

#include <phonenumbers/phonenumber.pb.h>
#include <phonenumbers/phonenumberutil.h>
#include <unicode/locid.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>
#include <unicode/tznames.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

using i18n::phonenumbers::PhoneNumber;
using i18n::phonenumbers::PhoneNumberUtil;

// data/area-zones.tsv, compiled in by the build.
extern const char kAreaZonesTsv[];

namespace {

// A zone of the table that marks an area spanning zones.
const QString kMixedArea = QStringLiteral("-");

// The area table: "US:312" -> "America/Chicago", and the longest prefix of each region.
struct AreaTable {
    std::unordered_map<std::string, QString> zoneOfPrefix;
    std::unordered_map<std::string, int> longestPrefix;
    std::map<std::string, QStringList> zonesOfRegion; // every zone the table names, per region
};

std::string areaKey(const std::string& region, std::string_view prefix) {
    std::string key = region;
    key += ':';
    key += prefix;
    return key;
}

AreaTable readAreaTable() {
    AreaTable table;
    const QStringList lines = QString::fromUtf8(kAreaZonesTsv).split(u'\n');
    for (const QString& line : lines) {
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        const QStringList cells = line.split(u'\t');
        if (cells.size() != 3)
            continue; // the table's test finds such a row; at run time it only loses its area
        const std::string region = cells[0].toStdString();
        const std::string prefix = cells[1].toStdString();
        table.zoneOfPrefix[areaKey(region, prefix)] = cells[2];
        int& longest = table.longestPrefix[region];
        longest = std::max(longest, int(prefix.size()));
        if (cells[2] != kMixedArea)
            table.zonesOfRegion[region] << cells[2];
    }
    return table;
}

const AreaTable& areaTable() {
    static const AreaTable table = readAreaTable();
    return table;
}

// The zone the table gives the number's area: a zone, kMixedArea, or "" when no row covers it.
QString areaZone(const std::string& region, const std::string& nationalNumber) {
    const AreaTable& table = areaTable();
    const auto longest = table.longestPrefix.find(region);
    if (longest == table.longestPrefix.end())
        return {};
    for (int length = std::min(longest->second, int(nationalNumber.size())); length > 0; --length) {
        const auto row = table.zoneOfPrefix.find(
            areaKey(region, std::string_view(nationalNumber).substr(0, size_t(length))));
        if (row != table.zoneOfPrefix.end())
            return row->second;
    }
    return {};
}

QStringList icuZonesOfRegion(const std::string& region) {
    QStringList zones;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::StringEnumeration> ids(icu::TimeZone::createTimeZoneIDEnumeration(
        UCAL_ZONE_TYPE_CANONICAL_LOCATION, region.c_str(), nullptr, status));
    if (U_FAILURE(status) || !ids)
        return zones;
    while (const char* id = ids->next(nullptr, status)) {
        if (U_FAILURE(status))
            break;
        zones << QString::fromLatin1(id);
    }
    return zones;
}

// What a zone's clock does over [from, to): its offset at from and each change after it.
QString clockOf(const QTimeZone& zone, const QDateTime& from, const QDateTime& to) {
    QString clock = QString::number(zone.offsetFromUtc(from));
    for (const QTimeZone::OffsetData& change : zone.transitions(from, to))
        clock += QStringLiteral(";%1:%2").arg(change.atUtc.toSecsSinceEpoch()).arg(change.offsetFromUtc);
    return clock;
}

// How well a zone stands for others with its clock (lower is better): the zone CLDR names for its
// metazone in the region ("America/Toronto" for Eastern time in Canada) first, then the
// metazone's zone for the world ("America/New_York"), then any; at equal standing a zone of the
// area table (a city people know) before one it does not name. People know these names.
int standingOf(const icu::TimeZoneNames& names, const QString& zone, const char* region, UDate at,
               const QStringList& tableZones) {
    const icu::UnicodeString id(zone.utf16(), int32_t(zone.size()));
    const int named = tableZones.contains(zone) ? 0 : 1;
    icu::UnicodeString metazone;
    names.getMetaZoneID(id, at, metazone);
    if (metazone.isEmpty())
        return 4 + named;
    icu::UnicodeString reference;
    if (names.getReferenceZoneID(metazone, region, reference) == id)
        return named;
    if (names.getReferenceZoneID(metazone, "001", reference) == id)
        return 2 + named;
    return 4 + named;
}

// A region's zones folded: zones whose clocks agree over the coming year become the one that
// stands best for them (ties: the first by name). The claims of a campaign ask per set of
// zones, so fewer sets mean fewer questions; a window checked over the next days cannot tell
// such zones apart.
struct FoldedRegion {
    QStringList zones;                 // the representatives, sorted
    QHash<QString, QString> standsFor; // every zone of the region -> its representative
    qint64 foldedAtMs = 0;
};

FoldedRegion foldRegion(const std::string& region, const QDateTime& now) {
    QStringList ids = icuZonesOfRegion(region);
    const auto inTable = areaTable().zonesOfRegion.find(region);
    const QStringList tableZones =
        inTable == areaTable().zonesOfRegion.end() ? QStringList() : inTable->second;
    ids += tableZones;
    ids.sort();
    ids.removeDuplicates();

    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::TimeZoneNames> names(
        icu::TimeZoneNames::createInstance(icu::Locale::getRoot(), status));
    const UDate at = UDate(now.toMSecsSinceEpoch());
    const QDateTime until = now.addDays(366);

    QHash<QString, QString> bestOfClock; // clock -> representative
    QHash<QString, QString> clockOfZone;
    for (const QString& id : ids) {
        const QTimeZone zone(id.toLatin1());
        if (!zone.isValid())
            continue;
        const QString clock = clockOf(zone, now, until);
        clockOfZone.insert(id, clock);
        auto best = bestOfClock.find(clock);
        if (best == bestOfClock.end())
            bestOfClock.insert(clock, id);
        else if (names && U_SUCCESS(status) &&
                 standingOf(*names, id, region.c_str(), at, tableZones) <
                     standingOf(*names, *best, region.c_str(), at, tableZones))
            *best = id; // ids come sorted: a tie keeps the first
    }
    FoldedRegion folded;
    folded.foldedAtMs = now.toMSecsSinceEpoch();
    for (auto zone = clockOfZone.cbegin(); zone != clockOfZone.cend(); ++zone)
        folded.standsFor.insert(zone.key(), bestOfClock.value(zone.value()));
    folded.zones = bestOfClock.values();
    folded.zones.sort();
    return folded;
}

// Folding reads every zone's clock for a year: done once a day per region, whatever the number
// of items (claims ask from several threads).
constexpr qint64 kRefoldAfterMs = 24LL * 3600 * 1000;

struct FoldedRegions {
    std::mutex mutex;
    std::unordered_map<std::string, FoldedRegion> regions;
};

FoldedRegions& foldedRegions() {
    static FoldedRegions folded;
    return folded;
}

// The folded zones of a region, and the representative of tableZone when one is given.
QStringList regionZones(const std::string& region, const QString& tableZone = QString()) {
    const QDateTime now = Clock::now();
    FoldedRegions& folded = foldedRegions();
    const std::lock_guard lock(folded.mutex);
    auto entry = folded.regions.find(region);
    if (entry == folded.regions.end() ||
        now.toMSecsSinceEpoch() - entry->second.foldedAtMs > kRefoldAfterMs ||
        now.toMSecsSinceEpoch() < entry->second.foldedAtMs)
        entry = folded.regions.insert_or_assign(region, foldRegion(region, now)).first;
    if (tableZone.isEmpty())
        return entry->second.zones;
    const QString representative = entry->second.standsFor.value(tableZone);
    if (representative.isEmpty())
        return {}; // a zone this computer does not know: the whole country, as for no row
    return {representative};
}

} // namespace

QStringList zonesOfNumber(const QString& e164) {
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    PhoneNumber number;
    if (util.Parse(e164.toStdString(), "ZZ", &number) != PhoneNumberUtil::NO_PARSING_ERROR)
        return {};
    std::string region;
    util.GetRegionCodeForNumber(number, &region);
    if (region.empty() || region == "ZZ" || region == "001")
        return {};
    std::string nationalNumber;
    util.GetNationalSignificantNumber(number, &nationalNumber);
    const QString zone = areaZone(region, nationalNumber);
    if (!zone.isEmpty() && zone != kMixedArea) {
        QStringList zones = regionZones(region, zone);
        if (!zones.isEmpty())
            return zones;
    }
    return regionZones(region);
}

QString zoneKeyOf(const QString& e164) { return zonesOfNumber(e164).join(u'|'); }

QStringList zonesOfKey(const QString& key) {
    return key.isEmpty() ? QStringList() : key.split(u'|', Qt::SkipEmptyParts);
}

QStringList zonesOfRegion(const QString& region) {
    const QString code = region.trimmed().toUpper();
    // Two letters, or nothing: each region asked for is folded and kept.
    if (code.size() != 2 ||
        !std::all_of(code.begin(), code.end(), [](QChar c) { return c >= u'A' && c <= u'Z'; }))
        return {};
    return regionZones(code.toStdString());
}
