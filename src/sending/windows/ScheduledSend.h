#pragma once
// A main window's watch over the campaigns scheduled from its data folder on its road: every
// 30 s (prescribed time) it asks the store for one whose time has come, and when the window is
// free and has devices selected, hands it to the window to send through them. A due campaign
// that must wait says why in the window's status line, never in a box: nobody may be there.
// The store is read on a worker; the window hears of it on the main thread.
#include "campaigns/CampaignQueries.h"
#include "core/DataFolder.h"
#include "core/WorkerThread.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class ScheduledSend : public QObject {
    Q_OBJECT
public:
    struct Hooks {
        std::function<bool()> busy;       // a run is going, or about to
        std::function<bool()> hasDevices; // devices are selected to send with
        std::function<void(const CampaignToSend&)> send;
    };
    ScheduledSend(DataFolder folder, QString road, Hooks hooks, QObject* parent = nullptr);
    ~ScheduledSend() override;

    static constexpr std::chrono::seconds kCheckEvery{30};

    // Checks now, then every kCheckEvery until turned off. The desktop turns it on; a window
    // driven by a script or a test sends nothing on its own unless told to.
    void setEnabled(bool on);
    bool enabled() const { return m_enabled; }
    // One check at once (or right after the one under way).
    void check();
    // What the window's status line says of a due campaign that waits ("" when none does).
    QString statusLine() const { return m_status; }
    // Why the due campaign handed over could not go now (the window found it out).
    void showStatus(const QString& text) { setStatus(text); }

signals:
    void changed();

private:
    void take(const std::optional<CampaignToSend>& due, const QString& why);
    void setStatus(const QString& text);

    const DataFolder m_folder;
    const QString m_road;
    Hooks m_hooks;
    bool m_enabled = false;
    bool m_reading = false;
    bool m_checkAgain = false;
    QString m_status;
    QString m_toldRefusal; // a store refusal is logged once while it lasts
    QTimer m_timer;
    WorkerThread m_reader{QStringLiteral("schedule-check")};
};
