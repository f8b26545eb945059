#include "SendDevices.h"

#include "CommandLineAndroid.h"
#include "ConsoleOutput.h"
#include "android/PhoneDevice.h"
#include "core/Operator.h"
#include "device/DeviceRecord.h"
#include "gsm/SmsMode.h"
#include "gsm/TextModeLimits.h"
#include "services/DeviceSettingsMemory.h"
#include "services/ModemCheck.h"
#include "services/ModemOpeners.h"
#include "services/ModemSearch.h"

#include <QRegularExpression>

namespace {

void err(const QString& text) { printErr(text); }

// A service centre number: digits, with an optional "+" in front.
bool isServiceCentreNumber(const QString& number) {
    static const QRegularExpression pattern(QStringLiteral("^\\+?[0-9]{3,20}$"));
    return pattern.match(number).hasMatch();
}

// Applies one --device's settings ("mode=pdu", "smsc=+44...") to its modem's record.
std::optional<int> applyDeviceSettings(Record& modem, const QStringList& settings) {
    for (const QString& setting : settings) {
        if (setting == QLatin1String("mode=pdu")) {
            modem.insert(kSmsModeKey, smsModeText(SmsMode::Pdu));
        } else if (setting == QLatin1String("mode=text")) {
            modem.insert(kSmsModeKey, smsModeText(SmsMode::Text));
        } else if (setting.startsWith(QLatin1String("smsc=")) && isServiceCentreNumber(setting.mid(5))) {
            modem.insert(kUseCustomSmscKey, QStringLiteral("Y"));
            modem.insert(kCustomSmscKey, setting.mid(5));
        } else if (setting.startsWith(QLatin1String("smsc="))) {
            err(QStringLiteral("Not a valid service centre number: %1").arg(setting.mid(5)));
            return 2;
        } else {
            err(QStringLiteral("Unknown device setting: %1").arg(setting));
            return 2;
        }
    }
    return std::nullopt;
}

// The modems --device names, each with its settings (every modem found without --device).
std::optional<int> wantedModems(const RecordList& found, const QStringList& deviceArguments,
                                RecordList& wanted) {
    for (const QString& deviceArgument : deviceArguments) {
        const QStringList parts = deviceArgument.split(QLatin1Char(','));
        const auto modem = std::find_if(found.cbegin(), found.cend(), [&](const Record& r) {
            return r.value(kPortDetailKey) == parts.first();
        });
        if (modem == found.cend()) {
            err(QStringLiteral("Device %1 was not found or cannot send messages.").arg(parts.first()));
            return 2;
        }
        wanted << *modem;
        if (const std::optional<int> refused = applyDeviceSettings(wanted.last(), parts.mid(1)))
            return refused;
    }
    if (deviceArguments.isEmpty())
        wanted = found;
    if (wanted.isEmpty()) {
        err(QStringLiteral("No device to send with."));
        return 2;
    }
    return std::nullopt;
}

QString textModeRefusal(const QList<std::pair<QString, QString>>& rows, const RunSettings& settings,
                        const QList<ModemChoice>& modems, const RecordList& found) {
    QList<OutgoingMessage> messages;
    for (const auto& [number, text] : rows)
        messages << outgoingMessage(number, text, settings);
    QList<TextModeLimits::Port> ports;
    for (const ModemChoice& modem : modems)
        ports << TextModeLimits::Port{modem.path, modem.details.mode};
    QStringList offeringPdu;
    for (const Record& record : found)
        if (record.value(kSupportedSmsModesKey).contains(kPduModeText))
            offeringPdu << record.value(kPortDetailKey);
    return TextModeLimits::refusal(messages, ports, offeringPdu);
}

} // namespace

