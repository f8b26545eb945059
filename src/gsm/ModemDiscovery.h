#pragma once
// Which serial devices are modems. On Linux the device registry is udev: tty devices of USB
// modems (CDC-ACM, the usb-serial modem drivers, and USB-serial adapters that GSM boards
// commonly sit behind), in a stable order, followed by the paths named in
// BULKSMS_EXTRA_MODEMS (colon-separated; how virtual modems are attached; see ModemPortGroups.h).
#include <QMap>
#include <QString>
#include <QStringList>

namespace ModemDiscovery {

using DeviceProperties = QMap<QString, QString>; // udev properties of one tty device

// Whether a tty device with these properties is a modem port worth probing.
bool isModemPort(const DeviceProperties& properties);

// Device paths of the modem ports now attached, registry order then the extra paths that exist.
QStringList modemPorts();

// The registry's part of modemPorts().
QStringList registryModemPorts();

// The same choice over a given set of devices (what the registry reported), sorted by path.
QStringList modemPortsAmong(const QList<DeviceProperties>& devices);

// The paths of BULKSMS_EXTRA_MODEMS, each once (ModemPortGroups reads which are one modem).
QStringList extraModemPorts();

// Those of them that exist now: a virtual modem's path (often a link to its pseudo-terminal)
// may be named before the modem starts and outlive it; until then and after, it is no modem.
QStringList attachedExtraModemPorts();

// The port's name as a person reads it: the device path below /dev ("ttyUSB0", "pts/3").
QString portName(const QString& path);

// True when this user may not open the device for reading and writing.
bool lacksPermission(const QString& path);

// The group that owns the device node ("dialout" on most systems, "uucp" on some); "" when the
// node or its group cannot be found.
QString groupOf(const QString& path);

// The one message for devices the user may not open, naming them, the group each belongs to
// and the way in; "" for none.
QString noPermissionMessage(const QStringList& paths);

// Where a port sits on the USB: its device's ids ("12d1", "1001") and its slot (the USB path,
// "1-1.2"), from udev; empty where the port is no USB device's (a pseudo-terminal).
struct UsbPlace {
    QString vendor;
    QString product;
    QString slot;
};
UsbPlace usbPlaceOf(const QString& path);

} // namespace ModemDiscovery

// The restartable sequence the device search walks: FindModems fills it, the search reads
// it twice (count, then probe).
struct ModemIterator {
    QStringList paths;
};

// 0 on success; logs "IOServiceGetMatchingServices returned %d\n" on failure.
int FindModems(ModemIterator& iterator);
