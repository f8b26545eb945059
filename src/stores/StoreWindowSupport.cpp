#include "StoreWindowSupport.h"

#include "core/Clock.h"
#include "list/BulkSmsWindow.h"

#include <algorithm>
#include <chrono>

BulkSmsWindow* activeStoreWindow() { return activeBulkSmsWindow(); }

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
