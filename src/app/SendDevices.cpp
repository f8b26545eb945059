#include "SendDevices.h"

#include "ConsoleOutput.h"
#include "android/AndroidSelection.h"
#include "android/PhoneDevice.h"
#include "android/windows/Android_Ph_List_Wnd.h"
#include "core/DeviceSelection.h"
#include "core/Operator.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/SmsMode.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "services/ModemOpeners.h"

#include <QRegularExpression>

namespace {

void err(const QString& text) { printErr(text); }

const QString kPortNotWorking = QStringLiteral(
    "\nSelected device is not working properly. Please use Mobiles Connection Wizard for finding device or "
    "establishing connection.");

// A service centre number: digits, with an optional "+" in front.
bool isServiceCentreNumber(const QString& number) {
    static const QRegularExpression pattern(QStringLiteral("^\\+?[0-9]{3,20}$"));
    return pattern.match(number).hasMatch();
}

// Applies one --device's settings ("mode=pdu", "smsc=+44...") to its row of the device list.
std::optional<int> applyDeviceSettings(GSM_Device_List_Wnd& devices, const QString& path,
                                       const QStringList& settings) {
    for (const QString& setting : settings) {
        if (setting == QLatin1String("mode=pdu"))
            devices.Update_Column_Value(path, kSmsModeKey, smsModeText(SmsMode::Pdu));
        else if (setting == QLatin1String("mode=text"))
            devices.Update_Column_Value(path, kSmsModeKey, smsModeText(SmsMode::Text));
        else if (setting.startsWith(QLatin1String("smsc=")) && isServiceCentreNumber(setting.mid(5)))
            devices.Set_SMSC_Use_Status(path, QStringLiteral("Y"), setting.mid(5));
        else if (setting.startsWith(QLatin1String("smsc="))) {
            err(QStringLiteral("Not a valid service centre number: %1").arg(setting.mid(5)));
            return 2;
        } else {
            err(QStringLiteral("Unknown device setting: %1").arg(setting));
            return 2;
        }
    }
    return std::nullopt;
}

ModemChoice modemChoiceOf(const Record& record) {
    ModemDetails details;
    details.mode = smsModeFromText(record.value(kSmsModeKey));
    details.smsc =
        record.value(kUseCustomSmscKey) == QLatin1String("N") ? QString() : record.value(kCustomSmscKey);
    details.capability = record.value(kSmsCapableKey);
    details.defaultSmsc = record.value(kDefaultSmscKey);
    return {record.value(kPortDetailKey), details};
}

// Narrows every adb command to one phone: adb by ANDROID_SERIAL (the device list by the
// caller's serial filter).
void pointAdbAt(const QString& serial) {
    if (serial.isEmpty())
        qunsetenv("ANDROID_SERIAL");
    else
        qputenv("ANDROID_SERIAL", serial.toLocal8Bit());
}

} // namespace

std::optional<int> chooseModems(Operator& op, const QStringList& deviceArguments, RunSettings& settings,
                                QList<DeviceOpener>& openers) {
    DeviceSelection selection;
    GSM_Device_List_Wnd devices(op, selection);
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        devices.GetModemPath(iterator.paths);
    QStringList wanted;
    for (const QString& deviceArgument : deviceArguments) {
        const QStringList parts = deviceArgument.split(QLatin1Char(','));
        const QString& path = parts.first();
        if (devices.rowOf(path) < 0) {
            err(QStringLiteral("Device %1 was not found or cannot send messages.").arg(path));
            return 2;
        }
        if (const std::optional<int> refused = applyDeviceSettings(devices, path, parts.mid(1)))
            return refused;
        wanted << path;
    }
    if (wanted.isEmpty())
        for (const Record& r : devices.nsPortListData().records())
            wanted << r.value(kPortDetailKey);
    if (wanted.isEmpty()) {
        err(QStringLiteral("No device to send with."));
        return 2;
    }
    for (const QString& path : wanted)
        devices.setRowTicked(devices.rowOf(path), true);
    devices.beginModal();
    devices.Multi_Phone_Selected_Func();
    devices.waitForWorkers();
    if (!devices.isEnded()) {
        err(QStringLiteral("No device could be selected."));
        return 2;
    }
    QList<ModemChoice> modems;
    for (const Record& record : selection.port_det_str_array)
        modems << modemChoiceOf(record);
    settings.loadedDevice = selection.sel_port_bsd_str;
    openers = modemOpeners(modems, [&op] { op.Show_MessageBox(kPortNotWorking); });
    return std::nullopt;
}

std::optional<int> choosePhone(Operator& op, const DataFolder& folder, const QString& serial,
                               const QString& mode, RunSettings& settings, QList<DeviceOpener>& openers,
                               std::shared_ptr<std::function<void()>> stopRun) {
    if (mode != QLatin1String("single-shot") && mode != QLatin1String("standard") &&
        mode != QLatin1String("classic")) {
        err(QStringLiteral("Unknown mode: %1 (single-shot, standard or classic)").arg(mode));
        return 2;
    }
    pointAdbAt(serial);
    DeviceSelection selection;
    AndroidSelection phone;
    phone.serialFilter = serial;
    Android_Ph_List_Wnd search(op, folder, selection, phone);
    Android_Ph_List_Wnd::Outcome found = Android_Ph_List_Wnd::Outcome::Failed;
    WorkerThread worker(QStringLiteral("adb"));
    worker.start([&](std::stop_token) { found = search.searchDevice(false); });
    worker.join();
    if (found != Android_Ph_List_Wnd::Outcome::Connected) {
        err(QStringLiteral("No phone ready to send with."));
        return 2;
    }
    search.beginModal();
    search.Select_Btn();
    if (!search.isEnded() || search.endCode() != 1) {
        err(QStringLiteral("The phone could not be selected."));
        return 2;
    }
    const QString name = selection.sel_port_name_str;
    err(QStringLiteral("Phone: %1").arg(name));
    settings.batch = mode == QLatin1String("single-shot");
    settings.loadedDevice = name;
    const PhoneDevice::Mode how =
        mode == QLatin1String("classic") ? PhoneDevice::Mode::Classic : PhoneDevice::Mode::Standard;
    PhoneDevice::Hooks hooks;
    hooks.stopRun = [stopRun] {
        if (*stopRun)
            (*stopRun)();
    };
    openers = {[&op, folder, name, how, hooks, serial](std::stop_token) -> std::unique_ptr<SendingDevice> {
        return std::make_unique<PhoneDevice>(op, folder, name, how, hooks, serial);
    }};
    return std::nullopt;
}
