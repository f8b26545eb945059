#include "ModemHotplug.h"

#include "ModemDiscovery.h"
#include "core/Clock.h"
#include "core/Log.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <algorithm>
#include <libudev.h>
#include <limits>

namespace {

// USB ids of sticks still in their storage (CD-ROM) mode, which carries the maker's Windows
// installer; the modem's own ports appear only once the stick is switched. As users report
// them with their lsusb and kernel log:
struct StorageModeId {
    const char* vendorId;
    const char* productId;
    const char* maker;
};
const StorageModeId kStorageModeIds[] = {
    // E1552/E1800/E270+ (knilluz.buurnet.nl/?p=1327; draisberghof.de usb_modeswitch forum t=2171)
    {"12d1", "1446", "Huawei"},
    // E173s (linuxquestions.org "How to switch modem E173s by usb_modeswitch", 2021)
    {"12d1", "1c0b", "Huawei"},
    // E3131/E353/E398 families (draisberghof.de usb_modeswitch forum, device reports)
    {"12d1", "14fe", "Huawei"},
    {"12d1", "1505", "Huawei"},
    {"12d1", "1f01", "Huawei"},
    // "ZeroCD" sticks (networkmanager-list, 2009-09, "setting up ZTE CDMA ... idProduct 0x2000")
    {"19d2", "2000", "ZTE"},
    // MF190 (forums.gentoo.org "usb_modeswitch errors with ZTE MF190": 19d2:0083 before the switch)
    {"19d2", "0083", "ZTE"},
    // MF680 (draisberghof.de usb_modeswitch forum t=1431: 19d2:0150 switches to 19d2:0124)
    {"19d2", "0150", "ZTE"},
    // AC2726 (jfdesignnet.com/?p=414: a CD-ROM "ZTE USB Storage" as 19d2:fff5)
    {"19d2", "fff5", "ZTE"},
    // Sierra Wireless TRU-Install, Alcatel/TCT one-touch sticks (usb_modeswitch forum reports)
    {"1199", "0fff", "Sierra Wireless"},
    {"1bbb", "f000", "Alcatel"},
};

// Where the mode switcher of usb-modeswitch lives once its package is installed.
const char* const kSwitcher = "/usr/sbin/usb_modeswitch";

// A prescribed duration as milliseconds of a QTimer on the scaled clock, at least `floorMs`.
int scaledMs(int prescribedMs, int floorMs = 1) {
    const auto real = Clock::scaled(Clock::Duration(prescribedMs));
    return std::max(floorMs, int((real.count() + 999) / 1000));
}

// What identifies a modem from one scan to the next while its ports come and go.
QString keyOf(const ModemPortGroups::Group& modem) {
    return modem.slot.isEmpty() ? QStringLiteral("port:") + modem.ports.constFirst().path
                                : QStringLiteral("slot:") + modem.slot;
}

QString sysattr(udev_device* device, const char* name) {
    const char* value = udev_device_get_sysattr_value(device, name);
    return value ? QString::fromUtf8(value).trimmed().toLower().left(8) : QString();
}

} // namespace

ModemHotplug::ModemHotplug(QObject* parent) : QObject(parent) {
    qRegisterMetaType<ModemPortGroups::Group>();
    m_settle.setSingleShot(true);
    connect(&m_settle, &QTimer::timeout, this, [this] { rescan(true); });
    connect(&m_extraPoll, &QTimer::timeout, this, [this] { rescan(false); });
}

ModemHotplug::~ModemHotplug() {
    delete m_notifier;
    if (m_monitor)
        udev_monitor_unref(m_monitor);
    if (m_udev)
        udev_unref(m_udev);
}

QString ModemHotplug::storageModeMaker(const QString& vendorId, const QString& productId) {
    for (const StorageModeId& id : kStorageModeIds)
        if (vendorId.compare(QLatin1String(id.vendorId), Qt::CaseInsensitive) == 0 &&
            productId.compare(QLatin1String(id.productId), Qt::CaseInsensitive) == 0)
            return QString::fromLatin1(id.maker);
    return QString();
}

