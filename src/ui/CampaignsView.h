#pragma once
// The campaigns window: the store's campaigns with their counts, and their buttons.
#include "sending/windows/CampaignsWindow.h"

#include <QDialog>

class QLabel;
class QPushButton;
class QTableView;
class CampaignTableModel;

class CampaignsView : public QDialog {
    Q_OBJECT
public:
    CampaignsView(CampaignsWindow& controller, QWidget* parent);

protected:
    void reject() override { m_controller.Close_Btn(); }

private:
    void refresh();

    CampaignsWindow& m_controller;
    CampaignTableModel* m_model;
    QTableView* m_table;
    QLabel* m_wait;
    QPushButton* m_open;
    QPushButton* m_resume;
    QPushButton* m_changeTime;
    QPushButton* m_cancel;
    QPushButton* m_export;
};
