#pragma once
// SIM PINs the operator asked us to remember, kept in the desktop's keyring (the Secret
// Service, through libsecret), one per SIM, named by the SIM's key ("iccid:..." or "imei:...").
// Nothing is kept anywhere else. Every call may wait for the keyring's answer.
#include "SimUnlock.h"

#include <QString>

#include <optional>

namespace SimPinKeyring {

// The PIN kept for this SIM; nothing when none is kept or the keyring cannot be reached
// (`error` then says why).
std::optional<QString> find(const QString& simKey, QString* error = nullptr);
bool remember(const QString& simKey, const QString& pin, QString* error = nullptr);
// True when nothing is kept for the SIM afterwards.
bool forget(const QString& simKey, QString* error = nullptr);

// find / remember / forget through the keyring; nobody is asked.
SimPins pins();

} // namespace SimPinKeyring
