#include "ModemOpeners.h"

QList<DeviceOpener> modemOpeners(const QList<ModemChoice>& modems, std::function<void()> lineNotWorking) {
    QList<DeviceOpener> openers;
    for (const ModemChoice& modem : modems.mid(0, SendingRun::kMaxDevices))
        openers << [modem, lineNotWorking](std::stop_token) -> std::unique_ptr<SendingDevice> {
            bool lineFailed = false;
            std::unique_ptr<ModemDevice> device = ModemDevice::open(modem.path, modem.details, &lineFailed);
            if (lineFailed && lineNotWorking)
                lineNotWorking();
            return device;
        };
    return openers;
}
