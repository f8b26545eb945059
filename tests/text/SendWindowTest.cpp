#include "text/SendWindow.h"
#include "text/RecipientZones.h"

#include <QDateTime>
#include <QTimeZone>

#include <gtest/gtest.h>

namespace {

QDateTime utcAt(const char* iso) {
    QDateTime at = QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate);
    at.setTimeZone(QTimeZone::utc());
    return at;
}

SendWindow windowOf(const char* text) {
    QString reason;
    const std::optional<SendWindow> window = SendWindow::parse(QString::fromUtf8(text), &reason);
    EXPECT_TRUE(window) << text << ": " << qPrintable(reason);
    return window.value_or(SendWindow{});
}

const QString kLondon = QStringLiteral("Europe/London");
const QString kNewYork = QStringLiteral("America/New_York");
const QString kSydney = QStringLiteral("Australia/Sydney");

TEST(SendWindow, WindowsAreReadAndWrittenBack) {
    const struct {
        const char* text;
        int start, end;
        const char* written;
    } cases[] = {
        {"09:00-20:00", 540, 1200, "09:00-20:00"},
        {"9:00-20:00", 540, 1200, "09:00-20:00"},
        {" 09:30 - 17:45 ", 570, 1065, "09:30-17:45"},
        {"21:00-07:00", 1260, 420, "21:00-07:00"}, // overnight
        {"20:00-00:00", 1200, 0, "20:00-00:00"},
        {"00:00-23:59", 0, 1439, "00:00-23:59"},
        {"08:00\u201318:00", 480, 1080, "08:00-18:00"}, // en dash, as word processors write it
    };
    for (const auto& c : cases) {
        const SendWindow w = windowOf(c.text);
        EXPECT_EQ(w.startMinute, c.start) << c.text;
        EXPECT_EQ(w.endMinute, c.end) << c.text;
        EXPECT_EQ(w.text(), QString::fromLatin1(c.written)) << c.text;
    }
}

TEST(SendWindow, BadWindowsAreRefusedWithTheirReason) {
    const struct {
        const char* text;
        const char* reasonHas;
    } cases[] = {
        {"09:00-09:00", "opens and closes at the same time"},
        {"9:00-09:00", "opens and closes at the same time"},
        {"24:00-07:00", "24:00 is not a time of day"},
        {"09:00-20:60", "20:60 is not a time of day"},
        {"", "HH:MM-HH:MM"},
        {"9-17", "HH:MM-HH:MM"},
        {"09:00", "HH:MM-HH:MM"},
        {"09:00-20:00-21:00", "HH:MM-HH:MM"},
        {"-1:00-20:00", "HH:MM-HH:MM"},
        {"nine to five", "\"nine to five\" is not a send window"},
        {"\xD9\xA0\xD9\xA9:00-20:00", "HH:MM-HH:MM"}, // Arabic-Indic digits are not read as 00
    };
    for (const auto& c : cases) {
        QString reason;
        EXPECT_FALSE(SendWindow::parse(QString::fromUtf8(c.text), &reason)) << c.text;
        EXPECT_TRUE(reason.contains(QString::fromUtf8(c.reasonHas))) << c.text << ": " << qPrintable(reason);
    }
}

