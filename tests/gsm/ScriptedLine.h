#pragma once
// The far end of a pseudo-terminal played by a script: every command line the port sends
// (up to its CR) goes to the responder, whose replies are written back as separate bursts.
// For answers no real modem model gives on demand: bare echoes, vendor error texts, silence.
#include "core/WorkerThread.h"
#include "sim/PtyPair.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

#include <functional>
#include <mutex>
#include <stop_token>

class ScriptedLine {
public:
    using Responder = std::function<QByteArrayList(const QByteArray& command)>;

    explicit ScriptedLine(Responder responder);

    QString devicePath() const { return m_pty.devicePath(); }
    // Command lines received so far, without their line ends.
    QByteArrayList commands() const;

private:
    void serve(const std::stop_token& stop);

    sim::PtyPair m_pty;
    Responder m_responder;
    mutable std::mutex m_mutex;
    QByteArrayList m_commands;
    WorkerThread m_worker{QStringLiteral("scripted line")}; // last: stopped before the rest goes
};
