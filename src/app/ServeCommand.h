#pragma once
// "bulksms serve": the HTTP API on the campaign store, without windows, until Ctrl-C.
#include <QStringList>

int runServe(const QStringList& arguments);
