#pragma once
// The JSON-lines record of what the network received: one object per message, appended with
// a single write so that several modems may share one file.
#include "ModemConfig.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace sim {

class MessageLog {
public:
    explicit MessageLog(QString path = {}) : m_path(std::move(path)) {}
    bool enabled() const { return !m_path.isEmpty(); }
    // Appends one line; false (and a log line) when the file cannot be written.
    bool append(const ReceivedMessage& message) const;

    // One message as a compact JSON object, without the line end. Keys: device, number,
    // text, parts, total, complete, dcs, smsc, mode, pdus.
    static QByteArray toJson(const ReceivedMessage& message);
    // Reads a log back (lines that are not objects are skipped).
    static QList<ReceivedMessage> read(const QString& path);

private:
    QString m_path;
};

} // namespace sim
