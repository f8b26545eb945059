#pragma once
// "bulksms webhooks list [--json] | enable ID": the webhooks other programs registered, which
// of them were disabled and why, and turning one back on.
#include <QStringList>

int runWebhooks(const QStringList& arguments);
