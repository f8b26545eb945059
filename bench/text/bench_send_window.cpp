// What a send window costs where it runs: zoneKeyOf once per item created, isOpen once per
// claim, nextOpening and waitingText once per set of zones a campaign waits on. Numbers of
// the United States, Australia, Russia and the United Kingdom, with and without an area that
// fixes their zone.
#include "text/RecipientZones.h"
#include "text/SendWindow.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QTimeZone>

#include <cstdio>
#include <iterator>
#include <utility>

namespace {

constexpr int kNumbers = 200000;
constexpr int kChecks = 300000;

QStringList numbers() {
    // A prefix and how many digits follow it in a whole number.
    const std::pair<const char*, int> prefixes[] = {{"+1312", 7}, {"+1212", 7}, {"+1850", 7},
                                                    {"+1415", 7}, {"+612", 8},  {"+614", 8},
                                                    {"+7495", 7}, {"+7916", 7}, {"+4420", 8}};
    QStringList list;
    list.reserve(kNumbers);
    for (int i = 0; i < kNumbers; ++i) {
        const auto& [prefix, digits] = prefixes[i % std::size(prefixes)];
        list << QString::fromLatin1(prefix) +
                    QStringLiteral("%1").arg(3460000 + i % 500000, digits, 10, QLatin1Char('0'));
    }
    return list;
}

double usPer(double ms, int calls) { return ms * 1000.0 / calls; }

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList list = numbers();

    QElapsedTimer timer;
    timer.start();
    const QString first = zoneKeyOf(list.first());
    std::printf("first zoneKeyOf (reads the table, folds the region): %8.2f ms -> %s\n",
                timer.nsecsElapsed() / 1e6, qPrintable(first));

    timer.restart();
    QStringList keys;
    keys.reserve(kNumbers);
    for (const QString& number : list)
        keys << zoneKeyOf(number);
    const double keyMs = timer.nsecsElapsed() / 1e6;
    QStringList distinct = keys;
    distinct.removeDuplicates();
    std::printf("zoneKeyOf, %d numbers: %8.1f ms, %.2f us a number, %lld distinct keys\n", kNumbers, keyMs,
                usPer(keyMs, kNumbers), qlonglong(distinct.size()));

    const SendWindow window = *SendWindow::parse(QStringLiteral("09:00-20:00"));
    const QDateTime start(QDate(2026, 3, 7), QTime(12, 0), QTimeZone::utc());
    for (const QString& key : distinct) {
        const QStringList zones = zonesOfKey(key);
        timer.restart();
        int open = 0;
        for (int i = 0; i < kChecks; ++i)
            open += isOpen(window, zones, start.addSecs(i % 86400));
        const double openMs = timer.nsecsElapsed() / 1e6;
        timer.restart();
        constexpr int kSearches = 2000;
        int found = 0;
        for (int i = 0; i < kSearches; ++i)
            found += nextOpening(window, zones, start.addSecs(qint64(i) * 307)).has_value();
        const double nextMs = timer.nsecsElapsed() / 1e6;
        std::printf("%2lld zone(s) %-40.40s isOpen %.3f us (open %d%%), nextOpening %.1f us (found %d%%)\n",
                    qlonglong(zones.size()), qPrintable(key), usPer(openMs, kChecks), open * 100 / kChecks,
                    usPer(nextMs, kSearches), found * 100 / kSearches);
    }
    const QStringList chicago{QStringLiteral("America/Chicago")};
    timer.restart();
    for (int i = 0; i < 10000; ++i)
        (void)waitingText(window, chicago, start.addSecs(qint64(i) * 60), 3);
    std::printf("waitingText, one zone: %.1f us\n", usPer(timer.nsecsElapsed() / 1e6, 10000));
    return 0;
}
