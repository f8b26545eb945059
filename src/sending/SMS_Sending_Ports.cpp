// The ports of a sending run: the dispatcher opens each chosen port into its session slot
// (two seconds apart) and starts one worker per working port; a worker takes waiting items
// one at a time and submits them until none is left, a stop is asked or its port fails.
#include "SMS_Sending.h"

#include "Gsm_Bulk_Sms_Wnd.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/Operator.h"
#include "core/SendingFlags.h" // msg_cnt, Pause_Timer_Running
#include "delivery/DelayedDeliveryPause.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemAnswers.h"

#include "gsm/ModemSessionPool.h"
#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"
#include "text/GsmAlphabet.h"
#include "text/NumberRules.h"
#include "text/SmsParts.h"
#include <QSet>

using namespace std::chrono_literals;

namespace {
const QString kPortNotWorking = QStringLiteral(
    "\nSelected device is not working properly. Please use Mobiles Connection Wizard for finding device or "
    "establishing connection.");
const QString kConnectionError = QStringLiteral("Device Connection Error!");
} // namespace

void SMS_Sending::copyPortDetails() {
    m_options.ports = m_window.sendingPorts();
    m_options.portChoice = m_window.sendingPortChoice();
    m_options.portDetails.clear();
    for (const QString& path : m_options.ports) {
        if (path == kAllDeviceChoice)
            continue;
        PortDetails details;
        details.mode = smsModeFromText(m_window.deviceDetail(path, QStringLiteral("SMSMode")));
        details.smsc = m_window.deviceDetail(path, QStringLiteral("UseCusSMSC")) == QLatin1String("N")
                           ? QString()
                           : m_window.deviceDetail(path, QStringLiteral("CusSMSC"));
        details.capability = m_window.deviceDetail(path, QStringLiteral("SMS_CAPABLE"));
        m_options.portDetails.insert(path, details);
    }
}

bool SMS_Sending::openPort(int slot, const QString& path, PortJob& job, std::stop_token stop) {
    MFCSMS& session = *mfc_sms_obj_arr.at(size_t(slot));
    const int lineFd = session.OpenSerialPort(path);
    if (lineFd == -1) {
        m_op.Show_MessageBox(kPortNotWorking);
        return false;
    }
    session.CloseSerialPort(lineFd);
    int fd = -1;
    if (session.port() == nullptr || !session.port()->isOpen()) {
        session.initPort_with_decp(path, fd);
        if (session.port() != nullptr)
            session.port()->setReadTimeout(1.0);
    } else {
        fd = session.port()->fileDescriptor();
    }
    if (fd < 0 || !session.Check_Connection(fd)) {
        session.closePort();
        return false;
    }
    job.portName = path;
    job.slot = slot;
    job.fd = fd;
    job.stop = std::move(stop);
    job.details = m_options.portDetails.value(path);
    return true;
}

void SMS_Sending::GSM_Send_Multi_Phone_Msg_Function(std::stop_token stop) {
    Guard::run("SMS_Sending::GSM_Send_Multi_Phone_Msg_Function", [&] {
        msg_cnt = 0;
        const QStringList& ports = m_options.ports;
        const QString& chosen = m_options.portChoice;
        const auto startWorker = [this](const PortJob& job) {
            ++m_runHolders;
            ++m_activePorts;
            const bool first = m_startedWorkers++ == 0;
            Show_NSLog_Message(job.portName + QStringLiteral(" start thread for sending"));
            spawn(QStringLiteral("sms-port-%1").arg(job.slot), [this, job] { Send_To_All_SMS_Func(job); });
            if (first)
                ui([this] { m_stopEnabled = true; });
        };
        if (chosen == kAllDeviceChoice) {
            const int rows = m_items.size();
            m_portsToCome =
                int(std::min<qsizetype>({ports.size() - ports.count(kAllDeviceChoice), rows, kMaxPorts}));
            int slot = 0;
            for (const QString& path : ports) {
                if (path == kAllDeviceChoice)
                    continue;
                if (stop.stop_requested() || slot + 1 > rows || slot >= kMaxPorts)
                    break;
                if (slot > 0)
                    Clock::sleep(2s);
                const int thisSlot = slot++;
                PortJob job;
                const bool opened = m_items.anyWaitingOrSending() && m_items.anyWaiting() &&
                                    openPort(thisSlot, path, job, stop);
                if (opened && m_items.anyWaiting()) {
                    startWorker(job); // counted as active before it stops being to come
                } else if (opened) {
                    Show_NSLog_Message(path + QStringLiteral(" no thread needed: nothing waits"));
                    mfc_sms_obj_arr.at(size_t(thisSlot))->closePort();
                }
                --m_portsToCome;
            }
            m_portsToCome = 0;
        } else if (ports.contains(chosen) && m_items.anyWaitingOrSending()) {
            PortJob job;
            if (openPort(0, chosen, job, stop))
                startWorker(job);
        }
        ui([this] { m_stopEnabled = true; });
    });
    releaseRun(std::nullopt);
}

