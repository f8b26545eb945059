#include "text/RecipientZones.h"
#include "text/SendWindow.h"

#include <QDateTime>
#include <QSet>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

// The area table as the library compiled it in.
extern const char kAreaZonesTsv[];

namespace {

TEST(RecipientZones, AreaFixesTheZoneWhereItCan) {
    const struct {
        const char* number;
        const char* key;
    } cases[] = {
        {"+442079460958", "Europe/London"},
        {"+12127365000", "America/New_York"},
        {"+13123460000", "America/Chicago"},
        {"+17735550199", "America/Chicago"},
        {"+13034445555", "America/Denver"},
        {"+16025550100", "America/Phoenix"}, // no daylight saving: not Denver's clock
        {"+14155550100", "America/Los_Angeles"},
        {"+18085550100", "Pacific/Honolulu"},
        {"+13175550100", "America/New_York"}, // Indianapolis keeps New York's clock
        {"+14165550100", "America/Toronto"},  // Eastern time, named as Canada names it
        {"+15065550100", "America/Halifax"},  // New Brunswick keeps Halifax's clock
        {"+61293744000", "Australia/Sydney"},
        {"+61396541234", "Australia/Sydney"}, // Melbourne keeps Sydney's clock
        {"+61731234567", "Australia/Brisbane"},
        {"+74951234567", "Europe/Moscow"},
        {"+73432123456", "Asia/Yekaterinburg"},
        {"+73832123456", "Asia/Krasnoyarsk"}, // Novosibirsk keeps Krasnoyarsk's clock
        {"+74232123456", "Asia/Vladivostok"},
        {"+5511987654321", "America/Sao_Paulo"},
        {"+5592987654321", "America/Manaus"},
        {"+5568987654321", "America/Rio_Branco"},
        {"+526641234567", "America/Tijuana"},
        {"+529981234567", "America/Cancun"},
        {"+525512345678", "America/Mexico_City"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(zoneKeyOf(QString::fromLatin1(c.number)), QString::fromLatin1(c.key)) << c.number;
}

TEST(RecipientZones, NumbersWithoutAFixedAreaGetTheirWholeCountry) {
    const QStringList us = zonesOfRegion(QStringLiteral("US"));
    // Zones that keep one clock are one: Detroit and the Indiana zones are New York here.
    for (const char* id : {"America/New_York", "America/Chicago", "America/Denver", "America/Phoenix",
                           "America/Los_Angeles", "America/Juneau", "Pacific/Honolulu"})
        EXPECT_TRUE(us.contains(QString::fromLatin1(id))) << id;
    EXPECT_FALSE(us.contains(QStringLiteral("America/Detroit")));
    EXPECT_FALSE(us.contains(QStringLiteral("America/Anchorage"))); // CLDR's zone for Alaska is Juneau
    EXPECT_FALSE(us.contains(QStringLiteral("America/Indiana/Vevay")));
    EXPECT_LE(us.size(), 10);

    const struct {
        const char* number;
        const char* region;
    } cases[] = {
        {"+18505550100", "US"},   // Florida's panhandle spans Eastern and Central time
        {"+19075550100", "US"},   // Alaska
        {"+61412345678", "AU"},   // mobiles carry no area
        {"+61265631234", "AU"},   // Lord Howe Island, inside Sydney's 02
        {"+61755361234", "AU"},   // the Gold Coast block reaches into NSW
        {"+61881234567", "AU"},   // 08: three states
        {"+79161234567", "RU"},   // a mobile anywhere in Russia
        {"+5581987654321", "BR"}, // Pernambuco and Fernando de Noronha
    };
    for (const auto& c : cases) {
        const QStringList country = zonesOfRegion(QString::fromLatin1(c.region));
        EXPECT_GT(country.size(), 1) << c.region;
        EXPECT_EQ(zonesOfNumber(QString::fromLatin1(c.number)), country) << c.number;
        EXPECT_EQ(zoneKeyOf(QString::fromLatin1(c.number)), country.join(u'|')) << c.number;
    }
    EXPECT_TRUE(zonesOfRegion(QStringLiteral("AU")).contains(QStringLiteral("Australia/Lord_Howe")));
    EXPECT_TRUE(zonesOfRegion(QStringLiteral("MX")).contains(QStringLiteral("America/Ciudad_Juarez")))
        << "a zone of the table belongs to its country's whole set";
}

TEST(RecipientZones, KeysAreSortedDistinctAndReadBack) {
    const QString key = zoneKeyOf(QStringLiteral("+61412345678"));
    const QStringList list = zonesOfKey(key);
    QStringList sorted = list;
    sorted.sort();
    sorted.removeDuplicates();
    EXPECT_EQ(list, sorted);
    EXPECT_EQ(list.join(u'|'), key);
    EXPECT_TRUE(zonesOfKey(QString()).isEmpty());
}

TEST(RecipientZones, NumbersThatNameNoCountryHaveNoZones) {
    for (const char* number :
         {"", "+", "hello", "+999123456789", "+1999", "0044 20 7946 0958", "+8005550100"})
        EXPECT_TRUE(zonesOfNumber(QString::fromLatin1(number)).isEmpty()) << number;
    EXPECT_TRUE(zonesOfRegion(QStringLiteral("ZZ")).isEmpty());
    EXPECT_TRUE(zonesOfRegion(QStringLiteral("../US")).isEmpty());
    EXPECT_TRUE(zonesOfRegion(QStringLiteral("1\u00E9")).isEmpty());
}

TEST(RecipientZones, EveryRowOfTheAreaTableIsUsable) {
    QSet<QString> seen;
    int rows = 0;
    for (const QString& line : QString::fromUtf8(kAreaZonesTsv).split(u'\n')) {
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        ++rows;
        const QStringList cells = line.split(u'\t');
        ASSERT_EQ(cells.size(), 3) << qPrintable(line);
        EXPECT_FALSE(zonesOfRegion(cells[0]).isEmpty()) << qPrintable(line);
        bool digits = !cells[1].isEmpty();
        for (QChar c : cells[1])
            digits = digits && c.isDigit();
        EXPECT_TRUE(digits) << qPrintable(line);
        EXPECT_TRUE(cells[2] == QStringLiteral("-") || QTimeZone(cells[2].toLatin1()).isValid())
            << qPrintable(line);
        EXPECT_TRUE(zoneRefusal(cells[2]).isEmpty() || cells[2] == QStringLiteral("-")) << qPrintable(line);
        EXPECT_FALSE(seen.contains(cells[0] + cells[1])) << "twice: " << qPrintable(line);
        seen.insert(cells[0] + cells[1]);
    }
    EXPECT_GT(rows, 400);
}

// The careful rule at work: a number that may be in several zones waits until it is a proper
// hour in all of them.
TEST(RecipientZones, WindowHoldsInEveryZoneOfAnUncertainNumber) {
    const SendWindow window = *SendWindow::parse(QStringLiteral("09:00-20:00"));
    const QStringList chicago = zonesOfNumber(QStringLiteral("+13123460000"));
    const QStringList panhandle = zonesOfNumber(QStringLiteral("+18505550100"));
    // 2026-06-15 14:30Z: 09:30 in Chicago, 04:30 in Honolulu.
    const QDateTime morning(QDate(2026, 6, 15), QTime(14, 30), QTimeZone::utc());
    EXPECT_TRUE(isOpen(window, chicago, morning));
    EXPECT_FALSE(isOpen(window, panhandle, morning));
    const std::optional<QDateTime> opening = nextOpening(window, panhandle, morning);
    ASSERT_TRUE(opening);
    // 09:00 in Honolulu (UTC-10), while New York (20:00 at 00:00Z) is still open.
    EXPECT_EQ(*opening, QDateTime(QDate(2026, 6, 15), QTime(19, 0), QTimeZone::utc()));
    for (const QString& zone : panhandle) {
        const QTime local = opening->toTimeZone(QTimeZone(zone.toLatin1())).time();
        EXPECT_TRUE(local >= QTime(9, 0) && local < QTime(20, 0)) << qPrintable(zone);
    }
    EXPECT_EQ(waitingText(window, panhandle, morning, 2),
              QStringLiteral("waiting for 09:00 in Pacific/Honolulu (2 recipients)"));
}

// Sending threads ask at once, each for its own claims: they share the folded regions.
TEST(RecipientZones, ThreadsAskingAtOnceGetTheSameAnswers) {
    const QStringList numbers{QStringLiteral("+13123460000"),   QStringLiteral("+18505550100"),
                              QStringLiteral("+61412345678"),   QStringLiteral("+79161234567"),
                              QStringLiteral("+5568987654321"), QStringLiteral("+442079460958")};
    QStringList expected;
    for (const QString& number : numbers)
        expected << zoneKeyOf(number);
    const SendWindow window = *SendWindow::parse(QStringLiteral("09:00-20:00"));
    const QDateTime at(QDate(2026, 6, 15), QTime(19, 30), QTimeZone::utc());
    std::vector<std::vector<int>> answers(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < answers.size(); ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 50; ++round)
                for (qsizetype i = 0; i < numbers.size(); ++i) {
                    const QString key = zoneKeyOf(numbers[i]);
                    answers[t].push_back(key == expected[i] ? int(isOpen(window, zonesOfKey(key), at)) : -1);
                }
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::vector<int>& answer : answers)
        EXPECT_EQ(answer, answers.front());
    EXPECT_EQ(std::count(answers.front().begin(), answers.front().end(), -1), 0);
}

} // namespace
