#pragma once
// The Android window's progress windows (single-shot and one-by-one): what they show, and
// their Stop button. The sending thread changes them through the main thread; views and the
// command line read them there and refresh on changed().
#include <QObject>
#include <QString>

#include <atomic>
#include <functional>
#include <stop_token>

class Operator;

class AndroidSendingProgress : public QObject {
    Q_OBJECT
public:
    explicit AndroidSendingProgress(Operator& op, QObject* parent = nullptr);

    struct State {
        bool visible = false;
        bool singleShot = false;
        int total = 0;
        int done = 0; // the total bar
        QString totalText;
        QString counterText; // "%d / %d Message"
        QString currentText; // the number in hand, or "... is Skipped."
        QString statusText;  // "Initializing Mobile device to send sms...", ...
        QString pauseText;   // the delayed-delivery countdown
        int busy = 0;        // the busy bar, 0..100
        bool stopEnabled = false;
    };
    const State& state() const { return m_state; }

    // From any thread: the change is applied on the main thread.
    void update(const std::function<void(State&)>& change);

    // Stop, after the operator confirms; while the question is shown no new message goes
    // out, and "No" lets the run go on where it was.
    void Stop_Btn();
    bool stopRequested() const { return m_stop; }
    bool held() const { return m_held; }
    // A new run's stop (before its thread starts).
    void clearStop() { m_stop = false; }
    void requestStop() {
        m_stop = true;
        m_held = false;
        if (m_stopRun)
            m_stopRun();
    }
    // The run the window shows: held while the operator is asked, stopped on Yes.
    void setRunControls(std::function<void(bool)> hold, std::function<void()> stop) {
        m_holdRun = std::move(hold);
        m_stopRun = std::move(stop);
    }

signals:
    void changed();

private:
    void hold(bool on);

    Operator& m_op;
    State m_state;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_held{false};
    std::function<void(bool)> m_holdRun;
    std::function<void()> m_stopRun;
};
