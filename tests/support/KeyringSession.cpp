#include "KeyringSession.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <sys/types.h>

namespace KeyringSession {
namespace {

struct Session {
    QTemporaryDir folder;
    QProcess bus;
    QProcess keyring;
    QString why;
    bool up = false;

    bool begin() {
        const QString busDaemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        const QString keyringDaemon = QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon"));
        if (busDaemon.isEmpty() || keyringDaemon.isEmpty() || !folder.isValid()) {
            why = QStringLiteral("dbus-daemon or gnome-keyring-daemon is not installed");
            return false;
        }
        bus.start(busDaemon, {QStringLiteral("--session"), QStringLiteral("--nofork"),
                              QStringLiteral("--print-address=1")});
        if (!bus.waitForStarted(5000) || !bus.waitForReadyRead(5000)) {
            why = QStringLiteral("dbus-daemon did not start");
            return false;
        }
        const QByteArray address = bus.readLine().trimmed();
        for (const char* sub : {"home", "data", "config", "run"})
            QDir(folder.path()).mkpath(QString::fromLatin1(sub));
        QFile::setPermissions(folder.filePath(QStringLiteral("run")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QString::fromUtf8(address));
        env.insert(QStringLiteral("HOME"), folder.filePath(QStringLiteral("home")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), folder.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), folder.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.filePath(QStringLiteral("run")));
        keyring.setProcessEnvironment(env);
        keyring.start(keyringDaemon, {QStringLiteral("--unlock"), QStringLiteral("--components=secrets"),
                                      QStringLiteral("--foreground")});
        if (!keyring.waitForStarted(5000)) {
            why = QStringLiteral("gnome-keyring-daemon did not start");
            return false;
        }
        // The login keyring's password, on stdin; no event loop runs here to send it later.
        keyring.write("throwaway-test-password");
        keyring.waitForBytesWritten(5000);
        keyring.closeWriteChannel();
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.constData(), 1);
        // Up once it owns the Secret Service's name on the bus.
        const QString gdbus = QStandardPaths::findExecutable(QStringLiteral("gdbus"));
        for (int i = 0; i < 100; ++i) {
            QProcess names;
            names.start(gdbus, {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
                                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("--object-path"),
                                QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("--method"),
                                QStringLiteral("org.freedesktop.DBus.ListNames")});
            names.waitForFinished(5000);
            const QByteArray listed = names.readAllStandardOutput() + names.readAllStandardError();
            if (listed.contains("org.freedesktop.secrets"))
                return true;
            why = QString::fromUtf8(listed);
            QThread::msleep(50);
        }
        why = QStringLiteral("gnome-keyring-daemon did not take the Secret Service's name (%1): %2")
                  .arg(why, QString::fromUtf8(keyring.readAllStandardError()));
        return false;
    }
};

} // namespace

namespace {
pid_t g_busPid = 0;
pid_t g_keyringPid = 0;

// At exit, when Qt's objects may be gone already: the daemons are ended by their ids.
void endDaemons() {
    for (const pid_t pid : {g_keyringPid, g_busPid})
        if (pid > 0)
            ::kill(pid, SIGTERM);
}
} // namespace

bool start(QString* why) {
    // Never destroyed: a QProcess outliving the application's objects would complain; the
    // daemons end through endDaemons.
    static Session* const session = [] {
        auto* s = new Session;
        s->up = s->begin();
        g_busPid = pid_t(s->bus.processId());
        g_keyringPid = pid_t(s->keyring.processId());
        std::atexit(endDaemons);
        return s;
    }();
    if (!session->up && why)
        *why = session->why;
    return session->up;
}

} // namespace KeyringSession
