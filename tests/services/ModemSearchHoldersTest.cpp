// What a search tells of ports other programs hold: each named with its holder and what to do,
// and for ModemManager the rule that frees exactly the modems it took.
#include "services/ModemSearch.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

ModemSearch::PortOutcome port(const QString& path, const QString& state, const QString& vendor,
                              std::optional<PortHolders::Holder> holder,
                              std::optional<PortHolders::Holder> suspect = std::nullopt) {
    ModemSearch::PortOutcome p;
    p.path = path;
    p.state = state;
    p.holders.holder = std::move(holder);
    p.holders.suspect = std::move(suspect);
    p.place.vendor = vendor;
    p.place.product = vendor.isEmpty() ? QString() : QStringLiteral("1001");
    return p;
}

TEST(ModemSearchHolders, HeldPortsAreToldWithWhatToDo) {
    const PortHolders::Holder mm{812, "ModemManager"};
    ModemSearch::Result result;
    result.ports = {port("/dev/ttyUSB0", ModemSearch::kPortHeld, "12d1", mm),
                    port("/dev/ttyUSB1", ModemSearch::kPortHeld, "", PortHolders::Holder{77, "minicom"}),
                    // Did not answer while a ModemManager we cannot look into runs: likely its.
                    port("/dev/ttyUSB2", ModemSearch::kPortSilent, "1e0e", std::nullopt, mm),
                    // Answered: whatever ran beside it, it is ours.
                    port("/dev/ttyUSB3", ModemSearch::kPortReady, "2c7c", std::nullopt, mm),
                    port("/dev/ttyUSB4", ModemSearch::kPortSilent, "", std::nullopt)};
    const QStringList alerts = result.alerts();
    ASSERT_EQ(alerts.size(), 3) << alerts.join('|').toStdString();
    EXPECT_TRUE(alerts.at(0).startsWith("\nThe device /dev/ttyUSB0 is held by ModemManager, pid 812. "));
    EXPECT_TRUE(alerts.at(0).contains("udev rule"));
    EXPECT_TRUE(alerts.at(1).contains("held by minicom, pid 77. Close minicom (or end it: kill 77)"));
    EXPECT_TRUE(alerts.at(2).contains("held by another program, likely ModemManager, pid 812"));

    const auto ids = result.takenByModemManager();
    ASSERT_EQ(ids.size(), 2);
    EXPECT_EQ(ids.at(0).first, "12d1");
    EXPECT_EQ(ids.at(1).first, "1e0e");

    QTemporaryDir dir;
    const QString file = dir.path() + "/77-bulksms-mm-ignore.rules";
    const QString advice = ModemSearch::modemManagerRuleAdvice(result, file);
    EXPECT_TRUE(advice.contains(file));
    EXPECT_TRUE(advice.contains("sudo udevadm control --reload"));
    EXPECT_TRUE(advice.contains("ATTRS{idVendor}==\"1e0e\""));
    EXPECT_FALSE(advice.contains("2c7c")) << "a modem we use needs no rule";
    EXPECT_TRUE(QFile::exists(file));

    // Nothing held by ModemManager: no advice, no file.
    ModemSearch::Result other;
    other.ports = {result.ports.at(1)};
    EXPECT_TRUE(ModemSearch::modemManagerRuleAdvice(other, dir.path() + "/other.rules").isEmpty());
    EXPECT_FALSE(QFile::exists(dir.path() + "/other.rules"));
}

} // namespace
