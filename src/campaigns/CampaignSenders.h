#pragma once
// The senders of a store (processes on this computer or others, each named
// "user@host/pid/tag") and how another process tells whether one still lives: it renews its
// claims and its row every third of a lease, and a process of this computer can be asked.
#include <QString>

class SqlDatabase;

// A claim not renewed for this long is taken for lost (milliseconds: the prescribed 30 s shrunk
// by the clock's scale, but never below 3 s, so a busy machine never takes a living sender
// for a dead one).
qint64 leaseLength();

// A sender of this computer whose process no longer runs, or a run of this process that was
// let go.
bool claimerGone(const QString& claimer);
// The runs of this process, while they are senders.
void senderStarted(const QString& claimer);
void senderEnded(const QString& claimer);

// A living sender works on the campaign: it is no run that broke off, and nobody else may
// resume it.
bool campaignHeld(SqlDatabase& db, qint64 campaign);
