#include "ModemOpeners.h"

QList<DeviceOpener> modemOpeners(const QList<ModemChoice>& modems, std::function<void()> lineNotWorking,
                                 ModemWaiting waiting) {
    QList<DeviceOpener> openers;
    for (const ModemChoice& modem : modems.mid(0, SendingRun::kMaxDevices))
        openers << [modem, lineNotWorking, waiting](std::stop_token stop) -> std::unique_ptr<SendingDevice> {
            bool lineFailed = false;
            std::unique_ptr<ModemDevice> device = ModemDevice::open(modem.path, modem.details, &lineFailed);
            if (lineFailed && lineNotWorking)
                lineNotWorking();
            if (device)
                device->setNetworkWait(std::move(stop), [path = modem.path, waiting](const QString& status) {
                    if (waiting)
                        waiting(path, status);
                });
            return device;
        };
    return openers;
}
