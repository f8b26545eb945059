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

QString apiItemState(const QString& state, const QString& outcomeKey) {
    switch (itemFate(state, outcomeKey)) {
    case ItemFate::Waiting: return QStringLiteral("queued");
    case ItemFate::InHand: return QStringLiteral("sending");
    case ItemFate::Sent: return QStringLiteral("sent");
    case ItemFate::Failed: return QStringLiteral("failed");
    case ItemFate::Unknown: return QStringLiteral("unknown");
    case ItemFate::NotSent: break;
    }
    return QStringLiteral("not_sent");
}
