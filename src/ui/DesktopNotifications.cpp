#include "DesktopNotifications.h"

#include "core/AppState.h"
#include "core/Log.h"

#include <QApplication>
#include <QIcon>
#include <QStyle>
#include <QSystemTrayIcon>

#ifdef BULKSMS_HAVE_DBUS
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>
#endif

namespace {

// How long the service shows a notice (ms); the service's own default is often "until clicked".
constexpr int kShownFor = 10000;

void showInTray(const QString& title, const QString& text) {
    if (!QSystemTrayIcon::isSystemTrayAvailable() || !QSystemTrayIcon::supportsMessages()) {
        Show_NSLog_Message(QStringLiteral("A notification was not shown: the desktop shows none"));
        return;
    }
    // One icon for the program's life, shown only to carry the balloons.
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the main thread's one tray icon
    static QSystemTrayIcon* tray = [] {
        auto* icon = new QSystemTrayIcon(qApp);
        QIcon image = QApplication::windowIcon();
        if (image.isNull())
            image = QApplication::style()->standardIcon(QStyle::SP_MessageBoxInformation);
        icon->setIcon(image);
        icon->setToolTip(kApplicationName);
        return icon;
    }();
    tray->show();
    tray->showMessage(title, text, QSystemTrayIcon::Information, kShownFor);
}

} // namespace

void showDesktopNotification(const QString& title, const QString& text) {
#ifdef BULKSMS_HAVE_DBUS
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
        call << kApplicationName << uint(0) << QString() << title << text << QStringList() << QVariantMap()
             << kShownFor;
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), qApp);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, qApp, [watcher, title, text] {
            if (watcher->isError()) // no notification service on this desktop
                showInTray(title, text);
            watcher->deleteLater();
        });
        return;
    }
#endif
    showInTray(title, text);
}
