#pragma once
// What both main windows put beside Send: "Send later...", and the status line of a scheduled
// campaign that is due but waits.
#include <functional>

class BulkSmsWindow;
class QHBoxLayout;
class QWidget;
class ScheduledSend;

// Inserts the button at `at` in the bar and the status line right after it; the button calls
// pressed() and is off while a load fills the window's list.
void addSendLater(QHBoxLayout* bar, int at, QWidget* owner, BulkSmsWindow& window, ScheduledSend& schedule,
                  const std::function<void()>& pressed);