QString ModemHotplug::storageModeMessage(const QString& vendorId, const QString& productId) {
    const QString maker = storageModeMaker(vendorId, productId);
    if (maker.isEmpty())
        return QString();
    const QString stick = QStringLiteral("%1:%2 (%3)").arg(vendorId.toLower(), productId.toLower(), maker);
    if (QFileInfo(QLatin1String(kSwitcher)).isFile())
        return QStringLiteral("The USB stick %1 still shows itself as a disk although usb-modeswitch is "
                              "installed: plug it in again; if it stays a disk, update the list of sticks "
                              "it knows (sudo apt install usb-modeswitch-data).")
            .arg(stick);
    return QStringLiteral("The USB stick %1 shows itself as a disk: install usb-modeswitch (sudo apt "
                          "install usb-modeswitch), then plug it in again.")
        .arg(stick);
}

void ModemHotplug::start() {
    if (m_started)
        return;
    m_started = true;
    openMonitor();
    m_registryPorts = ModemDiscovery::registryModemPorts();
    // The baseline: what is attached now is known, not plugged.
    for (const ModemPortGroups::Group& modem : ModemPortGroups::groupsOf(currentPorts()))
        m_known.insert(keyOf(modem), modem);
    // A stick left in its storage mode before the window opened is told too.
    if (m_udev) {
        udev_enumerate* enumerate = udev_enumerate_new(m_udev);
        udev_enumerate_add_match_subsystem(enumerate, "usb");
        udev_enumerate_add_match_property(enumerate, "DEVTYPE", "usb_device");
        udev_enumerate_scan_devices(enumerate);
        udev_list_entry* entry = nullptr;
        udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerate)) {
            if (udev_device* device = udev_device_new_from_syspath(m_udev, udev_list_entry_get_name(entry))) {
                checkUsbDevice(sysattr(device, "idVendor"), sysattr(device, "idProduct"), false);
                udev_device_unref(device);
            }
        }
        udev_enumerate_unref(enumerate);
    }
    if (qEnvironmentVariableIsSet("BULKSMS_EXTRA_MODEMS")) {
        // Virtual modems raise no device events: look for their paths now and then.
        m_extraPoll.start(scaledMs(kExtraPollMs, 50));
    }
}

void ModemHotplug::openMonitor() {
    m_udev = udev_new();
    if (m_udev == nullptr) {
        Show_NSLog_Message(QStringLiteral("Device events: the device registry cannot be opened"));
        return;
    }
    // Without a udev daemon nobody relays the events: the kernel's own are the ones to follow
    // (the device nodes may then lag behind, which the settle time covers).
    const char* source = QFileInfo(QStringLiteral("/run/udev/control")).exists() ? "udev" : "kernel";
    m_monitor = udev_monitor_new_from_netlink(m_udev, source);
    if (m_monitor == nullptr) {
        Show_NSLog_Message(QStringLiteral("Device events: no %1 monitor").arg(QLatin1String(source)));
        return;
    }
    udev_monitor_filter_add_match_subsystem_devtype(m_monitor, "tty", nullptr);
    udev_monitor_filter_add_match_subsystem_devtype(m_monitor, "usb", "usb_device");
    if (udev_monitor_enable_receiving(m_monitor) < 0) {
        Show_NSLog_Message(
            QStringLiteral("Device events: the %1 monitor cannot receive").arg(QLatin1String(source)));
        udev_monitor_unref(m_monitor);
        m_monitor = nullptr;
        return;
    }
    m_notifier = new QSocketNotifier(udev_monitor_get_fd(m_monitor), QSocketNotifier::Read);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readEvents(); });
}

void ModemHotplug::readEvents() {
    bool ttyChanged = false;
    // Every event waiting is taken, so the notifier does not fire for each of a burst.
    while (udev_device* device = udev_monitor_receive_device(m_monitor)) {
        const QString subsystem = QString::fromUtf8(udev_device_get_subsystem(device));
        const char* action = udev_device_get_action(device);
        if (subsystem == QLatin1String("tty")) {
            ttyChanged = true;
        } else if (action && qstrcmp(action, "add") == 0) {
            checkUsbDevice(sysattr(device, "idVendor"), sysattr(device, "idProduct"), true);
        } else if (action && qstrcmp(action, "remove") == 0) {
            ttyChanged = true; // a USB device gone: its ports go with it
        }
        udev_device_unref(device);
    }
    if (ttyChanged)
        rescan(true);
}

