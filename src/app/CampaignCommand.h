#pragma once
// "bulksms campaign": campaigns in the store, apart from sending them. create queues one for
// the senders (the options of send); list, show, cancel and resend-unknown look at one or
// change it, from any computer that shares the store.
#include <QStringList>

int runCampaignCommand(const QStringList& arguments);
