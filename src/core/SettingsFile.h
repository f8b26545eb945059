#pragma once
// The operator's options, kept across restarts in one file of the data folder ("Settings.json",
// private to the user): a window reads its own keys when it loads, and each change is written
// at once through the durable writer. Windows and processes sharing the folder keep each
// other's keys: a change reads the file again, under the data lock, before it writes.
// The file is untrusted input: anything but a JSON object of at most 1 MiB reads as no options.
#include "DataFolder.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <functional>

class SettingsFile {
public:
    explicit SettingsFile(const DataFolder& folder);

    // Every key the file holds ({} when it is missing or unreadable: the defaults).
    QJsonObject read() const;
    // Sets key to value (a null value removes it); false, with "<path>: <reason>", when the
    // file could not be written (it then stays as it was).
    bool write(const QString& key, const QJsonValue& value, QString* error = nullptr) const;
    // Sets key to what change makes of its value as the file holds it now (undefined when the
    // file has no such key; a null result removes it), read and written under one hold of the
    // lock: a change to one entry of an object keeps the entries others wrote meanwhile.
    bool update(const QString& key, const std::function<QJsonValue(const QJsonValue& now)>& change,
                QString* error = nullptr) const;

    static QString path(const DataFolder& folder);

private:
    const DataFolder m_folder;
};
