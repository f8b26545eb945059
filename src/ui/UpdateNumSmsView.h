#pragma once
#include "list/windows/Update_Num_SMS.h"

#include <QDialog>

class UpdateNumSmsView : public QDialog {
    Q_OBJECT
public:
    UpdateNumSmsView(Update_Num_SMS& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Update_Num_SMS& m_controller;
};
