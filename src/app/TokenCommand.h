#pragma once
// "bulksms token create NAME | revoke NAME | list": the bearer tokens of the HTTP API.
#include <QStringList>

int runToken(const QStringList& arguments);
