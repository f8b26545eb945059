#pragma once
// The devices `bulksms send` goes through: the modems found (or those of --device, each with
// its settings) or the Android phone, as the run will open them. Each returns an exit status
// when the command ends here (the reason told on standard error).
#include "sending/SendingRun.h"

#include <functional>
#include <memory>
#include <optional>

class Operator;

std::optional<int> chooseModems(Operator& op, const QStringList& deviceArguments, RunSettings& settings,
                                QList<DeviceOpener>& openers);
// stopRun (set once the run exists) is how the phone ends the run when it cannot go on.
std::optional<int> choosePhone(Operator& op, const DataFolder& folder, const QString& serial,
                               const QString& mode, RunSettings& settings, QList<DeviceOpener>& openers,
                               std::shared_ptr<std::function<void()>> stopRun);
