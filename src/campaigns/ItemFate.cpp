#include "ItemFate.h"

#include "device/SendOutcome.h"

ItemFate itemFate(const QString& state, const QString& outcomeKey) {
    Outcome outcome{};
    const bool known = outcomeFromKey(outcomeKey, &outcome);
    if (state == QLatin1String("queued"))
        return ItemFate::Waiting;
    if (state == QLatin1String("claimed") || state == QLatin1String("sending"))
        return ItemFate::InHand;
    if (state == QLatin1String("unknown") || (known && outcome == Outcome::Unknown))
        return ItemFate::Unknown;
    if (!known)
        return ItemFate::NotSent;
    return SendOutcome::of(outcome).delivered() ? ItemFate::Sent : ItemFate::Failed;
}
