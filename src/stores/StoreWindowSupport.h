#pragma once
// Small things the stored-list windows share.
#include <QList>

#include <functional>

class BulkSmsWindow;
class QObject;

// The main window the stored-list windows act on (by gsm_and_none); may be null.
BulkSmsWindow* activeStoreWindow();

// Shows the window (show) one second (on the core clock) after its load started, as the windows
// do; returns at once. Nothing is shown when window is gone by then.
void restBeforeShowing(QObject* window, std::function<void()> show);

// Rows sorted ascending without duplicates, those outside 0..size-1 dropped.
QList<int> validRows(QList<int> rows, int size);
