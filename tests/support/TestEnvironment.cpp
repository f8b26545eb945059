#include "TestEnvironment.h"

#include "core/DataFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>

#include <sys/stat.h>

TestDataHome::TestDataHome() : folder(dataHome(), resources()) {
    QDir(m_dir.path()).mkpath(QStringLiteral("data"));
    QDir(m_dir.path()).mkpath(QStringLiteral("resources"));
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(dataHome()));
    qputenv("BULKSMS_RESOURCES", QFile::encodeName(resources()));
    folder.adoptForProcess();
}

TestDataHome::~TestDataHome() {
    qunsetenv("BULKSMS_DATA_HOME");
    qunsetenv("BULKSMS_RESOURCES");
}

QString TestDataHome::dataHome() const { return m_dir.path() + QStringLiteral("/data"); }
QString TestDataHome::resources() const { return m_dir.path() + QStringLiteral("/resources"); }

bool spinUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeout.count())
            return condition();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

unsigned permissionsOf(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return 0;
    return st.st_mode & 07777;
}

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
}
