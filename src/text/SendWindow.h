#pragma once
// A daily send window in the recipient's local time ("09:00-20:00"): a recipient is sent to
// only while the local time is inside it in every zone the number may be in (RecipientZones).
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

struct SendWindow {
    int startMinute = 0; // minute of the local day the window opens (inside)
    int endMinute = 0;   // minute it closes (outside); before startMinute overnight ("21:00-07:00")

    // "09:00-20:00", "9:00-20:00", "21:00-07:00"; nothing, with why in reason, for anything else
    // (an empty window such as "09:00-09:00" included).
    static std::optional<SendWindow> parse(const QString& text, QString* reason = nullptr);
    // "09:00-20:00"
    QString text() const;
    bool containsMinute(int minuteOfDay) const;
};

// True when the local time in EVERY zone is inside the window: a number that may be in several
// zones is sent to only when it is a proper hour in all of them. A zone this computer does not
// know is never open; an empty list (no zone known for the number) sets no bound.
bool isOpen(const SendWindow& window, const QStringList& zones, const QDateTime& utc);

// The earliest instant at or after utc at which isOpen holds, within the next 8 days
// (daylight-saving changes included); nothing when the zones never share the window in that
// time (a one-hour window across zones twelve hours apart): the window cannot hold for them.
std::optional<QDateTime> nextOpening(const SendWindow& window, const QStringList& zones,
                                     const QDateTime& utc);

// What a campaign shows for `count` recipients waiting on these zones: "waiting for 09:00 in
// America/Chicago (3 recipients)", naming the zone whose opening is the one awaited; why the
// window cannot hold when it never opens; "" when it is open.
QString waitingText(const SendWindow& window, const QStringList& zones, const QDateTime& utc, int count);

// Why a zone given by the operator (one zone for a whole campaign) cannot be used, or "" when
// it can: "America/Chicago" is taken, "Chicago" and "../../etc/passwd" are not.
QString zoneRefusal(const QString& zone);