void SMS_Sending::Send_To_All_SMS_Func(PortJob job) {
    MFCSMS& session = *mfc_sms_obj_arr.at(size_t(job.slot));
    Guard::run("SMS_Sending::Send_To_All_SMS_Func", [&] { sendFromPort(job, session); });
    session.closePort();
    --m_activePorts;
    releaseRun(job.details.mode);
}

int SMS_Sending::portsInRun() const {
    // In this order: the dispatcher counts a started port as active before it stops counting
    // it as to come, so the sum never reads low.
    const int toCome = m_portsToCome;
    return toCome + m_activePorts;
}

void SMS_Sending::leavePort(const QString& port, const QString& why) {
    Show_NSLog_Message(port + QStringLiteral(": ") + why);
    ui([this, port, why] { m_portStatuses.insert(port, why); });
}

void SMS_Sending::sendFromPort(const PortJob& job, MFCSMS& session) {
    if (job.stop.stop_requested() || !m_items.anyWaitingOrSending() || !m_items.anyWaiting())
        return;
    ui([this] {
        m_activityValue = 0;
        m_pauseLabel.clear();
    });
    const SmsMode mode = job.details.mode;
    if (mode == SmsMode::Pdu)
        session.Prepare_Modem_For_PDU_SMS(job.fd);
    else if (mode == SmsMode::Text)
        session.Prepare_Modem_For_Text_SMS(job.fd);
    if (mode != SmsMode::Unknown && session.formatRefused()) {
        // Its messages wait for the other ports; none is typed in a format the modem is not in.
        leavePort(job.portName,
                  QStringLiteral("Left the run: %1.").arg(ModemAnswers::formatRefusal(mode == SmsMode::Pdu)));
        return;
    }
    const QString date = sentItemDate();
    if (session.port() != nullptr)
        session.port()->setReadTimeout(1.0);
    const RunOptions options = m_options;
    // Reports are asked for only where the modem hands them over: a report it kept would fill
    // the SIM's memory instead.
    const bool reportsRouted = options.deliveryReports && session.Route_Status_Reports(job.fd);
    session.setStatusReportsRequested(reportsRouted);
    // The run goes on while a port may still hear of its messages' delivery.
    struct Reporting {
        std::atomic<int>& ports;
        bool on;
        ~Reporting() {
            if (on)
                --ports;
        }
    } reporting{m_reportingPorts, reportsRouted};
    if (reportsRouted)
        ++m_reportingPorts;
    if (options.deliveryReports && !reportsRouted) {
        const QString why = QStringLiteral(
            "No delivery reports: the device refused to hand them over or keep them (AT+CNMI).");
        Show_NSLog_Message(job.portName + QStringLiteral(": ") + why);
        ui([this, port = job.portName, why] { m_portStatuses.insert(port, why); });
    }
    DelayedDeliveryPause pause(
        options.schedule, m_pause, msg_cnt,
        {[this] { ui([] {}); },
         [this](bool visible) { ui([this, visible] { m_progressTextVisible = visible; }); },
         [this] { m_activity.stop(); }, [this] { m_activity.startTimerThread(); },
         [this] { ui([this] { m_activityValue = 0; }); }},
        job.stop);
    const auto excluded = [&options](const QString& number) {
        return options.exclusion && options.excludedNumbers.contains(number);
    };
    const auto finishedOnTheWay = [this](const SendingItems::Claim& c) {
        if (!m_journal.finished(c.index, c.item))
            stopForData(recordFailure(m_journal.failure()));
        showItem(c.index, c.item, true);
    };
    const QString done = QStringLiteral("Done (%1)").arg(job.portName);

    // One claimed item, submitted; then recorded and shown the moment the modem answered,
    // finished or given back for another attempt. False when the port leaves the run.
    int refusalsInARow = 0;
    QSet<QString> refusedNumbers; // of the refusals in a row
    const auto giveBack = [&](const SendingItems::Claim& claim) {
        // Never handed over: it waits for another port, or is marked when the run ends.
        m_items.requeue(claim.index, {}, {}, {}, false);
        showItem(claim.index, m_items.at(claim.index), false);
    };
    const auto sendClaimed = [&](const SendingItems::Claim& claim) {
        if (!waitWhileHeld(job.stop)) {
            giveBack(claim);
            return true;
        }
        showItem(claim.index, claim.item, false);
        const QString composed = claim.item.message.left(kMaxMessageLength);
        const QString message =
            options.plainPunctuation ? SmsParts::withPlainPunctuation(composed) : composed;
        ui([this] { m_activityValue = 100; });

        if (!m_journal.handing(claim.index, job.portName)) {
            giveBack(claim);
            stopForData(recordFailure(m_journal.failure()));
            return true;
        }
        QString status;
        bool ok = true;
        if (mode == SmsMode::Unknown) {
            status = QStringLiteral("Error : +CMS ERROR: 500.");
        } else if (!Guard::run("SMS_Sending::Send_To_All_SMS_Func send", [&] {
                       ok = mode == SmsMode::Text
                                ? session.Send_Text_SMS(job.fd, claim.item.number, message, job.details.smsc,
                                                        options.flash, options.unicode, job.portName, status,
                                                        job.details.capability, job.stop)
                                : session.Send_PDU_SMS(job.fd, claim.item.number, message, job.details.smsc,
                                                       options.flash, options.unicode, status,
                                                       job.details.capability, job.stop);
                   })) {
            status = kConnectionError;
            ok = false;
        }
        if (!ok && !session.lastSubmissionHandedOver()) {
            // The line failed before the message reached the modem: it certainly did not
            // leave, so another port takes it without it costing an attempt.
            m_items.requeue(claim.index, {}, job.portName, {}, false);
            if (!m_journal.waiting(claim.index, status))
                stopForData(recordFailure(m_journal.failure()));
            showItem(claim.index, m_items.at(claim.index), false);
            leavePort(job.portName,
                      QStringLiteral("Left the run: the device stopped answering (%1).").arg(status));
            return false;
        }

        const bool refused = ModemAnswers::isRetryableRefusal(status);
        if (refused) {
            ++refusalsInARow;
            refusedNumbers.insert(claim.item.number);
        } else {
            refusalsInARow = 0;
            refusedNumbers.clear();
        }
        // A port whose modem refuses message after message (no credit, barred SIM) leaves the
        // run; what it refused goes to the others.
        const bool portGivesUp = refused && refusalsInARow >= kRefusalsBeforeAPortLeaves &&
                                 refusedNumbers.size() >= kRefusalsBeforeAPortLeaves;
        const bool otherPorts = portsInRun() > 1;
        // The outcome is on the disk before anything else happens: a crash in the rest that
        // follows must not leave a message the network took as of unknown fate.
        if (refused && !job.stop.stop_requested() &&
            (claim.item.attempts <= options.retries || (portGivesUp && otherPorts))) {
            const auto notBefore =
                std::chrono::steady_clock::now() + Clock::scaled(kRetryPause * claim.item.attempts);
            m_items.requeue(claim.index, status, job.portName, notBefore, true);
            if (!m_journal.waiting(claim.index, status))
                stopForData(recordFailure(m_journal.failure()));
            showItem(claim.index, m_items.at(claim.index), false);
        } else if (!m_items.finish(claim.index, status, UseStatus::Done, done,
                                   session.lastMessageReferences(),
                                   reportsRouted && ModemAnswers::isSent(status))) {
            return ok;
        } else {
            const SendingItem finished = m_items.at(claim.index);
            if (!m_journal.finished(claim.index, finished))
                stopForData(recordFailure(m_journal.failure()));
            if (!options.unicode && Check_UNICODE_Message(message) && ModemAnswers::isSent(status))
                ++m_sentAsUnicode;
            showItem(claim.index, finished, true);
            QString why;
            if (options.saveSentItems &&
                !appendSentItem(SentItem_File_Path, {claim.item.number, message, date, status}, &why))
                stopForData(
                    QStringLiteral("Sending stopped: the sent items could not be saved (%1).").arg(why));
            if (options.saveTemplates)
                appendTemplateIfNew(message);
        }
        // A modem that took a message and never answered is asked once more, with a plain
        // "AT": silent again, it has fallen silent, and nothing more is handed to it.
        if (ModemAnswers::isUnknown(status) && !session.Check_Connection(job.fd)) {
            leavePort(
                job.portName,
                QStringLiteral("Left the run: the device fell silent after taking a message (marked \"%1\").")
                    .arg(ModemAnswers::kStatusUnknown));
            return false;
        }
        Clock::sleepUnless(1s, [&job] { return job.stop.stop_requested(); });
        applyStatusReports(job, session);
        if (portGivesUp) {
            leavePort(job.portName, QStringLiteral("Left the run after %1 refusals in a row (last: %2).")
                                        .arg(refusalsInARow)
                                        .arg(status));
            return false;
        }
        pause.afterMessageFinished(m_items.allFinished(), !ok, m_items.anyWaitingOrSending());
        if (!ok)
            leavePort(job.portName, QStringLiteral("Left the run: %1").arg(status));
        return ok;
    };

    bool failed = false;
    while (m_items.anyWaitingOrSending() && !job.stop.stop_requested() && !failed) {
        if (Pause_Timer_Running) {
            Clock::sleep(1s);
            continue;
        }
        if (!waitWhileHeld(job.stop))
            break;
        const auto claim = m_items.claimNext(job.portName, options.skipDuplicates, excluded, finishedOnTheWay,
                                             portsInRun() <= 1);
        if (!claim) {
            if (!m_items.anyWaiting())
                break; // every item is taken; the other ports finish theirs
            Clock::sleepUnless(1s, [&job] { return job.stop.stop_requested(); }); // a retry waits
            continue;
        }
        bool ok = true;
        if (!Guard::run("SMS_Sending::Send_To_All_SMS_Func item", [&] { ok = sendClaimed(*claim); })) {
            // The port ends here; its item does not stay "Sending..." for ever.
            ok = false;
            if (m_items.finish(claim->index, kConnectionError, UseStatus::Done, done))
                Guard::run("SMS_Sending::Send_To_All_SMS_Func item", [&] {
                    if (!m_journal.finished(claim->index, m_items.at(claim->index)))
                        stopForData(recordFailure(m_journal.failure()));
                    showItem(claim->index, m_items.at(claim->index), true);
                });
            leavePort(job.portName, QStringLiteral("Left the run: %1").arg(kConnectionError));
        }
        failed = !ok;
    }
    if (reportsRouted && !failed)
        awaitStatusReports(job, session);
    for (int index : m_items.endReportWait(job.portName)) {
        if (!m_journal.delivery(index, kNoReport))
            stopForData(recordFailure(m_journal.failure()));
        showItem(index, m_items.at(index), false);
    }
}

