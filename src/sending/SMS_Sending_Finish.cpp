// The end of a sending run: the last port (or the dispatcher, when no port started) marks
// the untaken items stopped; the completion thread then waits for the last item, tells the
// operator how the run ended, and closes the window when the operator asked to.
#include "SMS_Sending.h"

#include "core/Clock.h"
#include "core/Operator.h"
#include "core/SendingLock.h"

using namespace std::chrono_literals;

void SMS_Sending::releaseRun(std::optional<SmsMode> portMode) {
    if (--m_runHolders > 0)
        return;
    // Exactly one caller gets here: the run is over on every port.
    m_activity.stop();
    m_pause.endCountdown();
    m_pause.GSM_Pause_Delay_Time = 0;
    ui([this] {
        m_pauseLabel.clear();
        m_activityValue = 100;
    });
    if (portMode == SmsMode::Unknown)
        m_op.Show_MessageBox(
            QStringLiteral("Selected device is not working properly.Could not initialize device.\n"));
    Mark_Stopped_On_Curr_port_Th();
}

void SMS_Sending::Mark_Stopped_On_Curr_port_Th() {
    const QString why = !dataFailure().isEmpty()  ? kNotSentDataFailure
                        : m_stop.stop_requested() ? kStopped
                                                  : kNoPortLeft;
    const QList<int> marked = m_items.markStopped(why);
    if (!marked.isEmpty()) {
        QList<std::pair<int, SendingItem>> rows;
        for (int index : marked)
            rows.append({index, m_items.at(index)});
        uiWait([this, rows] {
            for (const auto& [index, item] : rows) {
                m_table.replace(index, recordOf(item));
                ++curr_send_item_4_th;
            }
        });
    }
    Clock::sleep(2s);
    if (!marked.isEmpty() && m_items.anyWaitingOrSending()) {
        ui([this] { Check_curr_tot_msg_Count(); });
        return;
    }
    startCompletion();
}

void SMS_Sending::startCompletion() {
    bool alreadyFinished = false;
    uiWait([this, &alreadyFinished] { alreadyFinished = m_state == RunState::Finished; });
    if (alreadyFinished)
        return;
    bool idle = false;
    if (!wait_to_fins_running.compare_exchange_strong(idle, true))
        return;
    uiWait([this] {
        m_closeEnabled = false;
        m_pleaseWait = true;
    });
    Wait_to_finish_Th();
}

QString SMS_Sending::unicodeSummary() const {
    const int count = m_sentAsUnicode;
    if (count == 0)
        return {};
    return count == 1
               ? QStringLiteral("1 message went as Unicode: the GSM alphabet cannot carry its text.")
               : QStringLiteral("%1 messages went as Unicode: the GSM alphabet cannot carry their text.")
                     .arg(count);
}

void SMS_Sending::Wait_to_finish_Th() {
    Clock::sleep(2s);
    while (m_items.anyWaitingOrSending() || m_reportingPorts > 0)
        Clock::sleep(1s);
    m_activity.stop();
    uiWait([this] {
        m_pleaseWait = false;
        m_stopVisible = false;
        m_activityVisible = false;
        m_overallValue = m_items.size();
        m_state = RunState::Finished;
        m_notice = QStringLiteral(
            "Sending Process, Finished.\n\nPlease do not operate your mobile device while message "
            "sending process is going on. Operating the mobile device functions during the "
            "messaging process may interrupt the execution and may result errors in process.");
        if (m_sentAsUnicode > 0)
            m_notice += QStringLiteral("\n\n") + unicodeSummary();
        m_title = QStringLiteral("Sending Process, Finished.");
        m_closeEnabled = true;
        m_exportVisible = true;
    });
    wait_to_fins_running = false;
    const QString failure = dataFailure();
    if (failure.isEmpty())
        m_journal.end(); // the run ended: nothing is left to resume
    m_sendingLock.reset();
    if (!failure.isEmpty()) {
        // What was written stays: once the disk has room, a resume sends the rest and nobody twice.
        m_op.Show_MessageBox(failure +
                             QStringLiteral("\n\nNothing more was sent. Once the data can be written "
                                            "again, resume the run to send the rest."));
        if (m_dlgClose)
            ui([this] { endModal(1); });
    } else if (m_dlgClose) {
        m_op.Show_MessageBox(QStringLiteral("SMS Sending process is stopped."));
        ui([this] { endModal(1); });
    } else if (m_stop.stop_requested()) {
        m_op.Show_MessageBox(QStringLiteral("SMS Sending process is stopped"));
    } else {
        m_op.Show_MessageBox(QStringLiteral("SMS Sending process is finished."));
    }
}
