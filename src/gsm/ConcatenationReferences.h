#pragma once
// One rolling concatenation reference per modem: each long message sent through a modem
// takes the next one, starting from a random value, so that two long messages to one person
// (a re-send, a second campaign) never share a reference and never merge on the handset.
#include <QString>

namespace ConcatenationReferences {

// The reference for the next long message through the device (0..65535).
int next(const QString& device);

} // namespace ConcatenationReferences
