#include "CampaignResume.h"

#include "CampaignStore.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Operator.h"

ResumePlan planResume(const UnfinishedCampaign& unfinished, bool resendUnknown) {
    ResumePlan plan;
    plan.campaign = unfinished.id;
    plan.sent = unfinished.sent();
    plan.total = unfinished.total();
    for (const UnfinishedCampaign::Entry& entry : unfinished.entries) {
        plan.unknown += entry.unknown;
        const bool send = entry.unknown ? resendUnknown : entry.status.isEmpty();
        (send ? plan.toSend : plan.carried).append(entry);
    }
    return plan;
}

std::optional<UnfinishedCampaign> unfinishedRun(Operator& op, const DataFolder& folder, const QString& road,
                                                bool* readable) {
    QString why;
    std::optional<UnfinishedCampaign> unfinished;
    if (const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why))
        unfinished = unfinishedCampaign(*store, CampaignStore::folderKey(folder), road, &why);
    *readable = why.isEmpty();
    if (!*readable) // no run may start over a record it cannot read
        op.Show_MessageBox(errorInFileAccessing(why));
    return unfinished;
}

bool unfinishedRunDiscarded(Operator& op, const DataFolder& folder, const QString& road) {
    bool readable = false;
    const std::optional<UnfinishedCampaign> unfinished = unfinishedRun(op, folder, road, &readable);
    if (!readable)
        return false;
    if (!unfinished)
        return true;
    if (!op.Show_YES_NO_MessageBox(
            QStringLiteral("A run that did not end (%1 of %2 sent) is kept so that it can be resumed at the "
                           "next start.\n\nDiscard it and send this list instead? Its recipients who were "
                           "not sent yet will not be sent.")
                .arg(unfinished->sent())
                .arg(unfinished->total())))
        return false;
    QString why;
    const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(folder, &why);
    if (!store || !closeCampaign(*store, unfinished->id, QStringLiteral("cancelled"),
                                 QStringLiteral("discarded by the operator"), &why)) {
        op.Show_MessageBox(errorInFileAccessing(why));
        return false;
    }
    return true;
}
