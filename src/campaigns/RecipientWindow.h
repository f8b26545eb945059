#pragma once
// A campaign's send window as its items meet it: the zones each recipient's clock may be in
// (one key per set of zones, kept with the item), and whether the window is open for a key now.
#include "sending/SendingRun.h"
#include "text/SendWindow.h"

#include <QHash>
#include <QString>

#include <optional>

// The zone key of a recipient: the campaign's own zone when it names one, else the zones the
// number's country and area say; a number that says none (no country known) is taken to be
// in this computer's zone.
QString recipientZoneKey(const RunSettings& settings, const QString& e164);

// The window of a campaign, answering for each key whether it is open now; the answers are
// kept a minute (of the program's clock), since a window opens and closes on the minute.
class RecipientWindow {
public:
    // Nothing for a campaign without a window (or one whose window cannot be read).
    static std::optional<RecipientWindow> of(const RunSettings& settings);

    bool isOpen(const QString& zoneKey, qint64 now);
    // When the window next opens for the key (ms since the epoch); 0 when it never does.
    qint64 nextOpening(const QString& zoneKey, qint64 now) const;
    // "waiting for 09:00 in America/Chicago (3 recipients)"
    QString waitingText(const QString& zoneKey, qint64 now, int count) const;

private:
    explicit RecipientWindow(SendWindow window) : m_window(window) {}
    SendWindow m_window;
    QHash<QString, std::pair<bool, qint64>> m_open; // by key: open, and until when that holds
};
