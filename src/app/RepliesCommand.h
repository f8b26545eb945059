#pragma once
// "bulksms inbox": the replies the devices received, as the store keeps them; "bulksms
// opt-out": the numbers that asked for no more messages, listed, added and removed.
#include <QStringList>

int runInbox(const QStringList& arguments);
int runOptOut(const QStringList& arguments);
