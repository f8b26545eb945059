#pragma once
// Small things the stored-list windows share.
#include <QList>

#include <functional>

class BulkSmsWindow;
class MainWindows;
class QObject;

// What a stored-list window acts on: the front one of the main windows it was given by whoever
// opens it (the window whose panel opened it).
class ActsOnMainWindows {
public:
    void actOn(const MainWindows* windows) { m_mainWindows = windows; }

protected:
    // The front main window; null before actOn.
    BulkSmsWindow* activeStoreWindow() const;
    // Whether the Android window is in front (false before actOn: the GSM side).
    bool androidInFront() const;

private:
    const MainWindows* m_mainWindows = nullptr;
};

// Shows the window (show) one second (on the core clock) after its load started, as the windows
// do; returns at once. Nothing is shown when window is gone by then.
void restBeforeShowing(QObject* window, std::function<void()> show);

// Rows sorted ascending without duplicates, those outside 0..size-1 dropped.
QList<int> validRows(QList<int> rows, int size);
