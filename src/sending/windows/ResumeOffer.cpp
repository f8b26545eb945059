#include "ResumeOffer.h"

#include "Bulk_SMSAppDelegate.h"
#include "Gsm_Bulk_Sms_Wnd.h"
#include "campaigns/CampaignStore.h"
#include "core/Counted.h"
#include "core/FileUtils.h"
#include "core/Operator.h"

void applyResume(BulkSmsWindow& window, CarriedRun& carried, const ResumePlan& plan) {
    BulkSmsWindow::BatchInsert batch(window);
    for (const UnfinishedCampaign::Entry& entry : plan.toSend)
        window.Create_Num_Msg_List(entry.number, entry.message);
    window.prev_composer_msg = window.composerText(); // every row has its message already
    carried.set(plan.campaign);
}

namespace {

void offerToResume(BulkSmsWindow& window, CarriedRun& carried, const QString& road, Operator& op) {
    bool readable = false;
    const std::optional<UnfinishedCampaign> unfinished =
        unfinishedRun(op, window.dataFolder(), road, &readable);
    if (!unfinished)
        return;
    const ResumePlan counted = planResume(*unfinished, false);
    if (!op.Show_YES_NO_MessageBox(QStringLiteral("Resume the unfinished run (%1 of %2 sent)?")
                                       .arg(counted.sent)
                                       .arg(counted.total))) {
        // Its record goes only when the operator says so: it is who was sent, and who not.
        QString why;
        const std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(window.dataFolder(), &why);
        if (op.Show_YES_NO_MessageBox(
                QStringLiteral("Discard the unfinished run? Its recipients who were not sent yet will not be "
                               "sent.\n\nNo keeps it, to resume at the next start.")) &&
            (!store || !closeCampaign(*store, unfinished->id, QStringLiteral("cancelled"),
                                      QStringLiteral("discarded by the operator"), &why)))
            op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    resumeInto(window, carried, *unfinished, op);
}

} // namespace

void resumeInto(BulkSmsWindow& window, CarriedRun& carried, const UnfinishedCampaign& unfinished,
                Operator& op) {
    const int unknown = planResume(unfinished, false).unknown;
    const bool resendUnknown =
        unknown > 0 &&
        op.Show_YES_NO_MessageBox(
            (unknown == 1
                 ? QStringLiteral("1 message was being handed to a modem when the run broke off and "
                                  "may have been sent.\n\nSend it again?")
                 : QStringLiteral("%1 messages were being handed to a modem when the run broke off and "
                                  "may have been sent.\n\nSend them again?")
                       .arg(localNumber(unknown))));
    applyResume(window, carried, planResume(unfinished, resendUnknown));
}

void offerToResumeUnfinishedRun(Gsm_Bulk_Sms_Wnd& gsm, Bulk_SMSAppDelegate& android, Operator& op) {
    offerToResume(gsm, gsm.carriedRun(), kGsmRoad, op);
    offerToResume(android, android.carriedRun(), kAndroidRoad, op);
}
