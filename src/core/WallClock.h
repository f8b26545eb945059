#pragma once
// What time it is: the one source of the date and time of day for everything the system
// decides by them (schedules, send windows, limits per hour and day, the times it keeps).
//
// Tests move it: BULKSMS_FAKE_NOW="2026-11-26T08:59:00Z" starts it there, and from there it
// runs at the pace of the shrunk clock (at BULKSMS_CLOCK_SCALE=0.001 a real second is a
// thousand), so a day of schedule passes in seconds. BULKSMS_FAKE_NOW_FILE names a file
// holding such a time: whenever the file changes, the clock jumps to the time it holds and
// runs on from there, in every process that reads it.
#include <QDateTime>

namespace Clock {

// Now, in UTC.
QDateTime now();
// Now, in milliseconds since the epoch (UTC).
qint64 nowMs();
// True when a test set the time.
bool nowIsFaked();
// Reads BULKSMS_FAKE_NOW and BULKSMS_FAKE_NOW_FILE again (a process reads them at its first
// question; a test that changes them within one process asks for this).
void readNowFromEnvironment();

} // namespace Clock
