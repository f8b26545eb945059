#pragma once
// How a campaign is sent, as the store keeps it (JSON in its "options"): what the sender that
// takes it up reads back to send it the way its creator asked.
#include "sending/SendingRun.h"

QString optionsOf(const RunSettings& settings);
// The settings of a campaign's options, over the defaults; the road is the campaign's.
RunSettings settingsOf(const QString& options, const QString& road);