// London, New York and Sydney recipients in January (GMT, EST, AEDT): exactly those whose
// local time is inside 09:00-20:00 are open, and those outside learn when they open.
TEST(SendWindow, ExactlyTheRecipientsInsideTheirWindowAreOpen) {
    const SendWindow window = windowOf("09:00-20:00");
    const struct {
        const char* utc;
        bool london, newYork, sydney;
    } cases[] = {
        {"2026-01-15T08:59:00", false, false, true}, // Sydney 19:59
        {"2026-01-15T09:00:00", true, false, false}, // Sydney 20:00 closes
        {"2026-01-15T13:59:59", true, false, false}, {"2026-01-15T14:00:00", true, true, false},
        {"2026-01-15T19:59:00", true, true, false},  {"2026-01-15T20:00:00", false, true, false},
        {"2026-01-15T22:30:00", false, true, true},  // Sydney 09:30 on the 16th
        {"2026-01-16T01:00:00", false, false, true}, // New York 20:00 closes
    };
    const QStringList numbers{QStringLiteral("+442079460958"), QStringLiteral("+12127365000"),
                              QStringLiteral("+61293744000")};
    for (const auto& c : cases) {
        const QDateTime at = utcAt(c.utc);
        EXPECT_EQ(isOpen(window, zonesOfNumber(numbers[0]), at), c.london) << c.utc;
        EXPECT_EQ(isOpen(window, zonesOfNumber(numbers[1]), at), c.newYork) << c.utc;
        EXPECT_EQ(isOpen(window, zonesOfNumber(numbers[2]), at), c.sydney) << c.utc;
    }
    const QDateTime night = utcAt("2026-01-15T10:00:00");
    EXPECT_EQ(nextOpening(window, {kNewYork}, night), utcAt("2026-01-15T14:00:00"));
    EXPECT_EQ(nextOpening(window, {kSydney}, night), utcAt("2026-01-15T22:00:00"));
    EXPECT_EQ(nextOpening(window, {kLondon}, night), night) << "open now: now";
    EXPECT_EQ(waitingText(window, {kNewYork}, night, 3),
              QStringLiteral("waiting for 09:00 in America/New_York (3 recipients)"));
    EXPECT_EQ(waitingText(window, {kSydney}, night, 1),
              QStringLiteral("waiting for 09:00 in Australia/Sydney (1 recipient)"));
    EXPECT_EQ(waitingText(window, {kLondon}, night, 2), QString());
    // Seconds are kept: a claim at 13:59:30 waits 30 seconds, not a minute.
    EXPECT_EQ(nextOpening(window, {kNewYork}, utcAt("2026-01-15T13:59:30")), utcAt("2026-01-15T14:00:00"));
}

