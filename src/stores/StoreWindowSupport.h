#pragma once
// Small things the stored-list windows share.
#include <QList>

class BulkSmsWindow;

// The main window the stored-list windows act on (by gsm_and_none); may be null.
BulkSmsWindow* activeStoreWindow();

// Waits about one second (on the core clock) with the main thread's events flowing, as the
// windows do between starting their load and showing themselves.
void restBeforeShowing();

// Rows sorted ascending without duplicates, those outside 0..size-1 dropped.
QList<int> validRows(QList<int> rows, int size);
