#pragma once
// Getting past a SIM's PIN before anything else asks the modem for its SIM. A PIN comes from
// the keyring (remembered for this SIM) or from the operator; one the SIM refuses is never
// tried again, since three wrong tries block the SIM.
#include "SimAnswers.h"

#include <QString>

#include <chrono>
#include <stop_token>

#include <functional>
#include <optional>

class MFCSMS;

struct SimPinRequest {
    QString modem;  // how the operator knows the modem: port, slot, IMEI
    QString reason; // why asked again ("The SIM refused ..."); "" the first time
};

struct SimPinAnswer {
    QString pin;
    bool remember = false; // keep it in the keyring once the SIM took it
};

// Where PINs come from and go; any may be left empty.
struct SimPins {
    std::function<std::optional<QString>(const QString& simKey)> find;
    std::function<bool(const QString& simKey, const QString& pin)> remember;
    std::function<bool(const QString& simKey)> forget;
    // Asks the operator; nothing when nobody can be asked or they declined.
    std::function<std::optional<SimPinAnswer>(const SimPinRequest&)> ask;
};

namespace SimUnlock {

inline const QString kPinNeeded = QStringLiteral("SIM PIN needed");
inline const QString kPukNeeded = QStringLiteral(
    "SIM PUK needed: the SIM is blocked after three wrong PINs; unlock it in a phone with its PUK");
inline const QString kNoSim = QStringLiteral("No SIM card in the modem");
inline const QString kRememberedRefused =
    QStringLiteral("The SIM refused the PIN remembered for it; it was removed from the keyring and will not "
                   "be tried again. Please enter the PIN.");
inline const QString kRefused =
    QStringLiteral("The SIM refused that PIN. Please check it and enter it again.");
inline const QString kNotAPin = QStringLiteral("A SIM PIN is 4 to 8 digits.");

// Whether a text is a PIN a SIM takes (4 to 8 digits).
bool isPin(const QString& text);

// Reads the SIM's state ("AT+CPIN?") and gives a PIN where one is asked for: "" when the SIM is
// ready (or the modem has no such command), else why the modem cannot send. `simKey` names the
// SIM in the keyring ("iccid:..." or "imei:..."), asked only when a PIN is needed.
QString unlock(MFCSMS& session, int fd, const std::function<QString()>& simKey, const QString& modemName,
               const SimPins& pins);

// Where the modem stands with the network ("AT+CREG?", then "AT+CEREG?" for a modem registered
// only on LTE); nothing when it does not say.
std::optional<SimAnswers::Registration> registration(MFCSMS& session, int fd);

// How long a modem may search for a network before it is given up, and how often it is asked.
inline constexpr std::chrono::seconds kNetworkWait{60};
inline constexpr std::chrono::seconds kNetworkPoll{2};
inline const QString kNoNetwork =
    QStringLiteral("No network found: the modem was still searching after 60 seconds");

// Waits while the modem searches for a network (telling `waiting` once as it starts to wait,
// and "" once the modem registered after all):
// "" once it is registered (home or roaming) or does not say, else why it cannot send.
QString awaitNetwork(MFCSMS& session, int fd, std::stop_token stop,
                     const std::function<void(const QString&)>& waiting);

} // namespace SimUnlock
