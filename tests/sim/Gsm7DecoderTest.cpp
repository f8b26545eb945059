#include "sim/Gsm7Decoder.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace sim::Gsm7Decoder;

TEST(Gsm7Unpack, SeptetsCrossOctetBoundariesLeastSignificantFirst) {
    const struct {
        const char* hex;
        int count;
        int skip;
        QList<quint8> septets;
    } cases[] = {
        {"E8329BFD4697D9EC37", 10, 0, {'h', 'e', 'l', 'l', 'o', 'h', 'e', 'l', 'l', 'o'}},
        {"C834", 2, 0, {'H', 'i'}},
        {"009069", 2, 9, {'H', 'i'}}, // after a fill bit
        {"1B14", 2, 0, {27, 40}},
        {"41", 2, 0, {'A'}}, // the octets run out
        {"", 3, 0, {}},
    };
    const auto values = [](const QList<quint8>& list) { return std::vector<int>(list.begin(), list.end()); };
    for (const auto& c : cases)
        EXPECT_EQ(values(unpack(QByteArray::fromHex(c.hex), c.count, c.skip)), values(c.septets)) << c.hex;
}

TEST(Gsm7Text, DefaultAndExtensionTables) {
    const struct {
        QList<quint8> septets;
        QString text;
    } cases[] = {
        {{0, 1, 2, 3, 4, 5, 6, 7}, QStringLiteral("@£$¥èéùì")},
        {{16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26}, QStringLiteral("Δ_ΦΓΛΩΠΨΣΘΞ")},
        {{28, 29, 30, 31, 36, 64, 91, 92, 93, 94, 95, 96}, QStringLiteral("ÆæßÉ¤¡ÄÖÑÜ§¿")},
        {{123, 124, 125, 126, 127}, QStringLiteral("äöñüà")},
        {{27, 20, 27, 40, 27, 41, 27, 47, 27, 60, 27, 61, 27, 62, 27, 64, 27, 101},
         QStringLiteral("^{}\\[~]|€")},
        {{27, 65}, QStringLiteral("A")},  // unknown extension: the default character
        {{'A', 27}, QStringLiteral("A")}, // a trailing escape shows nothing
        {{10, 13}, QStringLiteral("\n\r")},
    };
    for (const auto& c : cases)
        EXPECT_EQ(toText(c.septets), c.text) << c.text.toStdString();
}

TEST(Gsm7Text, SeptetWidthOfCharacters) {
    const struct {
        QChar c;
        int septets;
    } cases[] = {
        {u'A', 1},  {u'@', 1}, {u'£', 1},      {u'€', 2},      {u'{', 2},
        {u'\\', 2}, {u'`', 0}, {u'\u0105', 0}, {u'\u00E7', 0}, // ç is not in the table (only Ç is)
    };
    for (const auto& c : cases)
        EXPECT_EQ(septetsFor(c.c), c.septets) << QString(c.c).toStdString();
}

} // namespace
