#include "DeviceSettingsMemory.h"

#include "core/Operator.h"

#include "ModemCheck.h"
#include "core/SettingsFile.h"
#include "core/WallClock.h"
#include "device/DeviceRecord.h"
#include "gsm/SmsMode.h"

#include <QDateTime>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace {

// Settings.json: {"devices": {"iccid:8944...": {"mode": "Text Mode", "useCustomSmsc": true,
// "customSmsc": "+44...", "keptAt": <seconds since 1970>, "limits": {"minute": 0, "hour": 100,
// "day": 500}}, ...}}
const QString kDevices = QStringLiteral("devices");
const QString kMode = QStringLiteral("mode");
const QString kUseCustomSmsc = QStringLiteral("useCustomSmsc");
const QString kCustomSmsc = QStringLiteral("customSmsc");
const QString kKeptAt = QStringLiteral("keptAt");
const QString kLimits = QStringLiteral("limits");
constexpr int kMaxLimit = 1000000;

QJsonObject limitsObject(const DeviceLimits& limits) {
    return {{QStringLiteral("minute"), qBound(0, limits.perMinute, kMaxLimit)},
            {QStringLiteral("hour"), qBound(0, limits.perHour, kMaxLimit)},
            {QStringLiteral("day"), qBound(0, limits.perDay, kMaxLimit)}};
}

bool isDeviceKey(const QString& key) {
    static const QRegularExpression pattern(QStringLiteral("^(iccid:89[0-9]{17,18}|imei:[0-9]{14,17})$"));
    return pattern.match(key).hasMatch();
}

std::optional<DeviceSettingsMemory::Settings> settingsOf(const QJsonValue& value) {
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject entry = value.toObject();
    const QJsonValue mode = entry.value(kMode);
    const QJsonValue useCustom = entry.value(kUseCustomSmsc);
    const QJsonValue custom = entry.value(kCustomSmsc);
    // No mode ("") is a modem that had none to choose when its custom centre was kept.
    if (!mode.isString() ||
        (!mode.toString().isEmpty() && smsModeFromText(mode.toString()) == SmsMode::Unknown) ||
        !useCustom.isBool())
        return std::nullopt;
    DeviceSettingsMemory::Settings settings{mode.toString(), useCustom.toBool(), QString()};
    if (settings.useCustomSmsc) {
        // Goes to the modem in its commands: digits and the separators people type, nothing else.
        static const QRegularExpression typed(QStringLiteral("^[0-9+ ()\\-.,\\[\\]]{1,40}$"));
        if (!custom.isString() || !typed.match(custom.toString()).hasMatch() ||
            !isUsableSmscNumber(custom.toString()))
            return std::nullopt;
        settings.customSmsc = custom.toString();
    }
    return settings;
}

// The entries of `devices` less the ones kept longest ago, so that `room` more fit the bound.
QJsonObject withRoomFor(QJsonObject devices, int room) {
    const qsizetype over = devices.size() + room - DeviceSettingsMemory::kMaxDevices;
    if (over <= 0)
        return devices;
    std::vector<std::pair<qint64, QString>> ages;
    for (auto it = devices.constBegin(); it != devices.constEnd(); ++it)
        ages.emplace_back(qint64(it.value().toObject().value(kKeptAt).toDouble()), it.key());
    std::sort(ages.begin(), ages.end());
    for (qsizetype i = 0; i < over && i < qsizetype(ages.size()); ++i)
        devices.remove(ages.at(std::size_t(i)).second);
    return devices;
}

} // namespace

DeviceSettingsMemory::DeviceSettingsMemory(DataFolder folder) : m_folder(std::move(folder)) {}

QString DeviceSettingsMemory::keyOf(const Record& device) {
    QString iccid = QStringLiteral("iccid:") + device.value(kIccidKey);
    if (isDeviceKey(iccid))
        return iccid;
    QString imei = QStringLiteral("imei:") + device.value(kImeiKey);
    return isDeviceKey(imei) ? imei : QString();
}

DeviceSettingsMemory::Kept DeviceSettingsMemory::read() const {
    Kept kept;
    const QJsonObject devices = SettingsFile(m_folder).read().value(kDevices).toObject();
    for (auto it = devices.constBegin(); it != devices.constEnd(); ++it) {
        if (!isDeviceKey(it.key()))
            continue;
        if (const std::optional<Settings> settings = settingsOf(it.value()))
            kept.insert(it.key(), *settings);
    }
    return kept;
}

