// The Android window's scheduled campaigns: Send later keeps the list as a campaign that waits
// for its time; the window sends each one through its selected phones once it is due
// (ScheduledSend hands it to startRun).
#include "Bulk_SMSAppDelegate.h"
#include "SendLater.h"
#include "campaigns/CampaignOptions.h"
#include "core/Operator.h"
#include "list/NumberList.h"

void Bulk_SMSAppDelegate::Send_Later_Btn() {
    if (m_sendInProgress)
        return; // the last run's rows are being decided by the run under way
    if (m_carried.resuming()) {
        op().Show_MessageBox(QStringLiteral("The list holds the recipients of an unfinished campaign: send "
                                            "them first, then schedule a new one."));
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
}

RunSettings Bulk_SMSAppDelegate::runSettingsOf(const CampaignToSend& scheduled) {
    RunSettings settings = settingsOf(scheduled.options, kAndroidRoad);
    const RunSettings here = runSettings();
    settings.saveSentItems = here.saveSentItems;
    settings.saveTemplates = here.saveTemplates;
    settings.sentItemsPath = here.sentItemsPath;
    settings.loadedDevice = here.loadedDevice;
    settings.batch = here.batch; // how the phones here take messages
    return settings;
}
