#include "ModemDiscovery.h"

#include "ModemPortGroups.h"
#include "core/Log.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <grp.h>
#include <libudev.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace ModemDiscovery {
namespace {

// Kernel drivers whose tty ports are modems or sit in front of one.
const QStringList kModemDrivers = {
    "cdc_acm", "option", "option1", "qcserial", "qcaux", "sierra", "usb_wwan", "hso", "nozomi", "moto_modem",
    // USB-serial adapters: GSM boards (SIM800 and the like) are usually attached through them.
    "ftdi_sio", "pl2303", "cp210x", "ch341", "ch341-uart"};

// Compares runs of digits by their value and everything else as text.
bool naturalLess(const QString& a, const QString& b) {
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a.at(i).isDigit() && b.at(j).isDigit()) {
            qsizetype ei = i, ej = j;
            while (ei < a.size() && a.at(ei).isDigit())
                ++ei;
            while (ej < b.size() && b.at(ej).isDigit())
                ++ej;
            const qulonglong na = a.mid(i, ei - i).toULongLong(), nb = b.mid(j, ej - j).toULongLong();
            if (na != nb)
                return na < nb;
            i = ei;
            j = ej;
        } else {
            if (a.at(i) != b.at(j))
                return a.at(i) < b.at(j);
            ++i;
            ++j;
        }
    }
    return a.size() - i < b.size() - j;
}

QString driverOf(const DeviceProperties& p) {
    const QString usbDriver = p.value("ID_USB_DRIVER");
    return usbDriver.isEmpty() ? p.value("DRIVER_OF_INTERFACE") : usbDriver;
}

} // namespace

bool isModemPort(const DeviceProperties& p) {
    if (p.value("SUBSYSTEM") != QLatin1String("tty") ||
        !p.value("DEVNAME").startsWith(QLatin1String("/dev/")))
        return false;
    // A port that is not an AT port (diagnostics, GPS) is never one. ID_MM_DEVICE_IGNORE is
    // different: it asks the system's modem manager to keep off the device, usually so that
    // a program like ours can have it; it says nothing against probing it.
    if (p.value("ID_MM_PORT_IGNORE") == QLatin1String("1"))
        return false;
    if (p.value("ID_MM_CANDIDATE") == QLatin1String("1"))
        return true;
    return p.value("ID_BUS") == QLatin1String("usb") && kModemDrivers.contains(driverOf(p));
}

QStringList modemPortsAmong(const QList<DeviceProperties>& devices) {
    QStringList paths;
    for (const DeviceProperties& device : devices)
        if (isModemPort(device))
            paths << device.value("DEVNAME");
    // Natural order: ttyACM2 before ttyACM10, and the same order on every search.
    std::sort(paths.begin(), paths.end(), naturalLess);
    paths.removeDuplicates();
    return paths;
}

QStringList extraModemPorts() {
    QStringList paths;
    for (const ModemPortGroups::Group& modem : ModemPortGroups::extraGroups())
        paths << modem.paths();
    return paths;
}

QStringList attachedExtraModemPorts() {
    QStringList paths;
    for (const QString& path : extraModemPorts())
        if (QFileInfo::exists(path)) // follows a link: a dangling one is no modem
            paths << path;
    return paths;
}

QString portName(const QString& path) {
    const QString devices = QStringLiteral("/dev/");
    return path.startsWith(devices) ? path.mid(devices.size()) : path.section(QLatin1Char('/'), -1);
}

bool lacksPermission(const QString& path) {
    return ::access(QFile::encodeName(path).constData(), R_OK | W_OK) != 0 && errno == EACCES;
}

QString groupOf(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return QString();
    group entry{};
    group* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getgrgid_r(st.st_gid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
        return QString();
    return QString::fromLocal8Bit(found->gr_name);
}

QString noPermissionMessage(const QStringList& paths) {
    if (paths.isEmpty())
        return QString();
    // The group each device belongs to, in the order first met; a device whose group cannot be
    // told is left to the usual serial group.
    QStringList groups;
    for (const QString& path : paths) {
        const QString group = groupOf(path);
        const QString named = group.isEmpty() ? QStringLiteral("dialout") : group;
        if (!groups.contains(named))
            groups << named;
    }
    QStringList commands;
    for (const QString& group : groups)
        commands << QStringLiteral("sudo usermod -aG %1 $USER").arg(group);
    return QStringLiteral("\nYou have no permission to use %1 %2. Add your user to the %3 %4 (%5), log out "
                          "and in again, then search again.")
        .arg(paths.size() == 1 ? QStringLiteral("the device") : QStringLiteral("the devices"),
             paths.join(QStringLiteral(", ")),
             groups.size() == 1 ? QStringLiteral("group") : QStringLiteral("groups"),
             QStringLiteral("\"%1\"").arg(groups.join(QStringLiteral("\", \""))),
             commands.join(QStringLiteral("; ")));
}

UsbPlace usbPlaceOf(const QString& path) {
    UsbPlace place;
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0 || !S_ISCHR(st.st_mode))
        return place;
    udev* context = udev_new();
    if (context == nullptr)
        return place;
    if (udev_device* device = udev_device_new_from_devnum(context, 'c', st.st_rdev)) {
        if (udev_device* usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device")) {
            const auto attribute = [&](const char* name) {
                const char* value = udev_device_get_sysattr_value(usb, name);
                return value ? QString::fromUtf8(value).trimmed() : QString();
            };
            place.vendor = attribute("idVendor");
            place.product = attribute("idProduct");
            if (const char* name = udev_device_get_sysname(usb))
                place.slot = QString::fromUtf8(name);
        }
        udev_device_unref(device);
    }
    udev_unref(context);
    return place;
}

QStringList modemPorts() {
    QStringList paths = registryModemPorts();
    for (const QString& extra : attachedExtraModemPorts())
        if (!paths.contains(extra))
            paths << extra;
    return paths;
}

QStringList registryModemPorts() {
    QList<DeviceProperties> devices;
    if (udev* context = udev_new()) {
        udev_enumerate* enumerate = udev_enumerate_new(context);
        udev_enumerate_add_match_subsystem(enumerate, "tty");
        udev_enumerate_scan_devices(enumerate);
        udev_list_entry* entry = nullptr;
        udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerate)) {
            udev_device* device = udev_device_new_from_syspath(context, udev_list_entry_get_name(entry));
            if (device == nullptr)
                continue;
            DeviceProperties properties;
            udev_list_entry* property = nullptr;
            udev_list_entry_foreach(property, udev_device_get_properties_list_entry(device)) {
                properties.insert(QString::fromUtf8(udev_list_entry_get_name(property)),
                                  QString::fromUtf8(udev_list_entry_get_value(property)));
            }
            // Without udev's USB database the interface's driver still tells what the port is.
            if (udev_device* interface =
                    udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_interface"))
                if (const char* driver = udev_device_get_driver(interface)) {
                    properties.insert("DRIVER_OF_INTERFACE", QString::fromUtf8(driver));
                    properties.insert("ID_BUS", "usb");
                }
            devices << properties;
            udev_device_unref(device);
        }
        udev_enumerate_unref(enumerate);
        udev_unref(context);
    }
    return modemPortsAmong(devices);
}

} // namespace ModemDiscovery

int FindModems(ModemIterator& iterator) {
    iterator.paths = ModemDiscovery::modemPorts();
    return 0;
}
