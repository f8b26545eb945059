#pragma once
// A device for testing the sending engine's own policy: it stands for any device (the modem and
// the phone have their own tests against the virtual ones). Each answer is scripted per message,
// and every hand-over is recorded in order with the thread that made it. The test owns it and the
// run gets handles onto it, so what it saw outlives the run's threads.
#include "sending/SendingRun.h"

#include <QHash>
#include <QStringList>

#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

class ScriptedDevice {
public:
    explicit ScriptedDevice(QString name) : m_name(std::move(name)) {}

    // Set before the run starts. Answers: the scripted outcomes first, one per message, then
    // answer(message) (sent, when unset). An answer may block: it runs on the run's thread.
    QList<SendOutcome> script;
    std::function<SendOutcome(const OutgoingMessage&, std::stop_token)> answer;
    // A whole run at once; unset, the device takes messages one at a time.
    std::function<std::optional<QList<SendOutcome>>(const QList<OutgoingMessage>&)> batch;
    bool stillAnswers = true;
    // With reports asked for: the network's report (TP-ST) of a number, none for a number absent.
    // Reports come while the run listens for them, after the messages went.
    bool reportsDelivery = false;
    QHash<QString, int> reportStatus;

    struct Call {
        QString number, text;
        std::thread::id thread;
        bool afterStop; // the run's Stop was asked before the hand-over
        std::chrono::steady_clock::time_point at;
    };
    // A list of its own, not one sharing the device's: a reader while the run sends must not
    // hold a block the device's next call may move.
    QList<Call> calls() const {
        std::lock_guard lock(m_mutex);
        return {m_calls.cbegin(), m_calls.cend()};
    }
    QStringList numbers() const; // handed one at a time, in order
    QList<QStringList> batches() const { return locked(m_batches); }
    int prepared() const { return locked(m_prepared); }
    bool closed() const { return locked(m_closed); }

    DeviceOpener opener();

private:
    class Handle;
    template <typename T> T locked(const T& value) const {
        std::lock_guard lock(m_mutex);
        return value;
    }

    const QString m_name;
    mutable std::mutex m_mutex;
    QList<Call> m_calls;
    QList<QStringList> m_batches;
    int m_prepared = 0;
    bool m_closed = false;
    int m_nextReference = 0;
    QList<DeliveryReport> m_owed, m_reported;
};
