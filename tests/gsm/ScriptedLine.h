#pragma once
// The far end of a pseudo-terminal played by a script: every command line the port sends
// (up to its CR) goes to the responder, whose replies are written back as separate bursts.
// For answers no real modem model gives on demand: bare echoes, vendor error texts, silence.
#include "PtyPair.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

class ScriptedLine {
public:
    using Responder = std::function<QByteArrayList(const QByteArray& command)>;

    explicit ScriptedLine(Responder responder);
    ~ScriptedLine();

    QString devicePath() const { return m_pty.slavePath(); }
    // Command lines received so far, without their line ends.
    QByteArrayList commands() const;

private:
    void serve();

    PtyPair m_pty;
    Responder m_responder;
    mutable std::mutex m_mutex;
    QByteArrayList m_commands;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
