#pragma once
// Test helpers: a private data home and resource folder per test, and waiting on the
// main thread's event loop for something a worker does.
#include <QByteArray>
#include <QTemporaryDir>

#include <chrono>
#include <functional>

// Points BULKSMS_DATA_HOME and BULKSMS_RESOURCES at fresh temporary folders and fixes
// the data paths from them. Restores nothing global but the environment variables.
class TestDataHome {
public:
    TestDataHome();
    ~TestDataHome();
    QString root() const { return m_dir.path(); }
    QString dataHome() const;
    QString resources() const;

private:
    QTemporaryDir m_dir;
};

// A file's permission bits, and its bytes ("<unreadable>" when it cannot be read).
unsigned permissionsOf(const QString& path);
QByteArray readAll(const QString& path);

// Processes events until condition() holds or the time-out passes; returns condition().
bool spinUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds timeout = std::chrono::milliseconds(10000));
