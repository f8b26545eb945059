#pragma once
// How a run opens the modems it sends through: each on its port, with the settings chosen for
// it, through a session of its own.
#include "core/Record.h"
#include "gsm/ModemDevice.h"
#include "sending/SendingRun.h"

#include <functional>

// What the operator is told when a port's line itself fails as the run opens it.
inline const QString kPortNotWorking = QStringLiteral(
    "\nSelected device is not working properly. Please use Mobiles Connection Wizard for finding device or "
    "establishing connection.");

struct ModemChoice {
    QString path;
    ModemDetails details;
};

// A modem as the device search (or its window) recorded it, with the settings chosen for it.
ModemChoice modemChoiceOf(const Record& record);

// What a modem is waiting for as the run readies it ("Searching for a network…"; "" once it no
// longer waits), on its thread.
using ModemWaiting = std::function<void(const QString& path, const QString& status)>;

// One opener per modem, in the order given (at most SendingRun::kMaxDevices).
// lineNotWorking runs on the run's thread when a port's line itself fails, for the operator to
// be told; a modem that does not answer simply stays out of the run.
QList<DeviceOpener> modemOpeners(const QList<ModemChoice>& modems, std::function<void()> lineNotWorking,
                                 ModemWaiting waiting = {});