bool DeviceSettingsMemory::keep(const Record& device, QString* error) const {
    return write(device, nullptr, error);
}

bool DeviceSettingsMemory::keepLimits(const Record& device, const DeviceLimits& limits,
                                      QString* error) const {
    return write(device, &limits, error);
}

bool DeviceSettingsMemory::keepLimitsOrTell(const Record& device, const DeviceLimits& limits,
                                            Operator& op) const {
    QString why;
    if (keepLimits(device, limits, &why))
        return true;
    op.Show_MessageBox(notKeptMessage(why));
    return false;
}

DeviceLimits DeviceSettingsMemory::limitsOf(const Record& device) const {
    const QString key = keyOf(device);
    return key.isEmpty() ? DeviceLimits{} : keptDeviceLimits(m_folder).value(key);
}

bool DeviceSettingsMemory::write(const Record& device, const DeviceLimits* limits, QString* error) const {
    const QString key = keyOf(device);
    if (key.isEmpty()) {
        if (error)
            *error = QStringLiteral("The modem on %1 tells neither its SIM's number nor its IMEI.")
                         .arg(device.value(kPortNameKey));
        return false;
    }
    const bool useCustom = device.value(kUseCustomSmscKey) == QLatin1String("Y");
    const SmsMode mode = smsModeFromText(device.value(kSmsModeKey));
    QJsonObject entry{{kMode, mode == SmsMode::Unknown ? QString() : smsModeText(mode)},
                      {kUseCustomSmsc, useCustom},
                      {kCustomSmsc, useCustom ? device.value(kCustomSmscKey) : QString()},
                      {kKeptAt, std::floor(double(Clock::nowMs()) / 1000)}};
    return SettingsFile(m_folder).update(
        kDevices,
        [&](const QJsonValue& now) {
            QJsonObject devices = now.toObject(); // anything but an object held nothing usable
            // A change of mode or service centre leaves the SIM's limits as they were.
            const QJsonValue kept = devices.value(key).toObject().value(kLimits);
            if (limits) {
                if (limits->counted())
                    entry.insert(kLimits, limitsObject(*limits));
            } else if (kept.isObject()) {
                entry.insert(kLimits, kept);
            }
            devices.remove(key);
            devices = withRoomFor(devices, 1);
            devices.insert(key, entry);
            return devices;
        },
        error);
}

bool DeviceSettingsMemory::layOver(Record& device, const Kept& kept) {
    const auto found = kept.constFind(keyOf(device));
    if (found == kept.constEnd())
        return false;
    const Settings& settings = *found;
    if (!settings.mode.isEmpty() &&
        device.value(kSupportedSmsModesKey).contains(QLatin1Char(';') + settings.mode + QLatin1Char(';')))
        device.insert(kSmsModeKey, settings.mode);
    if (settings.useCustomSmsc) {
        device.insert(kUseCustomSmscKey, QStringLiteral("Y"));
        device.insert(kCustomSmscKey, settings.customSmsc);
    } else {
        // The custom number of a modem that does not use one is its default, as the box leaves it.
        device.insert(kUseCustomSmscKey, QStringLiteral("N"));
        device.insert(kCustomSmscKey, device.value(kDefaultSmscKey));
    }
    return true;
}

bool DeviceSettingsMemory::sameSettings(const Record& a, const Record& b) {
    for (const QString& key : {kSmsModeKey, kUseCustomSmscKey, kCustomSmscKey})
        if (a.value(key) != b.value(key))
            return false;
    return true;
}

QString DeviceSettingsMemory::notKeptMessage(const QString& why) {
    return QStringLiteral("The options could not be kept for the next start.\n\n%1").arg(why);
}

QHash<QString, DeviceLimits> keptDeviceLimits(const DataFolder& folder) {
    QHash<QString, DeviceLimits> kept;
    const QJsonObject devices = SettingsFile(folder).read().value(kDevices).toObject();
    for (auto it = devices.constBegin(); it != devices.constEnd(); ++it) {
        const QJsonObject limits = it.value().toObject().value(kLimits).toObject();
        const auto count = [&limits](const char* key) {
            return qBound(0, limits.value(QLatin1String(key)).toInt(), kMaxLimit);
        };
        const DeviceLimits l{count("minute"), count("hour"), count("day"), 0, 0};
        if (l.counted())
            kept.insert(it.key(), l);
    }
    return kept;
}