void SMS_Sending::applyStatusReports(const PortJob& job, MFCSMS& session) {
    const QString& port = job.portName;
    for (const StatusReport& report : session.takeStatusReports(job.fd)) {
        const std::optional<int> index = m_items.recordReport(port, report.reference, report.status);
        if (!index) {
            Show_NSLog_Message(QStringLiteral("%1: a report for reference %2 matches no message of this run")
                                   .arg(port)
                                   .arg(report.reference));
            continue;
        }
        const SendingItem item = m_items.at(*index);
        if (!m_journal.delivery(*index, item.delivery))
            stopForData(recordFailure(m_journal.failure()));
        showItem(*index, item, false);
    }
}

void SMS_Sending::awaitStatusReports(const PortJob& job, MFCSMS& session) {
    const auto until = std::chrono::steady_clock::now() + Clock::scaled(kDeliveryReportWait);
    while (!job.stop.stop_requested() && m_items.awaitingReports(job.portName) > 0 &&
           std::chrono::steady_clock::now() < until && session.port() != nullptr &&
           session.port()->isOpen()) {
        const int awaiting = m_items.awaitingReports();
        ui([this, awaiting] {
            m_pauseLabel = QStringLiteral("Waiting for delivery reports: %1 to come").arg(awaiting);
        });
        session.listenForStatusReports(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::scaled(std::chrono::seconds(1))));
        applyStatusReports(job, session);
    }
    ui([this] { m_pauseLabel.clear(); });
}
