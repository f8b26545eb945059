#pragma once
// A campaign's page: its figures, its outcomes over time and each device's messages per minute.
#include "sending/windows/CampaignPage.h"

#include <QDialog>

class CampaignChart;
class QLabel;

class CampaignPageView : public QDialog {
    Q_OBJECT
public:
    CampaignPageView(CampaignPage& controller, QWidget* parent);

protected:
    void reject() override { m_controller.Close_Btn(); }

private:
    void refresh();

    CampaignPage& m_controller;
    QList<QLabel*> m_values;
    CampaignChart* m_outcomes;
    CampaignChart* m_rates;
};
