#pragma once
// Takes a modem plugged in while a run sends into that run: its ports are probed as the device
// search probes them (off the caller's thread), the first that answers as a modem that sends
// is opened with the settings kept for its SIM (else in the run's own mode, when it offers
// it), and the run gives it a worker of its own. Every modem handed over ends in one line for
// the operator: taken in, or why not.
#include "DeviceSettingsMemory.h"
#include "ModemOpeners.h"
#include "core/ThreadGroup.h"
#include "gsm/ModemPortGroups.h"
#include "gsm/SimUnlock.h"
#include "gsm/SmsMode.h"

#include <functional>
#include <memory>
#include <stop_token>

class NewModemIntake {
public:
    // Told one line per modem, on the intake's or the run's threads, never after the intake is
    // gone. `runMode` is the mode of the run's modems (Unknown: each keeps its own). A locked
    // SIM's PIN comes from `pins` (left empty: the keyring alone, nobody asked).
    using Told = std::function<void(const QString& line)>;
    NewModemIntake(SendingRun& run, DeviceSettingsMemory::Kept kept, SmsMode runMode, Told told,
                   SimPins pins = {});
    // Stops the probes under way and waits for them; a modem already handed to the run stays.
    // Goes before the run does.
    ~NewModemIntake();
    NewModemIntake(const NewModemIntake&) = delete;
    NewModemIntake& operator=(const NewModemIntake&) = delete;

    // Any thread: probes the modem's ports on a thread of the intake and hands it to the run.
    void take(const ModemPortGroups::Group& modem);
    // Waits until every modem handed over so far has been probed (and, when the run took it,
    // opened or refused).
    void join();

    // The lines told, for a modem named as a person reads it ("ttyUSB4 (IMEI 3520…)").
    static QString takenIn(const QString& modem);
    static QString notTakenIn(const QString& modem, const QString& why);

private:
    void probe(const ModemPortGroups::Group& modem);
    ModemChoice choiceFor(Record found) const;

    struct Shared;
    SendingRun& m_run;
    const DeviceSettingsMemory::Kept m_kept;
    const SmsMode m_runMode;
    const SimPins m_pins;
    std::shared_ptr<Shared> m_shared; // what a run's thread may still call after the intake ended
    std::stop_source m_stop;
    ThreadGroup m_threads;
};
