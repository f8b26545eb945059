#pragma once
// Messages that people send to the virtual devices, read from a file of JSON lines:
//   {"from": "+447700900001", "text": "STOP", "at": "2024-05-01T12:00:00+01:00"}
// "at" (optional) is an ISO 8601 time or milliseconds since the epoch. Optional too:
// "alphanumeric", "eight_bit", "sixteen_bit_reference", "out_of_order" (booleans), "drop_part"
// (a part number) and "to" (the IMEI of a modem or the serial of a phone: only that one gets it).
// The file is followed as it grows: each poll reads the whole lines appended since the last one.
// A line that is not such an object is reported and skipped, never fatal.
#include "ModemConfig.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace sim {

class IncomingFeed {
public:
    explicit IncomingFeed(QString path) : m_path(std::move(path)) {}

    struct Batch {
        QList<IncomingMessage> messages;
        QStringList problems; // one per line skipped, naming the line
    };
    // The messages of the lines completed since the last poll.
    Batch poll();

    // One line's message; nothing, with the reason, when the line is not one.
    static std::optional<IncomingMessage> parseLine(const QByteArray& line, QString* problem);

    // Longest text taken: a message of more parts than a concatenation header can number is no
    // message a network delivers.
    static constexpr qsizetype kMaxText = 20000;

private:
    QString m_path;
    qint64 m_offset = 0;
    QByteArray m_partial; // the start of a line still being written
    int m_lineNumber = 0;
};

} // namespace sim
