#pragma once
// A module family as its maker's AT command manual describes it (sim/profiles/<name>.json,
// built into the simulator): identification texts, echo, the message prompt, formats and
// character sets, verbose error texts, the lines it sends by itself, the commands it lacks.
//
// Every detail of a profile is an object {"value": ..., "source": "<manual, version,
// section>"} with an optional "uncertain": "<why>" where the manual leaves it open. A
// profile is applied over a modem's identity and behaviour: what it does not name stays.
#include "ModemConfig.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace sim::ModemProfile {

// The names of the built-in profiles ("sim800", "ec25", ...), sorted.
QStringList names();

// Applies the built-in profile `name`; false (and why in *error) when there is none such or
// it cannot be read.
bool apply(const QString& name, ModemIdentity& identity, ModemBehaviour& behaviour, QString* error);

// The same for a profile's text. Unknown keys, a detail without its source, values of the
// wrong kind: false and why, nothing half applied.
bool applyJson(const QByteArray& json, ModemIdentity& identity, ModemBehaviour& behaviour, QString* error);

// The text of a built-in profile ("" when there is none such).
QByteArray text(const QString& name);

} // namespace sim::ModemProfile
