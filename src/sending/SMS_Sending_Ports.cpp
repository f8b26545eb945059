// The ports of a sending run: the dispatcher opens each chosen port into its session slot
// (two seconds apart) and starts one worker per working port; a worker takes waiting items
// one at a time and submits them until none is left, a stop is asked or its port fails.
#include "SMS_Sending.h"

#include "Gsm_Bulk_Sms_Wnd.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/Log.h"
#include "core/Operator.h"
#include "core/SendingFlags.h"
#include "delivery/DelayedDeliveryPause.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemSessionPool.h"
#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"
#include "text/NumberRules.h"

using namespace std::chrono_literals;

namespace {
const QString kPortNotWorking = QStringLiteral(
    "\nSelected device is not working properly. Please use Mobiles Connection Wizard for finding device or "
    "establishing connection.");

int modeOf(const QString& smsMode) {
    if (smsMode == QLatin1String("PDU Mode"))
        return 1;
    if (smsMode == QLatin1String("Text Mode"))
        return 2;
    return 0;
}
} // namespace

bool SMS_Sending::openPort(int slot, const QString& path, PortJob& job) {
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
    job.stop = m_stop.get_token();
    job.mode = modeOf(m_window.deviceDetail(path, QStringLiteral("SMSMode")));
    job.smsc = m_window.deviceDetail(path, QStringLiteral("UseCusSMSC")) == QLatin1String("N")
                   ? QString()
                   : m_window.deviceDetail(path, QStringLiteral("CusSMSC"));
    return true;
}

void SMS_Sending::GSM_Send_Multi_Phone_Msg_Function() {
    try {
        msg_cnt = 0;
        const QStringList ports = m_window.sendingPorts();
        const QString chosen = m_window.sendingPortChoice();
        const auto startWorker = [this](const PortJob& job) {
            ++m_runHolders;
            const bool first = m_startedWorkers++ == 0;
            Show_NSLog_Message(job.portName + QStringLiteral(" start thread for sending"));
            spawn([this, job] { Send_To_All_SMS_Func(job); });
            if (first)
                ui([this] { m_stopEnabled = true; });
        };
        if (chosen == kAllDeviceChoice) {
            const int rows = m_items.size();
            int slot = 0;
            for (const QString& path : ports) {
                if (path == kAllDeviceChoice)
                    continue;
                if (Stop_SMS_Sending_Now || slot + 1 > rows || slot >= kMaxPorts)
                    break;
                if (slot > 0)
                    Clock::sleep(2s);
                const int thisSlot = slot++;
                if (!m_items.anyWaitingOrSending() || !m_items.anyWaiting())
                    continue;
                PortJob job;
                if (!openPort(thisSlot, path, job))
                    continue;
                if (m_items.anyWaiting()) {
                    startWorker(job);
                } else {
                    Show_NSLog_Message(path + QStringLiteral(" no thread needed: nothing waits"));
                    mfc_sms_obj_arr.at(size_t(thisSlot))->closePort();
                }
            }
        } else if (ports.contains(chosen) && m_items.anyWaitingOrSending()) {
            PortJob job;
            if (openPort(0, chosen, job))
                startWorker(job);
        }
        ui([this] { m_stopEnabled = true; });
    } catch (const std::exception& e) {
        Show_NSLog_Message(QString::fromUtf8(e.what()));
    }
    releaseRun(-1);
}

void SMS_Sending::Send_To_All_SMS_Func(PortJob job) {
    MFCSMS& session = *mfc_sms_obj_arr.at(size_t(job.slot));
    bool failed = false;
    try {
        if (Stop_SMS_Sending_Now || !m_items.anyWaitingOrSending() || !m_items.anyWaiting()) {
            session.closePort();
            releaseRun(job.mode);
            return;
        }
        ui([this] {
            m_activityValue = 0;
            m_pauseLabel.clear();
        });
        if (job.mode == 1)
            session.Prepare_Modem_For_PDU_SMS(job.fd);
        else if (job.mode == 2)
            session.Prepare_Modem_For_Text_SMS(job.fd);
        const QString date = sentItemDate();
        if (session.port() != nullptr)
            session.port()->setReadTimeout(1.0);
        const QString capability = m_window.deviceDetail(job.portName, QStringLiteral("SMS_CAPABLE"));
        const RunOptions options = m_options;
        DelayedDeliveryPause pause(
            options.schedule, m_pause, msg_cnt,
            {[this] { ui([] {}); },
             [this](bool visible) { ui([this, visible] { m_progressTextVisible = visible; }); },
             [this] { m_activity.stop(); }, [this] { m_activity.startTimerThread(); },
             [this] { ui([this] { m_activityValue = 0; }); }});
        const auto excluded = [this, &options](const QString& number) {
            return options.exclusion && m_window.Check_Exclusion_Number(number);
        };
        const auto finishedOnTheWay = [this](const SendingItems::Claim& c) {
            showItem(c.index, c.item, true);
        };

        while (m_items.anyWaitingOrSending() && !Stop_SMS_Sending_Now && !failed) {
            if (Pause_Timer_Running) {
                Clock::sleep(1s);
                continue;
            }
            const auto claim =
                m_items.claimNext(job.portName, options.skipDuplicates, excluded, finishedOnTheWay);
            if (!claim)
                break; // every item is taken; the other ports finish theirs
            showItem(claim->index, claim->item, false);
            const QString message = claim->item.message.left(kMaxMessageLength);
            ui([this] { m_activityValue = 100; });

            QString status;
            bool ok = true;
            if (job.mode == 0) {
                status = QStringLiteral("Error : +CMS ERROR: 500.");
            } else {
                try {
                    ok = job.mode == 2 ? session.Send_Text_SMS(job.fd, claim->item.number, message, job.smsc,
                                                               options.flash, options.unicode, job.portName,
                                                               status, capability, job.stop)
                                       : session.Send_PDU_SMS(job.fd, claim->item.number, message, job.smsc,
                                                              options.flash, options.unicode, status,
                                                              capability, job.stop);
                } catch (const std::exception& e) {
                    Show_NSLog_Message(QStringLiteral("send to all sms function"));
                    Show_NSLog_Message(QString::fromUtf8(e.what()));
                    status = QStringLiteral("Device Connection Error!");
                }
            }
            Clock::sleep(1s);
            if (!ok)
                failed = true;

            const QString done = QStringLiteral("Done (%1)").arg(job.portName);
            if (!m_items.finish(claim->index, status, kDone, done))
                continue;
            SendingItem finished = claim->item;
            finished.status = status;
            finished.useStatus = kDone;
            finished.currentStatus = done;
            showItem(claim->index, finished, true);
            if (options.saveSentItems)
                appendSentItem(SentItem_File_Path, {claim->item.number, message, date, status});
            if (options.saveTemplates)
                appendTemplateIfNew(message);
            pause.afterMessageFinished(m_items.allFinished(), failed, m_items.anyWaitingOrSending());
        }
        if (m_items.size() == 0)
            failed = true;
    } catch (const std::exception& e) {
        Show_NSLog_Message(QStringLiteral("send to all sms function"));
        Show_NSLog_Message(QString::fromUtf8(e.what()));
    }
    session.closePort();
    releaseRun(job.mode);
}
