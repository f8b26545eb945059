#include "ResumeRun.h"

#include "Bulk_SMSAppDelegate.h"
#include "Gsm_Bulk_Sms_Wnd.h"
#include "core/FileUtils.h"
#include "core/Operator.h"
#include "core/SendingLock.h"

ResumePlan planResume(const RunJournal::Unfinished& unfinished, bool resendUnknown) {
    ResumePlan plan;
    plan.sent = unfinished.sent();
    plan.total = unfinished.total();
    for (const RunJournal::Entry& entry : unfinished.entries) {
        plan.unknown += entry.unknown;
        const bool send = entry.unknown ? resendUnknown : entry.status.isEmpty();
        (send ? plan.toSend : plan.carried).append(entry);
    }
    return plan;
}

void applyResume(BulkSmsWindow& window, CarriedRun& carried, const ResumePlan& plan) {
    // New rows go to the top: the last first keeps the run's order.
    BulkSmsWindow::BatchInsert batch(window);
    for (auto it = plan.toSend.crbegin(); it != plan.toSend.crend(); ++it)
        window.Create_Num_Msg_List(it->number, it->message);
    window.prev_composer_msg = window.composerText(); // every row has its message already
    carried.set(plan.carried);
}

namespace {

void offerToResume(BulkSmsWindow& window, CarriedRun& carried, const QString& road, Operator& op) {
    const std::optional<RunJournal::Unfinished> unfinished =
        RunJournal::load(window.dataFolder(), nullptr, road);
    if (!unfinished)
        return;
    const ResumePlan counted = planResume(*unfinished, false);
    if (!op.Show_YES_NO_MessageBox(QStringLiteral("Resume the unfinished run (%1 of %2 sent)?")
                                       .arg(counted.sent)
                                       .arg(counted.total))) {
        // Its record goes only when the operator says so: it is who was sent, and who not.
        if (op.Show_YES_NO_MessageBox(
                QStringLiteral("Discard the unfinished run? Its recipients who were not sent yet will not be "
                               "sent.\n\nNo keeps it, to resume at the next start.")))
            RunJournal::discard(window.dataFolder(), road);
        return;
    }
    const bool resendUnknown =
        counted.unknown > 0 &&
        op.Show_YES_NO_MessageBox(
            QStringLiteral("%1 message(s) were being handed to a modem when the run broke off and may have "
                           "been sent.\n\nSend them again?")
                .arg(counted.unknown));
    applyResume(window, carried, planResume(*unfinished, resendUnknown));
}

} // namespace

void offerToResumeUnfinishedRun(Gsm_Bulk_Sms_Wnd& gsm, Bulk_SMSAppDelegate& android, Operator& op) {
    // While another copy sends from this data folder, its journals are its live record, not
    // runs that broke off.
    const std::shared_ptr<SendingLock> lock = SendingLock::acquire(gsm.dataFolder());
    if (!lock)
        return;
    offerToResume(gsm, gsm.carriedRun(), kGsmRoad, op);
    offerToResume(android, android.carriedRun(), kAndroidRoad, op);
}

bool unfinishedRunDiscarded(Operator& op, const DataFolder& folder, const QString& road) {
    QString unreadable;
    const std::optional<RunJournal::Unfinished> unfinished = RunJournal::load(folder, &unreadable, road);
    if (!unreadable.isEmpty()) { // no run may start over a record it cannot read
        op.Show_MessageBox(errorInFileAccessing(unreadable));
        return false;
    }
    if (!unfinished)
        return true;
    if (!op.Show_YES_NO_MessageBox(
            QStringLiteral("A run that did not end (%1 of %2 sent) is kept so that it can be resumed at the "
                           "next start.\n\nDiscard it and send this list instead? Its recipients who were "
                           "not sent yet will not be sent.")
                .arg(unfinished->sent())
                .arg(unfinished->total())))
        return false;
    RunJournal::discard(folder, road);
    return true;
}
