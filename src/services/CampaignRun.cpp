#include "CampaignRun.h"

#include "campaigns/CampaignOptions.h"
#include "campaigns/Replies.h"
#include "campaigns/StoredRun.h"
#include "core/Counted.h"
#include "services/DeviceSettingsMemory.h"

CampaignRun::CampaignRun(const DataFolder& folder, Campaign campaign, QList<DeviceOpener> devices,
                         Operator& op, PauseCountdown& pause, DelayedDeliveryPause::Hooks pauseHooks)
    : m_rows(std::move(campaign.rows)) {
    campaign.settings.dataFolder = folder; // sent items and templates go beside the store
    campaign.settings.deviceLimits = keptDeviceLimits(folder);
    QString why;
    std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    auto record = std::make_unique<StoredRun>(std::move(store),
                                              StoredRun::Campaign{CampaignStore::folderKey(folder),
                                                                  optionsOf(campaign.settings),
                                                                  campaign.resumes, campaign.attach},
                                              why);
    record->setReplyRules(replyRulesOf(readReplyOptions(folder)));
    m_record = record.get();
    m_run = std::make_unique<SendingRun>(std::move(campaign.settings), std::move(devices), std::move(record),
                                         op, pause, std::move(pauseHooks));
}

qint64 CampaignRun::campaignId() const { return m_record->campaignId(); }

CampaignRun::~CampaignRun() = default;

void CampaignRun::start() { m_run->start(std::exchange(m_rows, {})); }

void CampaignRun::end() {
    m_run->endRecord();
    m_ended = true;
}

QString unicodeSummary(int sentAsUnicode) {
    if (sentAsUnicode == 0)
        return {};
    return sentAsUnicode == 1
               ? QStringLiteral("1 message went as Unicode: the GSM alphabet cannot carry its text.")
               : QStringLiteral("%1 messages went as Unicode: the GSM alphabet cannot carry their text.")
                     .arg(localNumber(sentAsUnicode));
}
