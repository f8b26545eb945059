#pragma once
// What the virtual phones saw, one JSON object per event: "message" (number, text, mode),
// "intent" (the extras of each start of the companion app), "read" (the list file as the app
// read it: path and content), "injection" (a shell operator
// that reached a phone's shell unquoted, with the command line), "error" (what the app could
// not do; also a line of the incoming file that was skipped), "received" (a message that
// reached the phone's inbox: from, text, date in ms). Kept in memory and, with a path, appended to a
// JSON-lines file.
#include <QJsonObject>
#include <QList>
#include <QString>

#include <mutex>

namespace sim {

class PhoneLog {
public:
    explicit PhoneLog(QString path = {}) : m_path(std::move(path)) {}

    void append(const QJsonObject& event);
    QList<QJsonObject> events() const;
    QList<QJsonObject> events(const QString& type) const;

    // Reads a JSON-lines file back (lines that are not objects are skipped).
    static QList<QJsonObject> read(const QString& path);

private:
    mutable std::mutex m_mutex;
    QString m_path;
    QList<QJsonObject> m_events;
};

} // namespace sim
