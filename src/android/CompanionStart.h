#pragma once
// Starting the companion app for one message: the adb arguments, and the start itself with
// its second attempt.
#include <QString>
#include <QStringList>

// Starts the companion app for one message; the output of the start.
QString Send_AN_MSG_Command(const QString& number, const QString& message, bool test);
// The adb arguments of one start (attempt 1 or 2), for the builders' tests.
QStringList sendMessageArguments(const QString& number, const QString& message, bool test, int attempt);
// The activity manager could not start the companion app (not installed, or gone): nothing
// was sent, whatever the judge of the start's output says.
bool appDidNotStart(const QString& output);
