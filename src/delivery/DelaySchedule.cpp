#include "DelaySchedule.h"

#include "core/TextUtils.h"

#include <limits>

namespace {
// The integer a text starts with (optional sign, then digits); 0 when there is none.
int leadingInteger(const QString& text) {
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text.at(i) == u'-' || text.at(i) == u'+'))
        negative = text.at(i++) == u'-';
    qint64 value = 0;
    for (; i < text.size() && text.at(i) >= u'0' && text.at(i) <= u'9'; ++i) {
        value = value * 10 + (text.at(i).unicode() - u'0');
        if (value > std::numeric_limits<int>::max())
            return negative ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    }
    return int(negative ? -value : value);
}

QString part(int value, const char* singular, const char* plural) {
    return QString::fromLatin1(value >= 2 ? plural : singular).arg(value);
}
} // namespace

const QStringList& delayedCountEntries() {
    static const QStringList entries = {"1",  "2",   "3",   "4",   "5",   "10",  "15",  "20",  "25",  "50",
                                        "75", "100", "150", "200", "250", "300", "400", "500", "1000"};
    return entries;
}

const QStringList& delayedTimeEntries() {
    static const QStringList entries = {
        "5  Seconds",  "10 Seconds",  "15 Seconds",  "20 Seconds",  "25 Seconds",  "30 Seconds",
        "35 Seconds",  "40 Seconds",  "45 Seconds",  "50 Seconds",  "55 Seconds",  " 1  Minute",
        " 2  Minutes", " 3  Minutes", " 4  Minutes", " 5  Minutes", " 6  Minutes", " 7  Minutes",
        " 8  Minutes", " 9  Minutes", "10 Minutes",  "20 Minutes",  "30 Minutes",  "40 Minutes",
        "50 Minutes",  " 1  Hour",    " 2  Hours",   " 4  Hours",   " 5  Hours",   " 8  Hours",
        "10 Hours",    "12 Hours"};
    return entries;
}

bool DelaySchedule::takesPauses() const {
    return enabled && !noPause && (unit == u"S" || unit == u"M" || unit == u"H");
}

qint64 DelaySchedule::pauseMilliseconds() const {
    if (unit == u"S")
        return qint64(amount) * 1000;
    if (unit == u"M" || unit == u"H")
        return qint64(amount) * 60000;
    return 0;
}

DelaySchedule parseDelaySchedule(bool enabled, const QString& countText, const QString& timeText) {
    DelaySchedule schedule;
    schedule.enabled = enabled;
    schedule.count = leadingInteger(Trim_Str(countText));
    const QString length = Trim_Str(timeText);
    const QString head = Left_Str_substringToIndex(length, 4);
    schedule.unit = head.size() > 3 ? head.mid(3, 1) : QString();
    const QString firstTwo = Left_Str_substringToIndex(length, 2);
    schedule.noPause = length == QLatin1String("No Pause");
    if (!length.isEmpty() && firstTwo != QLatin1String("No")) {
        schedule.amount = leadingInteger(firstTwo);
        if (schedule.unit == u"H")
            schedule.amount *= 60;
    }
    return schedule;
}

QString pauseCountdownText(int seconds) {
    const int h = seconds / 3600;
    const int m = (seconds % 3600) / 60;
    const int r = (seconds % 3600) % 60;
    QString text = QStringLiteral("Pausing the process for ");
    if (h >= 1)
        text += part(h, "%1 Hour ", "%1 Hours ") + part(m, "%1 Minute ", "%1 Minutes ") +
                part(r, "%1 Second.", "%1 Seconds.");
    else if (m == 0)
        text += part(r, "%1 Second.", "%1 Seconds.");
    else
        text += part(m, "%1 Minute ", "%1 Minutes ") + part(r, "%1 Second.", "%1 Seconds.");
    return text;
}
