#pragma once
// Modems plugged in and out while the program runs. The device registry's events (udev's
// monitor, or the kernel's own where no udev daemon runs) each start a rescan of the modem
// ports, grouped by modem and compared with the last scan. A modem's ports appear one after
// another, so a new modem is told once its ports have held still for a settle time. The paths
// of BULKSMS_EXTRA_MODEMS (virtual modems) raise no events: while it is set a slow timer
// rescans for them, and a path that does not exist (a dangling link) is no modem.
// USB sticks that show themselves as a disk (their storage mode) are told by their ids.
#include "ModemPortGroups.h"

#include <QDeadlineTimer>
#include <QMap>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

struct udev;
struct udev_monitor;
class QSocketNotifier;

// A QObject on the thread that made it (its event loop delivers the events).
class ModemHotplug : public QObject {
    Q_OBJECT
public:
    explicit ModemHotplug(QObject* parent = nullptr);
    ~ModemHotplug() override;
    // The first scan is the baseline: modems already attached are not "plugged".
    void start();

    // How long a new modem's ports must stay as they are before it is told, and how often the
    // paths of BULKSMS_EXTRA_MODEMS are looked for (both on the scaled clock).
    static constexpr int kSettleMs = 1500;
    static constexpr int kExtraPollMs = 1000;
    // How long usb-modeswitch, where installed, is given to switch a stick just plugged.
    static constexpr int kSwitchWaitMs = 10000;

    // The maker of a USB stick whose ids are those of a storage (CD-ROM) mode we know; "" for
    // ids that are not ("12d1", "1f01" -> "Huawei").
    static QString storageModeMaker(const QString& vendorId, const QString& productId);
    // The line that tells the operator how to get the stick out of its storage mode; "" for
    // ids that are not a storage mode we know.
    static QString storageModeMessage(const QString& vendorId, const QString& productId);

signals:
    void plugged(const ModemPortGroups::Group& modem);   // all ports of one new modem, settled
    void unplugged(const ModemPortGroups::Group& modem); // a modem whose ports are gone
    void storageMode(const QString& message);            // a stick in storage mode, and the way out

private:
    void openMonitor();
    void readEvents();
    // Compares the modems attached with the last scan; the registry is read again only when it
    // may have changed (the extra paths are looked at every time).
    void rescan(bool registryToo);
    QStringList currentPorts() const;
    void checkUsbDevice(const QString& vendorId, const QString& productId, bool justAdded);
    bool usbDeviceAttached(const QString& vendorId, const QString& productId) const;
    // Rescans once the settle time of the modems pending has passed.
    void scheduleSettle();

    struct Pending {
        ModemPortGroups::Group group;
        QDeadlineTimer settled; // when its ports, unchanged, are taken as all there are
    };

    udev* m_udev = nullptr;
    udev_monitor* m_monitor = nullptr;
    QSocketNotifier* m_notifier = nullptr;
    QTimer m_extraPoll;
    QTimer m_settle;
    bool m_started = false;
    QStringList m_registryPorts;                   // the registry's modem ports at its last reading
    QMap<QString, ModemPortGroups::Group> m_known; // modems told (or there at the start), by key
    QMap<QString, Pending> m_pending;              // new modems whose ports may still be coming
};

Q_DECLARE_METATYPE(ModemPortGroups::Group)
