#pragma once
#include "list/windows/Update_Sel_Num_SMS.h"

#include <QDialog>

class UpdateSelNumSmsView : public QDialog {
    Q_OBJECT
public:
    UpdateSelNumSmsView(Update_Sel_Num_SMS& controller, QWidget* parent);

protected:
    void reject() override;

private:
    Update_Sel_Num_SMS& m_controller;
};
