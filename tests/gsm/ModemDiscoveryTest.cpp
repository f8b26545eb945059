// Which tty devices count as modem ports, on property sets as udev reports them.
#include "gsm/ModemDiscovery.h"

#include <QTemporaryFile>

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using ModemDiscovery::DeviceProperties;

DeviceProperties tty(const char* devname, const char* driver,
                     std::initializer_list<std::pair<QString, QString>> extra = {}) {
    DeviceProperties p{{"SUBSYSTEM", "tty"}, {"DEVNAME", devname}};
    if (driver != nullptr) {
        p.insert("ID_BUS", "usb");
        p.insert("ID_USB_DRIVER", driver);
    }
    for (const auto& [k, v] : extra)
        p.insert(k, v);
    return p;
}

TEST(ModemDiscovery, RecordedDevicesAreSortedIntoModemsAndOthers) {
    const QList<DeviceProperties> recorded = {
        tty("/dev/ttyS0", nullptr),                                  // a motherboard serial port
        tty("/dev/ttyUSB2", "option"),                               // 3G stick, AT port
        tty("/dev/ttyUSB0", "option", {{"ID_MM_PORT_IGNORE", "1"}}), // its diagnostics port
        tty("/dev/ttyACM10", "cdc_acm"),
        tty("/dev/ttyACM2", "cdc_acm"),
        tty("/dev/ttyUSB5", "qcserial"),
        tty("/dev/ttyUSB7", "ch341"), // GSM board behind a USB-serial bridge
        tty("/dev/ttyUSB9", "usbserial_generic_unknown"),
        tty("/dev/tty1", nullptr),                                // a console
        tty("/dev/ttyAMA0", nullptr, {{"ID_MM_CANDIDATE", "1"}}), // tagged by the modem rules
        {{"SUBSYSTEM", "net"}, {"DEVNAME", "/dev/wwan0"}, {"ID_USB_DRIVER", "qmi_wwan"}, {"ID_BUS", "usb"}},
        {{"SUBSYSTEM", "tty"}, {"ID_USB_DRIVER", "option"}, {"ID_BUS", "usb"}}, // no device node
    };
    EXPECT_EQ(ModemDiscovery::modemPortsAmong(recorded),
              (QStringList{"/dev/ttyACM2", "/dev/ttyACM10", "/dev/ttyAMA0", "/dev/ttyUSB2", "/dev/ttyUSB5",
                           "/dev/ttyUSB7"}));
}

TEST(ModemDiscovery, DriverOfTheInterfaceStandsInForTheDatabase) {
    EXPECT_TRUE(ModemDiscovery::isModemPort({{"SUBSYSTEM", "tty"},
                                             {"DEVNAME", "/dev/ttyACM0"},
                                             {"ID_BUS", "usb"},
                                             {"DRIVER_OF_INTERFACE", "cdc_acm"}}));
}

TEST(ModemDiscovery, DevicesKeptFromTheModemManagerAreStillOurs) {
    // The usual udev rule for a modem reserved for one program tags the whole device.
    EXPECT_TRUE(ModemDiscovery::isModemPort(tty("/dev/ttyUSB3", "ch341", {{"ID_MM_DEVICE_IGNORE", "1"}})));
    EXPECT_TRUE(ModemDiscovery::isModemPort({{"SUBSYSTEM", "tty"},
                                             {"DEVNAME", "/dev/ttyACM0"},
                                             {"ID_MM_DEVICE_IGNORE", "1"},
                                             {"ID_MM_CANDIDATE", "1"}}));
    // A port that is not an AT port stays out, reserved or not.
    EXPECT_FALSE(ModemDiscovery::isModemPort(
        tty("/dev/ttyUSB4", "option", {{"ID_MM_DEVICE_IGNORE", "1"}, {"ID_MM_PORT_IGNORE", "1"}})));
}

// Extra paths follow the registry once each; one that does not exist (not yet, or no longer:
// a link left pointing nowhere) is no modem, and no search should list it as one that failed.
TEST(ModemDiscovery, ExtraPathsFollowTheRegistryOnceWhileTheyExist) {
    QTemporaryDir dir;
    const QString first = dir.filePath("first"), second = dir.filePath("second");
    const QString missing = dir.filePath("missing"), dangling = dir.filePath("dangling");
    QFile(first).open(QIODevice::WriteOnly);
    QFile(second).open(QIODevice::WriteOnly);
    ASSERT_TRUE(QFile::link(missing, dangling));
    qputenv("BULKSMS_EXTRA_MODEMS",
            QStringLiteral("%1::%3:%2:%4:%1").arg(first, second, missing, dangling).toUtf8());
    EXPECT_EQ(ModemDiscovery::extraModemPorts(), (QStringList{first, missing, second, dangling}));
    EXPECT_EQ(ModemDiscovery::attachedExtraModemPorts(), (QStringList{first, second}));
    ModemIterator iterator;
    EXPECT_EQ(FindModems(iterator), 0);
    EXPECT_EQ(iterator.paths.mid(iterator.paths.size() - 2), (QStringList{first, second}));
    EXPECT_FALSE(iterator.paths.contains(missing) || iterator.paths.contains(dangling));
    qunsetenv("BULKSMS_EXTRA_MODEMS");
}

TEST(ModemDiscovery, PortNamesArePathsBelowDev) {
    EXPECT_EQ(ModemDiscovery::portName("/dev/ttyUSB0"), "ttyUSB0");
    EXPECT_EQ(ModemDiscovery::portName("/dev/pts/3"), "pts/3");
    EXPECT_EQ(ModemDiscovery::portName("/dev/serial/by-id/usb-Huawei-if00"), "serial/by-id/usb-Huawei-if00");
    EXPECT_EQ(ModemDiscovery::portName("/tmp/modem"), "modem");
}

TEST(ModemDiscovery, DevicesTheUserMayNotOpenAreNamedInOneMessage) {
    EXPECT_TRUE(ModemDiscovery::noPermissionMessage({}).isEmpty());
    // Devices whose group cannot be told (absent here) are left to the usual serial group.
    EXPECT_EQ(
        ModemDiscovery::noPermissionMessage({"/dev/no-such-usb0", "/dev/no-such-acm1"}),
        "\nYou have no permission to use the devices /dev/no-such-usb0, /dev/no-such-acm1. Add your user "
        "to the group \"dialout\" (sudo usermod -aG dialout $USER), log out and in again, then search "
        "again.");
    EXPECT_FALSE(ModemDiscovery::lacksPermission("/dev/null"));
    EXPECT_FALSE(ModemDiscovery::lacksPermission("/dev/no-such-modem")); // missing is not forbidden
    QTemporaryFile locked;
    ASSERT_TRUE(locked.open());
    locked.setPermissions(QFileDevice::ReadOwner);
    EXPECT_EQ(ModemDiscovery::lacksPermission(locked.fileName()), ::geteuid() != 0); // root may open anything
}

} // namespace
