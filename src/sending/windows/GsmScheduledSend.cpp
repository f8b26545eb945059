// The GSM window's scheduled campaigns: Send later keeps the list as a campaign that waits for
// its time, and the window sends each one through its selected modems once it is due.
#include "Gsm_Bulk_Sms_Wnd.h"

#include "SMS_Sending.h"
#include "SendLater.h"
#include "campaigns/CampaignOptions.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Operator.h"
#include "list/NumberList.h"

using namespace std::chrono_literals;

namespace {
const QString kResumeFirst = QStringLiteral(
    "The list holds the recipients of an unfinished campaign: send them first, then schedule a new one.");
} // namespace

void Gsm_Bulk_Sms_Wnd::Send_Later_Btn() {
    if (sendingUnderWay())
        return; // the last run's rows are being decided by the run under way
    Guard::run("Gsm_Bulk_Sms_Wnd::Send_Later_Btn", [this] {
        if (m_carried.resuming()) {
            op().Show_MessageBox(kResumeFirst);
            return;
        }
        if (!askSendQuestions())
            return;
        if (!m_lastRun.choose(op(), list().records()))
            return;
        if (!Fill_Exclusion_Num_List())
            return; // its people would be messaged
        QList<std::pair<QString, QString>> rows;
        for (const Record& row : m_lastRun.chosenRows())
            rows.append({recipientNumber(row), row.value(kMessageKey)});
        scheduleCampaign(op(), dataFolder(), runSettings(), rows);
    });
}

RunSettings Gsm_Bulk_Sms_Wnd::runSettingsOf(const CampaignToSend& scheduled) const {
    RunSettings settings = settingsOf(scheduled.options, kGsmRoad);
    const RunSettings here = runSettings();
    settings.saveSentItems = here.saveSentItems;
    settings.saveTemplates = here.saveTemplates;
    settings.sentItemsPath = here.sentItemsPath;
    settings.loadedDevice = here.loadedDevice;
    settings.openingGap = here.openingGap;
    return settings;
}

void Gsm_Bulk_Sms_Wnd::sendScheduled(const CampaignToSend& due) {
    if (sendingUnderWay())
        return;
    m_sendInProgress = true;
    m_replies.update(); // the reading lets the ports go before they are checked
    const QString chosen = currentDeviceChoice();
    QStringList paths;
    if (chosen != kAllDeviceChoice) {
        if (selection().port_val_str_array.contains(chosen))
            paths << chosen;
    } else {
        paths = selection().port_val_str_array;
        paths.removeAll(kAllDeviceChoice);
    }
    setPleaseWait(true);
    testPorts(paths, [this, due, paths](const QList<bool>& works) {
        setPleaseWait(false);
        takeWorkingPorts(paths, works);
        if (m_sendingPorts.isEmpty()) {
            m_scheduledSend.showStatus(
                QStringLiteral("Campaign %1 was due at %2: the selected modems do not answer.")
                    .arg(due.id)
                    .arg(SendLater::timeText(due.startAt)));
            m_sendInProgress = false;
            m_replies.update();
            return;
        }
        m_scheduledRun = due;
        // The prescribed second before the job opens, as after Send.
        Clock::after(1s, this, [this] {
            sendingJob().Open_SMS_Sending_Dialog();
            m_sendInProgress = false;
            m_replies.update();
        });
    });
}

void Gsm_Bulk_Sms_Wnd::takeWorkingPorts(const QStringList& paths, const QList<bool>& works) {
    m_sendingPorts.clear();
    for (qsizetype i = 0; i < paths.size(); ++i)
        if (works.value(i))
            m_sendingPorts.append(paths.at(i));
    m_sendingPortChoice = m_sendingPorts.value(0);
    if (m_sendingPorts.size() > 1) {
        m_sendingPorts.append(kAllDeviceChoice);
        m_sendingPortChoice = kAllDeviceChoice;
    }
    emit changed();
}
