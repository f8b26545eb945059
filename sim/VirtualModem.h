#pragma once
// A GSM modem on a pseudo-terminal: the computer opens devicePath() as it would a USB modem's
// serial port and talks AT to it. The modem never changes the line settings of that side,
// so a client that leaves the terminal in canonical mode with echo sees exactly the trouble
// it would see on a real modem line.
//
// Messages: received() lists every accepted message, concatenated ones joined by their
// header; a message whose parts are still missing is listed with complete == false. The
// JSON-lines log (when logPath is set) gets a line when a message is complete, and a line
// for each incomplete one when the modem stops or is unplugged, or when a new message
// reusing its reference displaces it; also a line for each message delivered to the modem
// and each one deleted from its SIM.
#include "ModemConfig.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace sim {

class VirtualModem {
public:
    VirtualModem(ModemIdentity identity = {}, ModemBehaviour behaviour = {}, QString logPath = {});
    ~VirtualModem(); // stops and closes the line
    VirtualModem(const VirtualModem&) = delete;
    VirtualModem& operator=(const VirtualModem&) = delete;

    bool start();                             // opens the pty pair (posix_openpt), serves on its own thread
    QString devicePath() const;               // the slave path to open, e.g. /dev/pts/7
    void unplug();                            // closes the line now
    bool isPlugged() const;                   // started and not unplugged (by unplug() or by behaviour)
    QList<ReceivedMessage> received() const;  // thread-safe
    QStringList commandLog() const;           // every command line received, in order (for session tests)
    void setBehaviour(const ModemBehaviour&); // takes effect for the next command

    // The network delivers a message to this modem (thread-safe): the modem takes it at once,
    // even in the middle of an exchange; a message for another modem ("to") is ignored.
    void deliver(const IncomingMessage& message);
    void deliver(const QString& from, const QString& text);
    // Follows a file of JSON lines (IncomingFeed) as it grows: each line is delivered.
    void followIncoming(const QString& path);

    // How an answer is cut into `bursts` writes (at least one byte each).
    static QList<QByteArray> splitIntoBursts(const QByteArray& answer, int bursts);

private:
    class Line;
    std::unique_ptr<Line> m_line;
};

} // namespace sim
