#pragma once
// The devices `bulksms send` goes through: the modems found (or those of --device, each with
// its settings) or the Android phone, as the run will open them. Each returns an exit status
// when the command ends here (the reason told on standard error).
#include "campaigns/StoredDevices.h"
#include "gsm/SmsMode.h"
#include "sending/SendingRun.h"

#include <QCommandLineOption>

#include <functional>
#include <memory>
#include <optional>

class Operator;

// The modems found come with the settings kept for their SIMs in the data folder (the device
// windows keep them); --device's own settings go over those. `chosen` (may be null) gets each
// device chosen as the store shows it. With `rows` (number, message), a message no chosen modem
// sends as one message ends the command (TextModeLimits.h). `modes` (may be null) gets the
// mode each chosen modem sends in.
std::optional<int> chooseModems(Operator& op, const DataFolder& folder, const QStringList& deviceArguments,
                                RunSettings& settings, QList<DeviceOpener>& openers,
                                QList<StoredDevice>* chosen = nullptr,
                                const QList<std::pair<QString, QString>>* rows = nullptr,
                                QList<SmsMode>* modes = nullptr);
// The phones a command was told to send through: --serial (none: the one phone attached), or
// --all-phones.
struct PhonesAsked {
    QStringList serials;
    bool all = false;
};

// The options that name them, as `send` and `worker` both take them.
inline QCommandLineOption serialOption() {
    return {QStringLiteral("serial"),
            QStringLiteral(
                "Android: a phone to send through (repeatable: the recipients are shared among them)."),
            QStringLiteral("serial")};
}
inline QCommandLineOption allPhonesOption() {
    return {QStringLiteral("all-phones"), QStringLiteral("Android: send through every attached phone.")};
}

// stopRun (set once the run exists) is how a phone ends the run when it cannot go on. Several
// phones share the recipients, each named by its caption and serial.
std::optional<int> choosePhone(Operator& op, const DataFolder& folder, const PhonesAsked& asked,
                               const QString& mode, RunSettings& settings, QList<DeviceOpener>& openers,
                               std::shared_ptr<std::function<void()>> stopRun,
                               QList<StoredDevice>* chosen = nullptr);
