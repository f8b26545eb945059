#include "SendOutcome.h"

#include <array>
#include <utility>

namespace {
constexpr std::array<std::pair<Outcome, const char*>, 9> kKeys{{
    {Outcome::Sent, "sent"},
    {Outcome::SentToDevice, "sent-to-device"},
    {Outcome::HandedToPhone, "handed-to-phone"},
    {Outcome::Refused, "refused"},
    {Outcome::NotSent, "not-sent"},
    {Outcome::Unknown, "unknown"},
    {Outcome::Stopped, "stopped"},
    {Outcome::LineFailed, "line-failed"},
    {Outcome::NotHandedOver, "not-handed-over"},
}};
} // namespace

QString SendOutcome::text() const {
    switch (outcome) {
    case Outcome::Sent: return kStatusSent;
    case Outcome::SentToDevice: return kStatusSentToDevice;
    case Outcome::HandedToPhone:
        return reason.isEmpty() ? kStatusHandedToPhone : reason; // what the phone said of it
    case Outcome::Stopped: return QStringLiteral("Stopped after part %1 of %2.").arg(part).arg(parts);
    case Outcome::LineFailed:
    case Outcome::NotHandedOver: return reason.isEmpty() ? kStatusConnectionError : reason;
    case Outcome::Refused:
    case Outcome::NotSent:
    case Outcome::Unknown: break;
    }
    const QString said = outcome == Outcome::Unknown && reason.isEmpty() ? kStatusUnknown : reason;
    // A long message says which of its parts it is about.
    return parts > 1 && part > 0 ? QStringLiteral("Part %1 of %2: %3").arg(part).arg(parts).arg(said) : said;
}

QString outcomeKey(Outcome outcome) {
    for (const auto& [value, key] : kKeys)
        if (value == outcome)
            return QString::fromLatin1(key);
    return {};
}

bool outcomeFromKey(const QString& key, Outcome* outcome) {
    for (const auto& [value, name] : kKeys)
        if (key == QLatin1String(name)) {
            *outcome = value;
            return true;
        }
    return false;
}