void ModemHotplug::checkUsbDevice(const QString& vendorId, const QString& productId, bool justAdded) {
    if (storageModeMaker(vendorId, productId).isEmpty())
        return;
    // With usb-modeswitch installed, a stick just plugged is switched within seconds: tell only
    // one that is still a disk afterwards.
    if (justAdded && QFileInfo(QLatin1String(kSwitcher)).isFile()) {
        QTimer::singleShot(scaledMs(kSwitchWaitMs), this, [this, vendorId, productId] {
            if (usbDeviceAttached(vendorId, productId))
                emit storageMode(storageModeMessage(vendorId, productId));
        });
        return;
    }
    emit storageMode(storageModeMessage(vendorId, productId));
}

bool ModemHotplug::usbDeviceAttached(const QString& vendorId, const QString& productId) const {
    if (m_udev == nullptr)
        return false;
    bool found = false;
    udev_enumerate* enumerate = udev_enumerate_new(m_udev);
    udev_enumerate_add_match_subsystem(enumerate, "usb");
    udev_enumerate_add_match_sysattr(enumerate, "idVendor", vendorId.toLatin1().constData());
    udev_enumerate_add_match_sysattr(enumerate, "idProduct", productId.toLatin1().constData());
    udev_enumerate_scan_devices(enumerate);
    found = udev_enumerate_get_list_entry(enumerate) != nullptr;
    udev_enumerate_unref(enumerate);
    return found;
}

QStringList ModemHotplug::currentPorts() const {
    QStringList paths = m_registryPorts;
    for (const QString& extra : ModemDiscovery::attachedExtraModemPorts())
        if (!paths.contains(extra))
            paths << extra;
    return paths;
}

void ModemHotplug::rescan(bool registryToo) {
    if (registryToo)
        m_registryPorts = ModemDiscovery::registryModemPorts();
    QMap<QString, ModemPortGroups::Group> now;
    for (const ModemPortGroups::Group& modem : ModemPortGroups::groupsOf(currentPorts()))
        now.insert(keyOf(modem), modem);

    QList<ModemPortGroups::Group> gone, come;
    for (auto it = m_known.begin(); it != m_known.end();) {
        if (now.contains(it.key())) {
            ++it;
            continue;
        }
        gone << it.value(); // as it was told: every port a list may show it by
        it = m_known.erase(it);
    }
    for (auto it = m_pending.begin(); it != m_pending.end();)
        it = now.contains(it.key()) ? std::next(it) : m_pending.erase(it);
    for (auto it = now.cbegin(); it != now.cend(); ++it) {
        if (m_known.contains(it.key()))
            continue;
        const auto pending = m_pending.find(it.key());
        if (pending == m_pending.end() || pending->group.paths() != it.value().paths()) {
            m_pending.insert(it.key(), Pending{it.value(), QDeadlineTimer(scaledMs(kSettleMs))});
            continue;
        }
        if (!pending->settled.hasExpired())
            continue;
        come << it.value();
        m_known.insert(it.key(), it.value());
        m_pending.erase(pending);
    }
    scheduleSettle();
    // Told last: a receiver may start a search or rescan of its own.
    for (const ModemPortGroups::Group& modem : gone)
        emit unplugged(modem);
    for (const ModemPortGroups::Group& modem : come)
        emit plugged(modem);
}

void ModemHotplug::scheduleSettle() {
    if (m_pending.isEmpty()) {
        m_settle.stop();
        return;
    }
    qint64 soonest = std::numeric_limits<qint64>::max();
    for (const Pending& p : std::as_const(m_pending))
        soonest = std::min(soonest, p.settled.remainingTime());
    m_settle.start(int(std::clamp<qint64>(soonest + 1, 1, 60000)));
}
