#pragma once
// Times as the command line reads and prints them: in this computer's time zone unless an
// offset is written, ISO 8601 on the way out so scripts read them back.
#include <QString>

// "2026-11-26 09:00", "2026-11-26 09:00:30", "2026-11-26" (midnight) in the local zone, or ISO
// 8601 with its offset ("2026-11-26T09:00+01:00"); 0 when unreadable.
qint64 timeOf(const QString& text);
// The time in ISO 8601, in this computer's zone; "-" for 0 (not yet, or never).
QString timeText(qint64 ms);
