#pragma once
// The JSON-lines record of what the network received: one object per message, appended with
// a single write so that several modems may share one file. What happened on the other way
// shares the file as objects with an "event" key: "delivered" (a message the network handed
// to a modem: device, from, text, parts, total, dcs, timestamp, pdus, indexes on the SIM,
// lost: the part that never arrived) and "deleted" (device, index, status, address, text).
#include "ModemConfig.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

namespace sim {

class MessageLog {
public:
    explicit MessageLog(QString path = {}) : m_path(std::move(path)) {}
    bool enabled() const { return !m_path.isEmpty(); }
    // Appends one line; false (and a log line) when the file cannot be written.
    bool append(const ReceivedMessage& message) const;
    bool appendEvent(const QJsonObject& event) const;

    // One message as a compact JSON object, without the line end. Keys: device, number,
    // text, parts, total, complete, dcs, smsc, mode, pdus.
    static QByteArray toJson(const ReceivedMessage& message);
    // Reads the received messages of a log back (events and lines that are not objects are skipped).
    static QList<ReceivedMessage> read(const QString& path);
    // The events of a log, in order.
    static QList<QJsonObject> readEvents(const QString& path);

private:
    bool appendLine(const QByteArray& line) const;
    QString m_path;
};

} // namespace sim
