#include "ModemOpeners.h"

#include "DeviceSettingsMemory.h"
#include "device/DeviceRecord.h"

ModemChoice modemChoiceOf(const Record& record) {
    ModemDetails details;
    details.mode = smsModeFromText(record.value(kSmsModeKey));
    details.smsc =
        record.value(kUseCustomSmscKey) == QLatin1String("Y") ? record.value(kCustomSmscKey) : QString();
    details.capability = record.value(kSmsCapableKey);
    details.defaultSmsc = record.value(kDefaultSmscKey);
    details.simKey = DeviceSettingsMemory::keyOf(record);
    return {record.value(kPortDetailKey), details};
}

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
