#pragma once
// What came of an item, read from its state and outcome in the store: a campaign's counts and
// its history classify items alike.
#include <QString>

enum class ItemFate {
    Waiting, // waits for a sender
    InHand,  // claimed or being handed over
    Sent,
    Failed,
    Unknown, // may have been sent
    NotSent, // excluded, skipped, stopped, cancelled
};

ItemFate itemFate(const QString& state, const QString& outcomeKey);

// The state as the API and the webhooks name it: queued, sending, sent, failed, unknown, not_sent.
QString apiItemState(const QString& state, const QString& outcomeKey);
