#pragma once
// "bulksms send": a campaign from the command line, through the GSM modems or an Android
// phone, on the same services as the desktop's Send.
#include <QStringList>

int runSend(const QStringList& arguments);
