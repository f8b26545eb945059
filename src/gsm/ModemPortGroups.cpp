#include "ModemPortGroups.h"

#include "ModemDiscovery.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace ModemPortGroups {
namespace {

// Modules whose AT interfaces are known, the likeliest first. A first guess only: firmware
// and USB compositions vary, so every port of the modem is still probed.
struct KnownModule {
    const char* vendorId;
    const char* productId;
    QList<int> atInterfaces;
};
const KnownModule kKnownModules[] = {
    // Quectel WCDMA&LTE Linux USB Driver User Guide V1.7 (2017-05-24), "USB interfaces":
    // interface 0 DM, 1 GPS NMEA, 2 AT commands, 3 modem (PPP, also takes AT commands).
    {"2c7c", "0125", {2, 3}}, // EC25
    {"2c7c", "0121", {2, 3}}, // EC21
    {"2c7c", "0191", {2, 3}}, // EG91
    {"2c7c", "0195", {2, 3}}, // EG95
    {"2c7c", "0296", {2, 3}}, // BG96
    {"05c6", "9215", {2, 3}}, // EC20 (Qualcomm's identifiers)
    // SIMCom SIM7500/SIM7600 series Linux USB user guide, port table: interface 0 diagnostics,
    // 1 NMEA, 2 AT port, 3 modem (PPP), 4 audio.
    {"1e0e", "9001", {2, 3}}, // SIM7600
    // Huawei MU609 Application Guide, Issue 02 (2013-09-18), 1.3.1 "Port sequence on Linux":
    // the MODEM port (interface 0) takes AT commands and data, the PCUI port (interface 2) AT
    // commands only, interface 1 is DIAG. The sticks in modem mode share the layout.
    {"12d1", "1001", {2, 0}}, // E169 and sticks of its family
    {"12d1", "1436", {2, 0}}, // E173
    {"12d1", "1506", {2, 0}}, // E3131 (serial composition)
};

// A sysfs attribute, trimmed; "" when missing or not a plain file. sysfs values are short:
// more than a line is not an attribute.
QString attribute(const QString& directory, const char* name) {
    const QByteArray path = QFile::encodeName(directory + QLatin1Char('/') + QLatin1String(name));
    const int fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return QString();
    char buffer[256];
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    ::close(fd);
    if (n <= 0)
        return QString();
    QString text = QString::fromUtf8(buffer, n).trimmed();
    text.removeIf([](QChar c) { return !c.isPrint(); });
    return text.left(128);
}

bool hasAttribute(const QString& directory, const char* name) {
    return QFileInfo(directory + QLatin1Char('/') + QLatin1String(name)).isFile();
}

bool plainTtyName(const QString& name) {
    static const QRegularExpression plain(QStringLiteral("^tty[A-Za-z]*[0-9]+$"));
    return plain.match(name).hasMatch();
}

// Ports of a USB device: the known AT interfaces first, then by interface number, unknown
// numbers last; the discovery order (already natural) breaks ties.
void orderPorts(Group& group) {
    const QList<int> likely = knownAtInterfaces(group.vendorId, group.productId);
    const auto rank = [&](const Port& p) {
        const qsizetype known = likely.indexOf(p.interfaceNumber);
        if (known >= 0)
            return int(known);
        return p.interfaceNumber < 0 ? 1000 : 100 + p.interfaceNumber;
    };
    std::stable_sort(group.ports.begin(), group.ports.end(),
                     [&](const Port& a, const Port& b) { return rank(a) < rank(b); });
}

} // namespace

QStringList Group::paths() const {
    QStringList out;
    for (const Port& p : ports)
        out << p.path;
    return out;
}

