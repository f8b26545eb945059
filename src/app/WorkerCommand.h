#pragma once
// "bulksms worker": a sender without a list of its own. It takes up the queued campaigns of the
// store one after another and sends their items through its own devices, beside any other
// sender of the same store (on this computer or another), until stopped, or with --until-idle
// until nothing is left to send.
#include <QStringList>

int runWorker(const QStringList& arguments);