std::optional<int> chooseModems(Operator& op, const DataFolder& folder, const QStringList& deviceArguments,
                                RunSettings& settings, QList<DeviceOpener>& openers,
                                QList<StoredDevice>* chosen, const QList<std::pair<QString, QString>>* rows,
                                QList<SmsMode>* modes) {
    const ModemSearch::Result found = ModemSearch::findModems({}, {}, DeviceSettingsMemory(folder).read());
    for (const QString& alert : found.alerts())
        op.Show_MessageBox(alert);
    RecordList wanted;
    if (const std::optional<int> end = wantedModems(found.modems, deviceArguments, wanted))
        return end;
    // Each is checked as the device window checks the modems ticked in it.
    QList<ModemChoice> modems;
    for (const Record& record : wanted) {
        const ModemCheck::Choice choice = ModemCheck::choose(op, record, int(wanted.size()));
        if (choice == ModemCheck::Choice::Stop)
            break;
        if (choice != ModemCheck::Choice::Accept)
            continue;
        modems << modemChoiceOf(record);
        if (chosen) {
            StoredDevice shown;
            shown.device = modems.last().path;
            shown.details = QStringList{record.value(kManufacturerKey), record.value(kModelKey),
                                        record.value(kNetworkOperatorKey)}
                                .join(QLatin1Char(' '))
                                .simplified();
            shown.signal = record.value(kSignalKey);
            *chosen << shown;
        }
    }
    if (modems.isEmpty()) {
        err(QStringLiteral("No device could be selected."));
        return 2;
    }
    if (rows)
        if (const QString refusal = textModeRefusal(*rows, settings, modems, found.modems);
            !refusal.isEmpty()) {
            err(refusal);
            return 2;
        }
    settings.loadedDevice = modems.last().path;
    if (modes)
        for (const ModemChoice& modem : modems)
            *modes << modem.details.mode;
    openers = modemOpeners(
        modems, [&op] { op.Show_MessageBox(kPortNotWorking); },
        [](const QString& path, const QString& status) {
            if (!status.isEmpty()) // "" once it no longer waits
                err(QStringLiteral("%1: %2").arg(path, status));
        });
    return std::nullopt;
}

std::optional<int> choosePhone(Operator& op, const DataFolder& folder, const PhonesAsked& asked,
                               const QString& mode, RunSettings& settings, QList<DeviceOpener>& openers,
                               std::shared_ptr<std::function<void()>> stopRun, QList<StoredDevice>* chosen) {
    if (mode != QLatin1String("single-shot") && mode != QLatin1String("standard") &&
        mode != QLatin1String("classic")) {
        err(QStringLiteral("Unknown mode: %1 (single-shot, standard or classic)").arg(mode));
        return 2;
    }
    QStringList serials = asked.all ? attachedPhoneSerials() : asked.serials;
    serials.removeDuplicates();
    if (asked.all && serials.isEmpty()) {
        err(QStringLiteral("No phone ready to send with."));
        return 2;
    }
    if (serials.isEmpty())
        serials << QString(); // the one phone attached
    const PhoneDevice::Mode how =
        mode == QLatin1String("classic") ? PhoneDevice::Mode::Classic : PhoneDevice::Mode::Standard;
    PhoneDevice::Hooks hooks;
    hooks.stopRun = [stopRun] {
        if (*stopRun)
            (*stopRun)();
    };
    openers.clear();
    for (const QString& serial : serials) {
        const std::optional<ChosenPhone> phone = choosePhone(op, folder, serial);
        if (!phone)
            return 2; // the reason was told
        // Phones of one make look alike: each of several is also named by its serial.
        const QString name = serials.size() > 1 ? QStringLiteral("%1 (%2)").arg(phone->caption, phone->serial)
                                                : phone->caption;
        if (chosen) {
            StoredDevice shown;
            shown.device = name;
            shown.details = phone->serial;
            *chosen << shown;
        }
        settings.loadedDevice = name;
        openers <<
            [&op, folder, name, how, hooks, serial](std::stop_token) -> std::unique_ptr<SendingDevice> {
            return std::make_unique<PhoneDevice>(op, folder, name, how, hooks, serial);
        };
    }
    settings.batch = mode == QLatin1String("single-shot");
    return std::nullopt;
}
