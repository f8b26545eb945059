#pragma once
// "bulksms send": a campaign from the command line, through the GSM modems or an Android
// phone, on the same services as the desktop's Send.
#include <QStringList>

// Send: the campaign is created and sent by this process (other senders may help). Queue: it is
// only created, waiting for the senders ("bulksms campaign create"); its id is printed.
enum class SendMode { Send, Queue };
int runSend(const QStringList& arguments, SendMode mode = SendMode::Send);