std::optional<UsbPlace> usbPlaceOf(const QString& sysRoot, const QString& ttyName) {
    if (!plainTtyName(ttyName))
        return std::nullopt;
    const QString root = QFileInfo(sysRoot).canonicalFilePath();
    if (root.isEmpty())
        return std::nullopt;
    const QString devices = root + QStringLiteral("/devices");
    // /sys/class/tty/<name> links to the tty's directory below /sys/devices.
    QString directory = QFileInfo(root + QStringLiteral("/class/tty/") + ttyName).canonicalFilePath();
    if (!directory.startsWith(devices + QLatin1Char('/')))
        return std::nullopt;
    UsbPlace place;
    // Upwards: the interface (bInterfaceNumber), then the USB device (idVendor, idProduct).
    for (int depth = 0; depth < 64; ++depth) {
        directory = QFileInfo(directory).path();
        if (!directory.startsWith(devices + QLatin1Char('/')))
            return std::nullopt;
        if (place.interfaceNumber < 0 && hasAttribute(directory, "bInterfaceNumber")) {
            bool ok = false;
            const int number = attribute(directory, "bInterfaceNumber").toInt(&ok, 16);
            place.interfaceNumber = ok && number >= 0 && number < 256 ? number : -1;
            continue;
        }
        if (hasAttribute(directory, "idVendor") && hasAttribute(directory, "idProduct")) {
            place.slot = QFileInfo(directory).fileName();
            place.vendorId = attribute(directory, "idVendor").toLower();
            place.productId = attribute(directory, "idProduct").toLower();
            place.manufacturer = attribute(directory, "manufacturer");
            place.product = attribute(directory, "product");
            place.serial = attribute(directory, "serial");
            place.devicePath = directory;
            return place;
        }
    }
    return std::nullopt;
}

QList<int> knownAtInterfaces(const QString& vendorId, const QString& productId) {
    for (const KnownModule& m : kKnownModules)
        if (vendorId.compare(QLatin1String(m.vendorId), Qt::CaseInsensitive) == 0 &&
            productId.compare(QLatin1String(m.productId), Qt::CaseInsensitive) == 0)
            return m.atInterfaces;
    return {};
}

QList<Group> extraGroups() {
    QList<Group> groups;
    QSet<QString> seen;
    for (const QString& entry :
         qEnvironmentVariable("BULKSMS_EXTRA_MODEMS").split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        Group group;
        QString paths = entry;
        if (const qsizetype equals = entry.indexOf(QLatin1Char('=')); equals > 0) {
            group.slot = entry.left(equals).trimmed();
            paths = entry.mid(equals + 1);
        }
        for (const QString& raw : paths.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const QString path = raw.trimmed();
            if (path.isEmpty() || seen.contains(path))
                continue;
            seen.insert(path);
            group.ports << Port{path, -1};
        }
        if (!group.ports.isEmpty())
            groups << group;
    }
    return groups;
}

QList<Group> groupsOf(const QStringList& paths, const QString& sysRoot) {
    const QList<Group> extras = extraGroups();
    QHash<QString, int> extraOf; // path -> index in extras
    for (int i = 0; i < int(extras.size()); ++i)
        for (const Port& p : extras.at(i).ports)
            extraOf.insert(p.path, i);

    QList<Group> groups;
    QHash<QString, int> groupOf; // a modem's key -> index in groups
    QSet<QString> listed;
    for (const QString& path : paths) {
        if (listed.contains(path))
            continue;
        listed.insert(path);
        QString key;
        Group fresh;
        Port port{path, -1};
        if (const auto extra = extraOf.constFind(path); extra != extraOf.cend()) {
            key = QStringLiteral("extra:%1").arg(*extra);
            fresh.slot = extras.at(*extra).slot;
        } else if (const auto place = usbPlaceOf(sysRoot, ModemDiscovery::portName(path))) {
            key = QStringLiteral("usb:") + place->devicePath;
            fresh.slot = place->slot;
            fresh.vendorId = place->vendorId;
            fresh.productId = place->productId;
            fresh.manufacturer = place->manufacturer;
            fresh.product = place->product;
            fresh.serial = place->serial;
            port.interfaceNumber = place->interfaceNumber;
        } else {
            groups << fresh;
            groups.last().ports << port;
            continue;
        }
        auto at = groupOf.constFind(key);
        if (at == groupOf.cend()) {
            groups << fresh;
            at = groupOf.insert(key, int(groups.size()) - 1);
        }
        groups[*at].ports << port;
    }
    // Extra groups keep the order they were named in; USB ones try the likely AT port first.
    for (Group& group : groups) {
        if (!group.vendorId.isEmpty()) {
            orderPorts(group);
            continue;
        }
        const auto extra = extraOf.constFind(group.ports.constFirst().path);
        if (extra == extraOf.cend() || group.ports.size() < 2)
            continue;
        const QStringList named = extras.at(*extra).paths();
        std::stable_sort(group.ports.begin(), group.ports.end(), [&](const Port& a, const Port& b) {
            return named.indexOf(a.path) < named.indexOf(b.path);
        });
    }
    return groups;
}

} // namespace ModemPortGroups
