#pragma once
// Test helpers: a private data home and resource folder per test, and waiting on the
// main thread's event loop for something a worker does.
#include "core/DataFolder.h"
#include "core/DeviceSelection.h"

#include <QByteArray>
#include <QTemporaryDir>

#include <chrono>
#include <functional>

// Points BULKSMS_DATA_HOME and BULKSMS_RESOURCES at fresh temporary folders, makes the data
// folder over them and gives it the process's log and link rule, as the program's start does.
// Restores nothing global but the environment variables.
class TestDataHome {
    QTemporaryDir m_dir; // before folder, which is made from it

public:
    TestDataHome();
    ~TestDataHome();
    QString root() const { return m_dir.path(); }
    QString dataHome() const;
    QString resources() const;

    const DataFolder folder;
};

// A file's permission bits, and its bytes ("<unreadable>" when it cannot be read).
unsigned permissionsOf(const QString& path);
QByteArray readAll(const QString& path);

// The text of a text or HTML report: checks (as a test failure) that it is UTF-8 with one
// byte-order mark at its start and no other anywhere after it.
QString reportText(const QByteArray& bytes);

// Processes events until condition() holds or the time-out passes; returns condition().
bool spinUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds timeout = std::chrono::milliseconds(10000));

// Selects the modem at `path` in a GSM window's selection, with the record the device window
// would have made of it; the window takes it with applyDeviceSelection().
void selectModem(DeviceSelection& selection, const QString& path,
                 const QString& mode = QStringLiteral("PDU Mode"));

// One field of each record, top down.
QStringList columnOf(const RecordList& records, const QString& key);
