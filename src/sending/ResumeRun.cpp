#include "ResumeRun.h"

#include "core/FileUtils.h"
#include "core/Operator.h"

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
