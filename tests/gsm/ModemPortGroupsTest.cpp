// Grouping tty ports by their USB device, on sysfs trees kept as data (tests/gsm/data).
#include "gsm/ModemPortGroups.h"
#include "gsm/ModemDiscovery.h"

#include "QStringPrinting.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <gtest/gtest.h>

namespace {

using ModemPortGroups::Group;

// Builds the tree a fixture describes under <dir>/sys ("file <path> <value>", "link <path>
// <target>"); its root, or "" when the fixture could not be built.
QString buildTree(const QTemporaryDir& dir, const QString& fixture) {
    QFile file(QStringLiteral(BULKSMS_GSM_TEST_DATA "/") + fixture);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    const QString root = dir.path() + QStringLiteral("/sys");
    QDir().mkpath(root);
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QString line = in.readLine();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const QString kind = line.section(QLatin1Char(' '), 0, 0);
        const QString path = root + QLatin1Char('/') + line.section(QLatin1Char(' '), 1, 1);
        const QString value = line.section(QLatin1Char(' '), 2);
        QDir().mkpath(QFileInfo(path).path());
        if (kind == QLatin1String("file")) {
            QFile out(path);
            if (!out.open(QIODevice::WriteOnly) || out.write(value.toUtf8() + '\n') < 0)
                return {};
        } else if (kind != QLatin1String("link") || !QFile::link(value, path)) {
            return {};
        }
    }
    return root;
}

struct Expected {
    QString slot;
    QStringList ports; // in the order they are tried
};

std::vector<Expected> shape(const QList<Group>& groups) {
    std::vector<Expected> out;
    for (const Group& g : groups)
        out.push_back({g.slot, g.paths()});
    return out;
}

bool operator==(const Expected& a, const Expected& b) { return a.slot == b.slot && a.ports == b.ports; }
void PrintTo(const Expected& e, std::ostream* os) {
    *os << '{' << e.slot.toStdString() << ": " << e.ports.join(QLatin1Char(' ')).toStdString() << '}';
}

QStringList devs(const char* prefix, int from, int to) {
    QStringList out;
    for (int i = from; i <= to; ++i)
        out << QStringLiteral("/dev/%1%2").arg(QLatin1String(prefix)).arg(i);
    return out;
}

