#pragma once
// A virtual modem's session on a recorded line: what it writes, waits for and logs, all
// synchronous, for tests of its answers byte by byte.
#include "sim/ModemSession.h"

#include <QJsonObject>
#include <QList>

#include <utility>

namespace simtest {

using sim::ModemBehaviour;
using sim::ModemIdentity;
using sim::ModemSession;

// Records what the session does to its line; everything is synchronous.
class FakeLine final : public sim::ModemLine {
public:
    void echo(const QByteArray& bytes) override { wire += bytes; }
    void answer(const QByteArray& bytes) override { wire += bytes; }
    bool waitForNetwork(std::chrono::milliseconds delay) override {
        networkWaits.append(int(delay.count()));
        return true;
    }
    void commandLine(const QString& line) override { lines.append(line); }
    void acceptedPart(const sim::ReceivedMessage& part, const sim::Concatenation& c) override {
        parts.append(part);
        concatenations.append(c);
    }
    void hangUp() override { ++hangUps; }
    void unsolicited(const QByteArray& bytes) override { wire += bytes; }
    QList<sim::IncomingMessage> arrivals() override { return std::exchange(pendingArrivals, {}); }
    void networkEvent(const QJsonObject& event) override { events.append(event); }

    QByteArray take() { return std::exchange(wire, {}); }

    QByteArray wire;
    QList<int> networkWaits;
    QStringList lines;
    QList<sim::ReceivedMessage> parts;
    QList<sim::Concatenation> concatenations;
    int hangUps = 0;
    QList<sim::IncomingMessage> pendingArrivals; // taken while the network handles a message
    QList<QJsonObject> events;
};

struct Modem {
    explicit Modem(ModemBehaviour b = quiet(), ModemIdentity id = {})
        : behaviour(b), session(
                            id, [this] { return behaviour; }, line, QStringLiteral("/dev/pts/99")) {}
    static ModemBehaviour quiet() {
        ModemBehaviour b;
        b.echo = false;
        return b;
    }
    QByteArray send(const QByteArray& bytes) {
        session.feed(bytes);
        return line.take();
    }
    ModemBehaviour behaviour;
    FakeLine line;
    ModemSession session;
};

} // namespace simtest
