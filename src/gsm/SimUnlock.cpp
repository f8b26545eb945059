#include "SimUnlock.h"

#include "MFCSMS.h"
#include "SimAnswers.h"

#include "core/Clock.h"
#include "core/Log.h"

#include <QRegularExpression>

namespace SimUnlock {
namespace {

using SimAnswers::PinState;

PinState askState(MFCSMS& session, int fd, QString* code = nullptr) {
    session.setLastResponse(QString());
    if (!session.Write_Command(fd, QStringLiteral("AT+CPIN?\r")))
        return PinState::Unknown;
    session.Read_Command(fd, QStringLiteral("OK"));
    return SimAnswers::pinStateOf(session.lastResponse(), code);
}

// Gives the PIN once; true when the SIM took it. A PIN never reaches the log.
bool give(MFCSMS& session, int fd, const QString& pin) {
    session.setLastResponse(QString());
    if (!session.Write_Command(fd, QStringLiteral("AT+CPIN=\"%1\"\r").arg(pin)))
        return false;
    const bool ok = session.Read_Command(fd, QStringLiteral("OK"));
    session.setLastResponse(QString());
    // Some modems say OK before the SIM has checked it: the SIM's own word decides.
    return ok && askState(session, fd) != PinState::PinNeeded;
}

QString stateReason(PinState state, const QString& code) {
    switch (state) {
    case PinState::Ready:
    case PinState::Unknown: return {};
    case PinState::PinNeeded: return kPinNeeded;
    case PinState::PukNeeded: return kPukNeeded;
    case PinState::NoSim: return kNoSim;
    case PinState::OtherCode: break;
    }
    return QStringLiteral("The SIM asks for %1; unlock it in a phone").arg(code);
}

} // namespace

bool isPin(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral("^[0-9]{4,8}$"));
    return pattern.match(text).hasMatch();
}

QString unlock(MFCSMS& session, int fd, const std::function<QString()>& keyOfSim, const QString& modemName,
               const SimPins& pins) {
    QString code;
    PinState state = askState(session, fd, &code);
    if (state != PinState::PinNeeded)
        return stateReason(state, code);
    const QString simKey = keyOfSim();

    QString reason;
    if (const std::optional<QString> kept = pins.find ? pins.find(simKey) : std::nullopt;
        kept && isPin(*kept)) {
        if (give(session, fd, *kept)) {
            Show_NSLog_Message(QStringLiteral("SIM of %1 unlocked with its remembered PIN").arg(modemName));
            return {};
        }
        // Never again: each wrong try brings the SIM closer to being blocked.
        if (pins.forget)
            pins.forget(simKey);
        Show_NSLog_Message(QStringLiteral("SIM of %1 refused its remembered PIN; forgotten").arg(modemName));
        reason = kRememberedRefused;
        state = askState(session, fd, &code);
        if (state != PinState::PinNeeded)
            return stateReason(state, code);
    }
    while (pins.ask) {
        const std::optional<SimPinAnswer> answer = pins.ask({modemName, reason});
        if (!answer)
            break;
        if (!isPin(answer->pin)) {
            reason = kNotAPin;
            continue;
        }
        if (give(session, fd, answer->pin)) {
            if (answer->remember && pins.remember && !pins.remember(simKey, answer->pin))
                Show_NSLog_Message(
                    QStringLiteral("The PIN of %1 could not be kept in the keyring").arg(modemName));
            return {};
        }
        reason = kRefused;
        state = askState(session, fd, &code);
        if (state != PinState::PinNeeded)
            return stateReason(state, code);
    }
    return kPinNeeded;
}

std::optional<SimAnswers::Registration> registration(MFCSMS& s, int fd) {
    std::optional<SimAnswers::Registration> found;
    for (const QString& command : {QStringLiteral("AT+CREG?\r"), QStringLiteral("AT+CEREG?\r")}) {
        s.setLastResponse(QString());
        if (!s.Write_Command(fd, command))
            return found;
        if (!s.Read_Command(fd, QStringLiteral("OK")))
            continue; // a modem without LTE refuses "AT+CEREG?"
        const auto r = SimAnswers::registrationOf(s.lastResponse());
        if (r && (!found || SimAnswers::isRegistered(*r)))
            found = r;
        if (found && SimAnswers::isRegistered(*found))
            break;
    }
    return found;
}

QString awaitNetwork(MFCSMS& session, int fd, std::stop_token stop,
                     const std::function<void(const QString&)>& waiting) {
    using SimAnswers::Registration;
    const auto deadline = std::chrono::steady_clock::now() + Clock::scaled(kNetworkWait);
    bool told = false;
    while (true) {
        const std::optional<Registration> r = registration(session, fd);
        if (!r || SimAnswers::isRegistered(*r) || *r == Registration::Unknown) {
            if (told && waiting)
                waiting(QString()); // the wait is over
            return {};
        }
        if (*r == Registration::Denied)
            return SimAnswers::registrationText(*r);
        if (std::chrono::steady_clock::now() >= deadline)
            return kNoNetwork;
        if (!told && waiting)
            waiting(SimAnswers::registrationText(Registration::Searching));
        told = true;
        if (!Clock::sleepUnless(kNetworkPoll, [&] { return stop.stop_requested(); }))
            return QStringLiteral("Stopped while searching for a network");
    }
}

} // namespace SimUnlock
