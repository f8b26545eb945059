#pragma once
// Which tty ports belong to one modem. A USB modem shows several ports (diagnostics, GPS, AT,
// the data port); a modem bank shows one USB device per module behind its hubs. The ports are
// grouped by their USB device, read from sysfs (a root given, "/sys" on a running system):
// the device's place on the bus (its slot, "1-1.4"), its identity, and each port's interface
// number. Known modules' AT interfaces are tried first; the probe still decides.
// Virtual modems say which ports are one modem in BULKSMS_EXTRA_MODEMS: an entry
// "[slot=]path[,path...]" is one modem, entries are separated by ':'.
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace ModemPortGroups {

struct Port {
    QString path;
    int interfaceNumber = -1; // bInterfaceNumber; -1 unknown
};

struct Group {
    QString slot; // the USB device's name on its bus ("1-1.4"); "" when not a known USB device
    QString vendorId, productId, manufacturer, product, serial; // as the device reports them
    QList<Port> ports;                                          // the likely AT port first
    QStringList paths() const;
};

// Where a port sits on the USB bus, read from sysfs.
struct UsbPlace {
    QString slot, vendorId, productId, manufacturer, product, serial;
    int interfaceNumber = -1;
    QString devicePath; // the USB device's directory: what ports of one device share
};

// The USB place of a tty port by its name ("ttyUSB2"), under sysRoot; nothing when the name is
// not a plain tty name, the port is not in sysfs, not on USB, or leads out of sysRoot/devices.
std::optional<UsbPlace> usbPlaceOf(const QString& sysRoot, const QString& ttyName);

// The AT interfaces of a known module by vendor and product ("2c7c", "0125"), most likely first.
QList<int> knownAtInterfaces(const QString& vendorId, const QString& productId);

// The modems of BULKSMS_EXTRA_MODEMS, in their order; a path named twice counts once.
QList<Group> extraGroups();

// The paths grouped, in the order of each group's first path: extra groups as named, the USB
// ports by their device, any other port alone.
QList<Group> groupsOf(const QStringList& paths, const QString& sysRoot = QStringLiteral("/sys"));

} // namespace ModemPortGroups
