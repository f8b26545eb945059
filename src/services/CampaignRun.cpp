#include "CampaignRun.h"

#include "campaigns/StoredRun.h"
#include "core/SendingLock.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

// How the campaign is sent, as its record keeps it.
QString optionsOf(const RunSettings& s) {
    const QJsonObject options{{"unicode", s.unicode},
                              {"flash", s.flash},
                              {"plain_punctuation", s.plainPunctuation},
                              {"skip_duplicates", s.skipDuplicates},
                              {"exclusion", s.exclusion},
                              {"delivery_reports", s.deliveryReports},
                              {"retries", s.retries},
                              {"pause_every", s.schedule.takesPauses() ? s.schedule.count : 0},
                              {"pause_ms", s.schedule.takesPauses() ? s.schedule.pauseMilliseconds() : 0}};
    return QString::fromUtf8(QJsonDocument(options).toJson(QJsonDocument::Compact));
}

} // namespace

CampaignRun::CampaignRun(const DataFolder& folder, Campaign campaign, QList<DeviceOpener> devices,
                         std::shared_ptr<SendingLock> lock, Operator& op, PauseCountdown& pause,
                         DelayedDeliveryPause::Hooks pauseHooks)
    : m_rows(std::move(campaign.rows)), m_lock(std::move(lock)) {
    campaign.settings.dataFolder = folder; // sent items and templates go beside the store
    QString why;
    std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    auto record = std::make_unique<StoredRun>(
        std::move(store),
        StoredRun::Campaign{CampaignStore::folderKey(folder), optionsOf(campaign.settings), campaign.resumes},
        why);
    m_record = record.get();
    m_run = std::make_unique<SendingRun>(std::move(campaign.settings), std::move(devices), std::move(record),
                                         op, pause, std::move(pauseHooks));
}

qint64 CampaignRun::campaignId() const { return m_record->campaignId(); }

CampaignRun::~CampaignRun() = default;

void CampaignRun::start() { m_run->start(std::exchange(m_rows, {})); }

void CampaignRun::end() {
    m_run->endRecord();
    m_lock.reset();
}

QString unicodeSummary(int sentAsUnicode) {
    if (sentAsUnicode == 0)
        return {};
    return sentAsUnicode == 1
               ? QStringLiteral("1 message went as Unicode: the GSM alphabet cannot carry its text.")
               : QStringLiteral("%1 messages went as Unicode: the GSM alphabet cannot carry their text.")
                     .arg(sentAsUnicode);
}
