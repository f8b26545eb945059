#pragma once
// Delayed delivery: rest for a while after every N messages. The two drop-down lists, the
// parsing of their texts into a schedule, and the countdown text shown during a pause.
#include <QString>
#include <QStringList>

const QStringList& delayedCountEntries(); // "1" ... "1000"
const QStringList& delayedTimeEntries();  // "5  Seconds" ... "12 Hours"

inline constexpr int kDefaultDelayedCountIndex = 6; // "15"
inline constexpr int kDefaultDelayedTimeIndex = 12; // " 2  Minutes"

struct DelaySchedule {
    bool enabled = false;
    int count = 0;        // messages between pauses
    QString unit;         // "S", "M", "H", or anything else for no pause
    int amount = 0;       // seconds for "S"; minutes for "M" and "H" (hours already turned into minutes)
    bool noPause = false; // the length text reads "No Pause"

    // Whether this schedule ever pauses, and for how long each time.
    bool takesPauses() const;
    qint64 pauseMilliseconds() const;
};

// Reads the schedule from the check box and the two choices, as they stand when a run starts.
DelaySchedule parseDelaySchedule(bool enabled, const QString& countText, const QString& timeText);

// "Pausing the process for ..." for a number of seconds.
QString pauseCountdownText(int seconds);
