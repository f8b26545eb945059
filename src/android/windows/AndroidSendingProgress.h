#pragma once
// The Android window's progress windows (single-shot and one-by-one): what they show (a row
// per recipient, a line per phone), their Stop button, and once the run has ended, its Export
// and Close. The sending thread changes them through the main thread; views read them there
// and refresh on changed().
#include "core/RecordTable.h"

#include <QMap>
#include <QObject>
#include <QSet>
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
        // Each phone of the run: what it is doing ("Sending to N", "Finished.") or why it left.
        QMap<QString, QString> phones;
        QStringList notices;     // "<phone>: <why its replies are not read>", each once
        QString waiting;         // who waits for their hours ("waiting for 09:00 in ..."), "" when nobody
        bool finished = false;   // the run has ended: Export and Close instead of Stop
        bool pleaseWait = false; // while the report is written
        QString sendRestText;    // "Send to the N not yet sent" after a run that did not reach everyone
    };
    const State& state() const { return m_state; }

    // From any thread: the change is applied on the main thread.
    void update(const std::function<void(State&)>& change);
    // A new run (main thread): no rows, no phone lines, the state as initial makes it.
    void start(const std::function<void(State&)>& initial);

    // The run's rows, one per recipient in list order (main thread).
    const RecordTable& rows() const { return m_rows; }
    void showRows(const RecordList& rows);
    void showRow(int index, const Record& row);
    // A phone took a recipient's message in hand; a phone said why it left the run.
    void phoneSending(const QString& phone, const QString& number);
    void phoneNote(const QString& phone, const QString& note);
    void phoneNotice(const QString& phone, const QString& notice);
    // The run has ended (statusText says how): the window stays with its rows until Close.
    void finish(const QString& statusText);

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

    // The finished run's report, written where the operator chooses (by exportReport); Close
    // hides the window.
    void setReportExport(std::function<void()> exportReport) { m_exportReport = std::move(exportReport); }
    void Export_Btn();
    void Close_Btn();
    // The finished run's "Send to the N not yet sent": a new run of those recipients.
    void setSendRest(std::function<void()> sendRest) { m_sendRest = std::move(sendRest); }
    void Send_Rest_Btn() {
        if (m_state.finished && !m_state.sendRestText.isEmpty() && m_sendRest)
            m_sendRest();
    }

signals:
    void changed();

private:
    void hold(bool on);

    Operator& m_op;
    State m_state;
    RecordTable m_rows;
    QSet<QString> m_phonesLeft; // their lines say why; the end of the run leaves them
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_held{false};
    std::function<void(bool)> m_holdRun;
    std::function<void()> m_stopRun;
    std::function<void()> m_exportReport;
    std::function<void()> m_sendRest;
};
