#pragma once
// The devices `bulksms send` goes through: the modems found (or those of --device, each with
// its settings) or the Android phone, as the run will open them. Each returns an exit status
// when the command ends here (the reason told on standard error).
#include "campaigns/StoredDevices.h"
#include "sending/SendingRun.h"

#include <functional>
#include <memory>
#include <optional>

class Operator;

// `chosen` (may be null) gets each device chosen as the store shows it.
std::optional<int> chooseModems(Operator& op, const QStringList& deviceArguments, RunSettings& settings,
                                QList<DeviceOpener>& openers, QList<StoredDevice>* chosen = nullptr);
// stopRun (set once the run exists) is how the phone ends the run when it cannot go on.
std::optional<int> choosePhone(Operator& op, const DataFolder& folder, const QString& serial,
                               const QString& mode, RunSettings& settings, QList<DeviceOpener>& openers,
                               std::shared_ptr<std::function<void()>> stopRun,
                               QList<StoredDevice>* chosen = nullptr);
