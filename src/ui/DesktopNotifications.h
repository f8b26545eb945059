#pragma once
// A passing notice on the desktop: through the desktop's notification service
// (org.freedesktop.Notifications on the session bus) where one answers, else as a balloon of a
// tray icon where the desktop has a tray; otherwise nothing. It returns at once: the service's
// answer (or its absence) is handled when it comes, and nothing here ever waits for it.
#include <QString>

void showDesktopNotification(const QString& title, const QString& text);
