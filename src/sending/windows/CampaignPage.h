#pragma once
// A campaign's page: its figures and how it went (the outcomes against time, the messages each
// device was handed per minute). The campaigns window that opens it keeps it up to date.
#include "campaigns/CampaignHistory.h"
#include "campaigns/CampaignQueries.h"
#include "core/DialogController.h"

#include <QList>
#include <QString>

#include <utility>

class CampaignPage : public DialogController {
    Q_OBJECT
public:
    using DialogController::DialogController;

    // The campaign shown; 0 while the page is closed.
    qint64 id() const { return m_open ? m_summary.id : 0; }
    const CampaignSummary& summary() const { return m_summary; }
    const CampaignHistory& history() const { return m_history; }
    QString title() const { return QStringLiteral("Campaign %1").arg(m_summary.id); }
    // Label and value of each figure, row by row: what it is, when, and its counts.
    using Figure = std::pair<QString, QString>;
    QList<QList<Figure>> figures() const;

    // Shows this campaign (its history comes with the next update).
    void show(const CampaignSummary& summary);
    void update(const CampaignSummary& summary, const CampaignHistory& history);
    void Close_Btn();

private:
    bool m_open = false;
    CampaignSummary m_summary;
    CampaignHistory m_history;
};

// How the campaign windows show a road ("GSM", "Android") and a time of the store (local date
// and time; "" for 0, not yet).
QString roadName(const QString& road);
QString localTime(qint64 msSinceEpoch);
// A campaign's state as the windows show it: "Scheduled for <time>" while it waits for its time.
QString stateText(const CampaignSummary& campaign);
