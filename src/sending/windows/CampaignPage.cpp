#include "CampaignPage.h"

#include "SendLater.h"
#include "sending/SendingItems.h"

#include <QDateTime>

QString roadName(const QString& road) {
    return road == kGsmRoad ? QStringLiteral("GSM") : road == kAndroidRoad ? QStringLiteral("Android") : road;
}

QString localTime(qint64 msSinceEpoch) {
    return msSinceEpoch == 0
               ? QString()
               : QDateTime::fromMSecsSinceEpoch(msSinceEpoch).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString stateText(const CampaignSummary& c) {
    if (c.state == QLatin1String("scheduled"))
        return QStringLiteral("Scheduled for %1").arg(SendLater::timeText(c.startAt));
    return c.waitingText.isEmpty() ? c.state : QStringLiteral("%1, %2").arg(c.state, c.waitingText);
}

QList<QList<CampaignPage::Figure>> CampaignPage::figures() const {
    const CampaignSummary& c = m_summary;
    const QString state =
        c.reason.isEmpty() ? stateText(c) : QStringLiteral("%1 (%2)").arg(stateText(c), c.reason);
    const auto number = [](qint64 n) { return QString::number(n); };
    return {
        {{QStringLiteral("State"), state}, // a label, not a record key
         {QStringLiteral("Road"), roadName(c.road)},
         {QStringLiteral("Created by"), c.createdBy}},
        {{QStringLiteral("Created"), localTime(c.createdAt)},
         {QStringLiteral("Started"), localTime(c.startedAt)},
         {QStringLiteral("Finished"), localTime(c.finishedAt)}},
        {{QStringLiteral("Total"), number(c.total)},
         {QStringLiteral("Sent"), number(c.sent)},
         {QStringLiteral("Failed"), number(c.failed)},
         {QStringLiteral("Unknown"), number(c.unknown)},
         {QStringLiteral("Waiting"), number(c.waiting)},
         {QStringLiteral("Being sent"), number(c.inHand)},
         {QStringLiteral("Not sent"), number(c.notSent)}},
        {{QStringLiteral("Replies"), number(c.replies)}, {QStringLiteral("Opt-outs"), number(c.optOuts)}},
    };
}

void CampaignPage::show(const CampaignSummary& summary) {
    m_open = true;
    m_summary = summary;
    m_history = {};
    emit changed();
}

void CampaignPage::update(const CampaignSummary& summary, const CampaignHistory& history) {
    m_summary = summary;
    m_history = history;
    emit changed();
}

void CampaignPage::Close_Btn() {
    m_open = false;
    endModal(1);
}
