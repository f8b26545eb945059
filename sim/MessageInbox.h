#pragma once
// The receiving side of a virtual modem: messages the network delivers (SMS-DELIVER parts)
// and status reports the modem keeps go to the SIM's store and are announced as "+CNMI"
// asks ("+CMTI" / "+CDSI" for a stored one, "+CMT" handed straight over). While the SIM is
// full they wait in the network, in order, and are stored as places are freed. It also
// answers the store's commands and takes what "AT+CMGW" writes.
#include "DeliverPdu.h"
#include "ModemCommands.h"
#include "SimCommands.h"
#include "SimStore.h"

#include <QJsonObject>
#include <QList>
#include <QStringList>

#include <deque>
#include <memory>
#include <optional>

namespace sim {

class MessageInbox {
public:
    // `settings` are the session's (message format, character set, "+CNMI"), read as they change.
    MessageInbox(const ModemSettings& settings, QString device, int simSize);

    // A message from the network, its time stamp the modem's clock unless it carries one.
    void deliver(const IncomingMessage& message);
    // On the SIM before the modem started (unread, unannounced, not logged).
    void preload(const IncomingMessage& message);
    // A status report the modem keeps ("AT+CNMI=...,2"); announced as "+CDSI: \"SR\",<index>".
    void keepReport(SimEntry report);

    // The answer to a store command, nothing for others. Places it frees take waiting messages.
    std::optional<CommandResult> run(const AtCommand& command);
    // What "AT+CMGW" typed after its prompt becomes: "+CMGW: <index>", or an error.
    CommandResult write(const QByteArray& body, const CommandResult& prompt);

    // Unsolicited lines owed to the computer, unframed, in order.
    QStringList takeIndications() { return std::exchange(m_indications, {}); }
    // Log objects ("event": "delivered" / "deleted") since last asked.
    QList<QJsonObject> takeEvents() { return std::exchange(m_events, {}); }

    const SimStore& store() const { return m_store; }
    int waitingInNetwork() const { return int(m_waiting.size()); }

private:
    // One message's share of the log: written once its last arriving part has a place.
    struct Delivery {
        QJsonObject event;
        QList<int> indexes;
        int outstanding = 0;
    };
    struct Waiting {
        SimEntry entry;
        std::shared_ptr<Delivery> delivery; // null for a report
    };

    SimEntry entryOf(const DeliverPart& part) const;
    void storeWaiting();
    void finish(Delivery& delivery);

    const ModemSettings& m_settings;
    QString m_device;
    SimStore m_store;
    SimCommands m_commands;
    std::deque<Waiting> m_waiting;
    QStringList m_indications;
    QList<QJsonObject> m_events;
    int m_reference = 0; // concatenation references, one per long message
};

} // namespace sim