// Around each daylight-saving change the opening moves by the hour, on the right day.
TEST(SendWindow, NextOpeningFollowsDaylightSavingChanges) {
    const SendWindow window = windowOf("09:00-20:00");
    const struct {
        const char* zone;
        const char* from;
        const char* opening;
    } cases[] = {
        // United States, 2026-03-08: 09:00 EDT is 13:00Z, the day before 09:00 EST was 14:00Z.
        {"America/New_York", "2026-03-07T02:00:00", "2026-03-07T14:00:00"},
        {"America/New_York", "2026-03-08T02:00:00", "2026-03-08T13:00:00"},
        {"America/Chicago", "2026-03-08T02:00:00", "2026-03-08T14:00:00"},
        // United Kingdom, 2026-03-29: BST starts at 01:00Z.
        {"Europe/London", "2026-03-28T21:00:00", "2026-03-29T08:00:00"},
        {"Europe/London", "2026-03-27T21:00:00", "2026-03-28T09:00:00"},
        // Australia, 2026-04-05: AEDT ends; 09:00 AEST is 23:00Z the day before.
        {"Australia/Sydney", "2026-04-04T10:00:00", "2026-04-04T23:00:00"},
        {"Australia/Sydney", "2026-04-03T10:00:00", "2026-04-03T22:00:00"},
        // Back to standard time in the United States, 2026-11-01.
        {"America/New_York", "2026-11-01T02:00:00", "2026-11-01T14:00:00"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(nextOpening(window, {QString::fromLatin1(c.zone)}, utcAt(c.from)), utcAt(c.opening))
            << c.zone << " from " << c.from;
}

// A window whose opening falls in an hour the clock skips opens when the clock jumps into it;
// one inside a repeated hour opens in both of its passes.
TEST(SendWindow, WindowsInsideSkippedAndRepeatedHours) {
    const SendWindow skipped = windowOf("02:30-05:00");
    // 2026-03-08 in New York: 02:00 EST becomes 03:00 EDT at 07:00Z.
    EXPECT_EQ(nextOpening(skipped, {kNewYork}, utcAt("2026-03-08T05:00:00")), utcAt("2026-03-08T07:00:00"));
    EXPECT_EQ(waitingText(skipped, {kNewYork}, utcAt("2026-03-08T05:00:00"), 1),
              QStringLiteral("waiting for 03:00 in America/New_York (1 recipient)"));

    const SendWindow repeated = windowOf("01:30-01:45");
    // 2026-11-01 in New York: 01:00-02:00 comes twice, as EDT (05:00Z) and as EST (06:00Z).
    EXPECT_EQ(nextOpening(repeated, {kNewYork}, utcAt("2026-11-01T04:00:00")), utcAt("2026-11-01T05:30:00"));
    EXPECT_EQ(nextOpening(repeated, {kNewYork}, utcAt("2026-11-01T05:50:00")), utcAt("2026-11-01T06:30:00"));
}

TEST(SendWindow, OvernightWindows) {
    const SendWindow window = windowOf("21:00-07:00");
    const struct {
        const char* utc;
        bool open;
    } cases[] = {
        {"2026-01-15T06:59:00", true}, {"2026-01-15T07:00:00", false}, {"2026-01-15T20:59:00", false},
        {"2026-01-15T21:00:00", true}, {"2026-01-16T00:00:00", true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(isOpen(window, {kLondon}, utcAt(c.utc)), c.open) << c.utc;
    EXPECT_EQ(nextOpening(window, {kLondon}, utcAt("2026-01-15T07:00:00")), utcAt("2026-01-15T21:00:00"));
    // London and New York share 02:00-07:00Z (London 21:00-07:00 and New York from 21:00 EST).
    EXPECT_EQ(nextOpening(window, {kLondon, kNewYork}, utcAt("2026-01-15T07:00:00")),
              utcAt("2026-01-16T02:00:00"));
    EXPECT_EQ(waitingText(window, {kLondon, kNewYork}, utcAt("2026-01-15T07:00:00"), 4),
              QStringLiteral("waiting for 21:00 in America/New_York (4 recipients)"));
}

TEST(SendWindow, WindowsThatCannotHoldGiveNothing) {
    const QDateTime at = utcAt("2026-01-15T10:00:00");
    const SendWindow hour = windowOf("09:00-10:00");
    EXPECT_FALSE(nextOpening(hour, {kNewYork, QStringLiteral("Asia/Tokyo")}, at));
    EXPECT_EQ(waitingText(hour, {kNewYork, QStringLiteral("Asia/Tokyo")}, at, 2),
              QStringLiteral("the send window 09:00-10:00 is never open in America/New_York, Asia/Tokyo at "
                             "once (2 recipients)"));
    // London, New York and Sydney never share a day's 09:00-20:00.
    EXPECT_FALSE(nextOpening(windowOf("09:00-20:00"), {kLondon, kNewYork, kSydney}, at));
    // An unknown zone is never open: nothing is sent on a guess.
    const QStringList unknown{QStringLiteral("Mars/Olympus_Mons")};
    EXPECT_FALSE(isOpen(windowOf("00:00-23:59"), unknown, at));
    EXPECT_FALSE(nextOpening(windowOf("00:00-23:59"), unknown, at));
    EXPECT_EQ(waitingText(windowOf("00:00-23:59"), unknown, at, 1),
              QStringLiteral("unknown time zone \"Mars/Olympus_Mons\" (1 recipient)"));
}

// The operator's one zone for a campaign: real zone names pass, anything else is refused and
// never read as a path.
TEST(SendWindow, ForcedZonesAreChecked) {
    for (const char* zone :
         {"America/Chicago", "Europe/London", "Asia/Kolkata", "UTC", "America/Indiana/Knox"})
        EXPECT_EQ(zoneRefusal(QString::fromLatin1(zone)), QString()) << zone;
    for (const char* zone : {"", "Chicago", "EST5EDT", "Foo5", "America/Nowhere", "../../../etc/passwd",
                             "/etc/localtime", "America/../Europe/London", "America//Chicago", "UTC+05:00"})
        EXPECT_FALSE(zoneRefusal(QString::fromLatin1(zone)).isEmpty()) << zone;
    EXPECT_FALSE(isOpen(windowOf("00:00-23:59"), {QStringLiteral("../../../etc/passwd")},
                        utcAt("2026-01-15T10:00:00")));
    // A forced zone is a one-zone list.
    EXPECT_TRUE(
        isOpen(windowOf("09:00-20:00"), {QStringLiteral("America/Chicago")}, utcAt("2026-01-15T15:00:00")));
}

} // namespace
