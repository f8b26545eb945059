// The end of a sending run: once the engine's last device (or its dispatcher, when no device
// started) has marked the untaken items, the completion thread waits for the last item, tells
// the operator how the run ended, and closes the window when the operator asked to.
#include "SMS_Sending.h"

#include "Gsm_Bulk_Sms_Wnd.h"
#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "gsm/ModemHotplug.h"

using namespace std::chrono_literals;

void SMS_Sending::afterDevicesReleased() {
    // The items still waiting were marked when the last device let the run go.
    const bool marked = m_markedAtEnd;
    m_waitingNote.clear(); // nobody waits on a run that has ended
    m_plugging.reset();    // nothing more can join it
    emit changed();
    spawn(QStringLiteral("sms-finish"), [this, marked] {
        Clock::sleep(2s);
        if (marked && m_run->anyWaitingOrSending()) {
            ui([this] { Check_curr_tot_msg_Count(); });
            return;
        }
        startCompletion();
    });
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

QString SMS_Sending::unicodeSummary() const { return ::unicodeSummary(sentAsUnicode()); }

void SMS_Sending::Send_Not_Yet_Sent_Btn() {
    if (m_state != RunState::Finished || m_notYetSent == 0)
        return;
    endModal(1);
    MainThread::post([window = &m_window] { window->sendNotYetSent(); });
}

void SMS_Sending::Wait_to_finish_Th() {
    Clock::sleep(2s);
    while (m_run->anyWaitingOrSending() || m_run->reporting() || !m_run->released())
        Clock::sleep(1s);
    m_activity.stop();
    uiWait([this] {
        m_pleaseWait = false;
        m_stopVisible = false;
        m_activityVisible = false;
        m_overallValue = m_run->record().size();
        m_state = RunState::Finished;
        m_notice = QStringLiteral(
            "Sending Process, Finished.\n\nPlease do not operate your mobile device while message "
            "sending process is going on. Operating the mobile device functions during the "
            "messaging process may interrupt the execution and may result errors in process.");
        if (sentAsUnicode() > 0)
            m_notice += QStringLiteral("\n\n") + unicodeSummary();
        const QList<SendingItem> all = m_run->record().all();
        if (m_run->stopRequested() || m_dlgClose)
            m_notice += QStringLiteral("\n\n") + stoppedSummary(all);
        // A scheduled campaign's recipients are not the list's rows: the list's last run stays.
        if (!m_attached)
            m_window.lastRun().remember(all, m_window.list());
        m_notYetSent = m_attached ? 0 : notYetSentCount(all);
        m_title = QStringLiteral("Sending Process, Finished.");
        m_closeEnabled = true;
        m_exportVisible = true;
    });
    wait_to_fins_running = false;
    const QString failure = dataFailure();
    m_campaign->end();
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
    } else if (m_run->stopRequested()) {
        m_op.Show_MessageBox(QStringLiteral("SMS Sending process is stopped"));
    } else {
        m_op.Show_MessageBox(QStringLiteral("SMS Sending process is finished."));
    }
}
