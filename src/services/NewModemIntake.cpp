#include "NewModemIntake.h"

#include "ModemSearch.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"

#include <mutex>

// The run may open a modem, and say how that went, after the intake is gone: what it calls
// goes through here, and is dropped once the intake ended.
struct NewModemIntake::Shared {
    std::mutex mutex;
    Told told;
    // Modems opening in the run that the intake still has to hear of.
    int opening = 0;
    void tell(const QString& line) {
        Show_NSLog_Message(line);
        std::lock_guard lock(mutex);
        if (told)
            told(line);
    }
};

NewModemIntake::NewModemIntake(SendingRun& run, DeviceSettingsMemory::Kept kept, SmsMode runMode, Told told,
                               SimPins pins)
    : m_run(run), m_kept(std::move(kept)), m_runMode(runMode), m_pins(std::move(pins)),
      m_shared(std::make_shared<Shared>()) {
    m_shared->told = std::move(told);
}

NewModemIntake::~NewModemIntake() {
    m_stop.request_stop();
    m_threads.join();
    std::lock_guard lock(m_shared->mutex);
    m_shared->told = {};
}

QString NewModemIntake::takenIn(const QString& modem) {
    return QStringLiteral("Took in the modem on %1.").arg(modem);
}

QString NewModemIntake::notTakenIn(const QString& modem, const QString& why) {
    return QStringLiteral("The modem on %1 was not taken in: %2.").arg(modem, why);
}

void NewModemIntake::take(const ModemPortGroups::Group& modem) {
    if (m_stop.stop_requested())
        return;
    m_threads.spawn(QStringLiteral("modem-intake"),
                    [this, modem] { Guard::run("NewModemIntake::probe", [&] { probe(modem); }); });
}

void NewModemIntake::join() {
    m_threads.join();
    // The run tells how each modem it took opened on its own threads.
    MainThread::waitUntil([this] {
        std::lock_guard lock(m_shared->mutex);
        return m_shared->opening == 0;
    });
}

ModemChoice NewModemIntake::choiceFor(Record found) const {
    // The SIM's own settings first; else the run's mode, where the modem offers it.
    if (!DeviceSettingsMemory::layOver(found, m_kept) && m_runMode != SmsMode::Unknown &&
        found.value(kSupportedSmsModesKey).contains(smsModeText(m_runMode)))
        found.insert(kSmsModeKey, smsModeText(m_runMode));
    return modemChoiceOf(found);
}

void NewModemIntake::probe(const ModemPortGroups::Group& modem) {
    QStringList names;
    for (const QString& path : modem.paths())
        names << ModemDiscovery::portName(path);
    const QString ports = names.join(QStringLiteral(", "));
    if (modem.ports.isEmpty())
        return;
    if (m_run.stopRequested() || m_run.released()) {
        m_shared->tell(notTakenIn(ports, QStringLiteral("the run is over")));
        return;
    }
    ModemSearch::Listener listener;
    listener.pins = m_pins;
    if (m_pins.ask) // once the intake ends, nobody is asked any more
        listener.pins.ask = [ask = m_pins.ask, stop = m_stop.get_token()](const SimPinRequest& request) {
            return stop.stop_requested() ? std::nullopt : ask(request);
        };
    const ModemSearch::Result result = ModemSearch::searchModems({modem}, m_stop.get_token(), listener);
    if (m_stop.stop_requested())
        return;
    if (result.modems.isEmpty()) {
        const bool denied = !result.denied.isEmpty();
        m_shared->tell(
            notTakenIn(ports, denied ? QStringLiteral("this user may not open its ports")
                                     : QStringLiteral("no port answered as a modem that sends messages")));
        return;
    }
    const Record& found = result.modems.first();
    const QString imei = found.value(kImeiKey);
    const QString name = imei.isEmpty() ? found.value(kPortNameKey)
                                        : QStringLiteral("%1 (IMEI %2)").arg(found.value(kPortNameKey), imei);
    // A SIM still locked or blocked, a network that denies it: it would refuse every message.
    if (const QString state = found.value(kPortStatusKey); !state.isEmpty()) {
        m_shared->tell(notTakenIn(name, state));
        return;
    }
    const ModemChoice choice = choiceFor(found);
    {
        std::lock_guard lock(m_shared->mutex);
        ++m_shared->opening;
    }
    const std::shared_ptr<Shared> shared = m_shared;
    const auto opened = [shared, name](const QString& refusal) {
        shared->tell(refusal.isEmpty() ? takenIn(name) : notTakenIn(name, refusal));
        {
            std::lock_guard lock(shared->mutex);
            --shared->opening;
        }
        MainThread::wakeWaiters();
    };
    const auto lineNotWorking = [] {
        Show_NSLog_Message(QStringLiteral("The line of a modem plugged in failed"));
    };
    if (m_run.addDevice(modemOpeners({choice}, lineNotWorking).value(0), choice.path, opened))
        return;
    {
        std::lock_guard lock(m_shared->mutex);
        --m_shared->opening;
    }
    const QString why = m_run.stopRequested() ? QStringLiteral("the run is stopping")
                        : m_run.released()    ? QStringLiteral("the run is over")
                        : !m_run.record().anyWaiting()
                            ? QStringLiteral("nothing is left to send")
                            : QStringLiteral("it is in the run already, or the run has its "
                                             "most devices (%1)")
                                  .arg(SendingRun::kMaxDevices);
    m_shared->tell(notTakenIn(name, why));
}
