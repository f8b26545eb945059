#pragma once
// The far end of a pseudo-terminal played by a script: every command line the port sends
// (up to its CR) goes to the responder, whose replies are written back as separate bursts.
// For answers no real modem model gives on demand: bare echoes, vendor error texts, silence.
// The wake-up a session starts with (ESC, then "AT") is answered "OK" by the line itself and
// counted apart, so that the responder and commands() see the session's own commands only.
#include "core/Clock.h"
#include "core/WorkerThread.h"
#include "sim/PtyPair.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>

class ScriptedLine {
public:
    using Responder = std::function<QByteArrayList(const QByteArray& command)>;

    // Bursts of one reply leave `burstGap` apart on the scaled clock; without one, 5 ms of
    // real time.
    explicit ScriptedLine(Responder responder, std::optional<Clock::Duration> burstGap = std::nullopt);

    QString devicePath() const { return m_pty.devicePath(); }
    // Command lines received so far, without their line ends.
    QByteArrayList commands() const;
    int wakeUps() const;

private:
    void serve(const std::stop_token& stop);

    sim::PtyPair m_pty;
    Responder m_responder;
    mutable std::mutex m_mutex;
    std::optional<Clock::Duration> m_burstGap;
    QByteArrayList m_commands;
    int m_wakeUps = 0;
    WorkerThread m_worker{QStringLiteral("scripted line")}; // last: stopped before the rest goes
};