TEST(ModemPortGroups, EachUsbModemIsOneGroupWithItsLikelyAtPortFirst) {
    struct Row {
        const char* fixture;
        QStringList paths; // as discovery lists them
        std::vector<Expected> groups;
    };
    // SIM7600 modules: AT (2) then modem (3), then diagnostics, NMEA and audio.
    const auto bankModule = [](const char* slot, int first) {
        return Expected{
            QLatin1String(slot),
            {QStringLiteral("/dev/ttyUSB%1").arg(first + 2), QStringLiteral("/dev/ttyUSB%1").arg(first + 3),
             QStringLiteral("/dev/ttyUSB%1").arg(first), QStringLiteral("/dev/ttyUSB%1").arg(first + 1),
             QStringLiteral("/dev/ttyUSB%1").arg(first + 4)}};
    };
    const Row rows[] = {
        {"sysfs-huawei-e173.txt",
         devs("ttyUSB", 0, 2),
         {{"2-1", {"/dev/ttyUSB2", "/dev/ttyUSB0", "/dev/ttyUSB1"}}}},
        {"sysfs-quectel-ec25.txt",
         devs("ttyUSB", 0, 3),
         {{"1-1.3", {"/dev/ttyUSB2", "/dev/ttyUSB3", "/dev/ttyUSB0", "/dev/ttyUSB1"}}}},
        {"sysfs-bank-8.txt",
         devs("ttyUSB", 0, 39),
         {bankModule("1-2.1", 0), bankModule("1-2.2", 5), bankModule("1-2.3", 10), bankModule("1-2.4", 15),
          bankModule("1-2.5.1", 20), bankModule("1-2.5.2", 25), bankModule("1-2.5.3", 30),
          bankModule("1-2.5.4", 35)}},
        // Unknown modules: by interface number; a garbled number last; ports outside sysfs
        // (a link out of the tree, a pseudo-terminal) each alone and without a slot.
        {"sysfs-acm.txt",
         {"/dev/ttyACM0", "/dev/ttyACM1", "/dev/ttyACM2", "/dev/ttyACM3", "/dev/ttyUSB9", "/dev/pts/4"},
         {{"1-4", {"/dev/ttyACM0", "/dev/ttyACM1"}},
          {"1-5", {"/dev/ttyACM2"}},
          {"1-6", {"/dev/ttyACM3"}},
          {"", {"/dev/ttyUSB9"}},
          {"", {"/dev/pts/4"}}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fixture);
        QTemporaryDir dir;
        const QString root = buildTree(dir, QLatin1String(row.fixture));
        ASSERT_FALSE(root.isEmpty());
        EXPECT_EQ(shape(ModemPortGroups::groupsOf(row.paths, root)), row.groups);
        // The order of discovery does not change which ports are one modem, nor their order.
        QStringList reversed = row.paths;
        std::reverse(reversed.begin(), reversed.end());
        std::vector<Expected> regrouped = shape(ModemPortGroups::groupsOf(reversed, root));
        std::reverse(regrouped.begin(), regrouped.end());
        EXPECT_EQ(regrouped, row.groups);
    }
}

TEST(ModemPortGroups, APortsPlaceTellsTheModemAndStaysInsideTheTree) {
    QTemporaryDir dir;
    const QString root = buildTree(dir, QStringLiteral("sysfs-bank-8.txt"));
    ASSERT_FALSE(root.isEmpty());
    const auto place = ModemPortGroups::usbPlaceOf(root, QStringLiteral("ttyUSB37"));
    ASSERT_TRUE(place.has_value());
    EXPECT_EQ(place->slot, "1-2.5.4");
    EXPECT_EQ(place->vendorId, "1e0e");
    EXPECT_EQ(place->productId, "9001");
    EXPECT_EQ(place->manufacturer, "SimTech, Incorporated");
    EXPECT_EQ(place->serial, "0123456789AB7");
    EXPECT_EQ(place->interfaceNumber, 2);

    QTemporaryDir acm;
    const QString acmRoot = buildTree(acm, QStringLiteral("sysfs-acm.txt"));
    ASSERT_FALSE(acmRoot.isEmpty());
    EXPECT_EQ(ModemPortGroups::usbPlaceOf(acmRoot, QStringLiteral("ttyACM1"))->interfaceNumber, 2);
    EXPECT_EQ(ModemPortGroups::usbPlaceOf(acmRoot, QStringLiteral("ttyACM3"))->interfaceNumber, -1);
    for (const char* name : {"ttyUSB9", "../tty/ttyACM0", "pts/4", "ttyACM0/../ttyACM1", "ttyUSB77", ""}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(ModemPortGroups::usbPlaceOf(acmRoot, QLatin1String(name)).has_value());
    }
    EXPECT_FALSE(ModemPortGroups::usbPlaceOf(dir.path() + "/nothing", QStringLiteral("ttyUSB0")).has_value());
}

TEST(ModemPortGroups, VirtualModemsAreGroupedAsNamedInTheEnvironment) {
    qputenv("BULKSMS_EXTRA_MODEMS", "1-9.1=/dev/pts/5,/dev/pts/3:/dev/pts/7::9-9=:/dev/pts/3,/dev/pts/8");
    const QList<Group> extras = ModemPortGroups::extraGroups();
    ASSERT_EQ(extras.size(), 3);
    EXPECT_EQ(extras.at(0).slot, "1-9.1");
    EXPECT_EQ(extras.at(0).paths(), (QStringList{"/dev/pts/5", "/dev/pts/3"}));
    EXPECT_EQ(extras.at(2).paths(), QStringList{"/dev/pts/8"}); // a port names one modem only
    EXPECT_EQ(ModemDiscovery::extraModemPorts(),
              (QStringList{"/dev/pts/5", "/dev/pts/3", "/dev/pts/7", "/dev/pts/8"}));
    // Discovery order picks the group's place; the group keeps the order it was named in.
    const QList<Group> groups =
        ModemPortGroups::groupsOf({"/dev/pts/7", "/dev/pts/3", "/dev/pts/5"}, QStringLiteral("/nonexistent"));
    EXPECT_EQ(shape(groups),
              (std::vector<Expected>{{"", {"/dev/pts/7"}}, {"1-9.1", {"/dev/pts/5", "/dev/pts/3"}}}));
    qunsetenv("BULKSMS_EXTRA_MODEMS");
}

} // namespace
