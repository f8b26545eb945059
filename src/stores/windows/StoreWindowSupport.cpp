#include "StoreWindowSupport.h"

#include "core/Clock.h"
#include "core/MainWindows.h"
#include "list/windows/BulkSmsWindow.h"

#include <algorithm>
#include <chrono>

BulkSmsWindow* ActsOnMainWindows::activeStoreWindow() const { return activeBulkSmsWindow(m_mainWindows); }

bool ActsOnMainWindows::androidInFront() const {
    return m_mainWindows != nullptr && m_mainWindows->frontKind() == MainWindowController::Kind::Android;
}

void restBeforeShowing(QObject* window, std::function<void()> show) {
    Clock::after(std::chrono::seconds(1), window, std::move(show));
}

QList<int> validRows(QList<int> rows, int size) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    rows.erase(std::remove_if(rows.begin(), rows.end(), [size](int r) { return r < 0 || r >= size; }),
               rows.end());
    return rows;
}
